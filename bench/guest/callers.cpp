// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Several callers at once. There is one core: what is seen is whether callers cost each other anything, not how cores share the work.
#include <latch>
#include <thread>

#include "programs.hpp"
#include "record.hpp"
#include "requests.hpp"

namespace bench {

namespace {

constexpr std::uint32_t transfer_size = 65536;
constexpr unsigned transfers_of_each = 64;
constexpr unsigned most_callers = 8;

// What a caller does again and again; callers are numbered from 0.
using transfer = std::function<std::uint32_t(unsigned caller, bytes &buffer)>;

// Instructions of the whole board from the start of the first transfer to the end of the last.
std::uint32_t run_callers(unsigned callers, const transfer &once)
{
	std::latch ready(callers), go(1), done(callers);
	std::vector<std::jthread> threads;
	for (unsigned caller = 0; caller < callers; ++caller)
		threads.emplace_back([&, caller] {
			bytes buffer(transfer_size);
			ready.count_down();
			go.wait();
			for (unsigned i = 0; i < transfers_of_each; ++i)
				if (once(caller, buffer))
					fail("a transfer of several callers failed");
			done.count_down();
		});
	ready.wait();
	const std::uint32_t start = counter();
	go.count_down();
	done.wait();
	return counter() - start;
}

void count_callers(recorder &figures, const row &of, const std::string &way, const transfer &once)
{
	run_callers(static_cast<unsigned>(of.size), once);
	const std::uint32_t took = run_callers(static_cast<unsigned>(of.size), once);
	figures.note(of, way, "instructions", took / (of.size * transfers_of_each));
}

// The listed partitions of the board of 64 entries, after the first: "part2" and so on.
std::string partition_of(unsigned caller)
{
	return "part" + std::to_string(caller + 2);
}

void several_callers(recorder &figures, const char *subject, std::uint32_t callers, const std::function<unsigned(unsigned)> &place_of)
{
	const row of = {"several callers", subject, callers, "callers"};
	std::vector<std::string> paths;
	for (unsigned i = 0; i < most_callers; ++i)
		paths.push_back(device_path("mtd", partition_of(i)));

	count_callers(figures, of, module_way, [&](unsigned caller, bytes &buffer) {
		flash_mtd_io_arg request = io_request(partition_of(place_of(caller)), 0, transfer_size, buffer.data());
		return whole_command(FLASH_MNG_MTD_READ, &request);
	});
	count_callers(figures, of, "pread of /dev/mtdN",
		      [&](unsigned caller, bytes &buffer) { return read_range(paths[place_of(caller)], 0, buffer.data(), transfer_size); });
}

} // namespace

void callers(recorder &figures)
{
	if (!figures.is_full())
		return;
	if (figures.kernel().command(BENCH_DEVICES, most_callers + 1ul))
		fail("the devices cannot be made");
	for (const std::uint32_t count : {1u, 2u, 4u, 8u})
		several_callers(figures, "64 KiB each, a partition each", count, [](unsigned caller) { return caller; });
	for (const std::uint32_t count : {1u, 2u, 4u, 8u})
		several_callers(figures, "64 KiB each, one partition", count, [](unsigned) { return 0u; });
	figures.kernel().command(BENCH_DEVICES, 0ul);
}

} // namespace bench
