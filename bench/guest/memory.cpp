// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Memory that flash_mng allocates, followed by the module flash_bench_memory: at the peak of a call beside the buffers that the call is
// made of, and what its tables keep.
#include <cstdlib>

#include "programs.hpp"
#include "record.hpp"
#include "requests.hpp"

namespace bench {

namespace {

constexpr std::uint32_t kib = 1024;
constexpr std::uint32_t mib = 1024 * kib;
constexpr std::uint32_t usrdata_size = 8 * mib;
constexpr std::uint32_t boot_size = mib;

// A figure of flash_bench_memory, and its start from 0.
std::uint64_t watched(const char *name)
{
	std::ifstream file(std::string("/sys/module/flash_bench_memory/parameters/") + name);
	std::uint64_t value = 0;
	if (!(file >> value))
		fail(std::string("flash_bench_memory does not say ") + name);
	return value;
}

void watch_anew()
{
	for (const char *name : {"held", "peak", "lost"})
		std::ofstream(std::string("/sys/module/flash_bench_memory/parameters/") + name) << 0 << std::endl;
}

void expect_nothing_lost()
{
	if (watched("lost"))
		fail("flash_bench_memory has lost sight of some memory");
}

// Runs a call, and writes down what it held at its peak; anything but its buffers ends the program.
void note_peak(recorder &figures, const row &of, std::uint64_t buffers, const std::function<std::uint32_t()> &call)
{
	watch_anew();
	if (call())
		fail("a call whose memory is watched failed: " + of.subject);
	expect_nothing_lost();
	if (watched("held"))
		fail("memory is held after the call: " + of.subject);
	if (watched("peak") != buffers)
		fail("more or less memory than its buffers was held at the peak of: " + of.subject);
	figures.note(of, module_way, "bytes at the peak", watched("peak"));
	figures.note(of, module_way, "bytes of the buffers", buffers);
}

void note_command(recorder &figures, const char *subject, unsigned long command, std::uint64_t buffers)
{
	bytes answer(sizeof(flash_mtd_statistics));
	note_peak(figures, {"memory of a call", subject, 1, "command"}, buffers, [&] { return whole_command(command, answer.data()); });
}

void note_transfer(recorder &figures, const char *subject, unsigned long command, flash_mtd_io_arg request, std::uint64_t image)
{
	const row of = {"memory of a call", subject, request.length, "bytes"};
	note_peak(figures, of, request.length + image, [&] { return whole_command(command, &request); });
}

void note_export(recorder &figures, const char *subject, bench_request call, std::uint64_t buffers)
{
	note_peak(figures, {"memory of a call", subject, call.length, "bytes"}, buffers, [&] { return run_call(figures.kernel(), call); });
}

void note_records(recorder &figures, std::uint32_t records)
{
	if (figures.kernel().command(BENCH_RECORDS, static_cast<unsigned long>(records)))
		fail("the records cannot be made");
	expect_nothing_lost();
	figures.note({"memory of the tables", "SPI flash records, each with a name of 7 characters", records, "records"}, module_way,
		     "bytes held", watched("held"));
}

std::uint32_t table_size(const char *name)
{
	const char *const text = std::getenv(name);
	return text ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : 0;
}

} // namespace

void memory(recorder &figures)
{
	bytes buffer(mib);
	for (const std::uint32_t length : {4 * kib, mib}) {
		note_transfer(figures, "read of a listed partition at its start", FLASH_MNG_MTD_READ,
			      io_request("usrdata", 0, length, buffer.data()), length);
		note_transfer(figures, "read of a listed partition at its end", FLASH_MNG_MTD_READ,
			      io_request("usrdata", usrdata_size - length, length, buffer.data()), usrdata_size);
		note_transfer(figures, "rewrite of a listed partition of 1 MiB", FLASH_MNG_MTD_WRITE,
			      io_request("boot", 0, length, buffer.data()), boot_size);
		note_export(figures, "exported read, NAND listed", kernel_call(BENCH_PARTITION_READ, 1, "boot", "", 0, buffer, length),
			    length);
		note_export(figures, "exported read, NAND not listed",
			    kernel_call(BENCH_PARTITION_READ, 1, "rootfs", "", 0, buffer, length), 0);
		note_export(figures, "exported read, block device", kernel_call(BENCH_PARTITION_READ, 1, "ram0", "", 0, buffer, length), 0);
		bench_request section = kernel_call(BENCH_SECTION_READ, 1, "", "", 0, buffer, length);
		section.section_id = 8;
		note_export(figures, "section read", section, 0);
	}
	note_command(figures, "statistics", FLASH_MNG_GET_MTD_STATISTICS, sizeof(flash_mtd_statistics));
	note_command(figures, "size of the user-data partition", FLASH_MNG_GET_NAND_PART_INFO, sizeof(nand_part_info));
	note_command(figures, "number of user-data partitions", FLASH_MNG_GET_PART_NUM, 0);

	watch_anew();
	for (const std::uint32_t records : {100u, 200u}) // names of the same length in between
		note_records(figures, records);
	figures.kernel().command(BENCH_RECORDS, 0ul);
}

// What a loaded module holds; an unloaded one must hold nothing.
void table_memory(recorder &figures)
{
	const std::uint32_t rows = table_size("BENCH_ROWS"), entries = table_size("BENCH_ENTRIES");
	const row of = entries ? row{"memory of the tables", "listed partitions, beside 10 section rows", entries, "entries"}
			       : row{"memory of the tables", "section table", rows, "rows"};
	watch_anew();
	if (load_module("flash_mng"))
		fail("flash_mng does not load");
	const std::uint64_t held = watched("held");
	expect_nothing_lost();
	if (unload_module("flash_mng"))
		fail("flash_mng does not go");
	if (watched("held"))
		fail("flash_mng keeps memory when it goes");
	figures.note(of, module_way, "bytes held", held);
}

} // namespace bench
