// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// torture: everything that flash_mng can do, at once, for a while. Afterwards the content has to be right, nothing held, no memory leaked.
//
// Parameters of the kernel command line: torture.seconds (60), torture.seed (1). The board's task loads the platform and the flash devices.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "kernel_state.hpp"
#include "lab_device.hpp"
#include "modules.hpp"
#include "workers.hpp"

namespace torture {

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr uint32_t slot_stride = 0x4000;
constexpr uint32_t slot_start = 1000;
constexpr int patience = 600; // seconds without a step of some worker

std::deque<slot> make_slots(const std::vector<std::unique_ptr<transfer_path>> &paths)
{
	std::deque<slot> slots;
	for (const auto &way : paths)
		for (uint32_t i = 0; i < way->slots; ++i)
			slots.emplace_back(way.get(), static_cast<uint32_t>(slots.size() + 1),
					   slot_start + (way->first_slot + i) * slot_stride);
	return slots;
}

class run {
public:
	run(uint64_t seed, failures &bad) : seed_(seed), bad_(bad) {}

	void work(const flash_mng_access &access, worker_list &workers, unsigned length)
	{
		over_ = false;
		std::vector<std::jthread> threads;
		for (std::size_t i = 0; i < workers.size(); ++i)
			threads.emplace_back([&, i] { step_on(access, workers[i], i); });
		watch(workers, steady_clock::now() + seconds(length));
		over_ = true;
		threads.clear();
		for (worker &one : workers)
			if (one.finish) {
				step_context context = {access, choices(seed_), one, bad_};
				one.finish(context);
			}
	}

private:
	void step_on(const flash_mng_access &access, worker &one, uint64_t number)
	{
		try {
			while (!over_) {
				step_context context = {access, choices(seed_, number, one.steps), one, bad_};
				one.step(context);
				++one.steps;
			}
		} catch (const std::exception &failure) {
			bad_.add(one.name + ": " + failure.what());
		}
	}

	// A worker that waits for ever cannot be ended, and would keep the board from telling about it.
	void watch(const worker_list &workers, steady_clock::time_point end) const
	{
		std::vector<uint64_t> steps(workers.size());
		std::vector<steady_clock::time_point> moved(workers.size(), steady_clock::now());
		while (steady_clock::now() < end) {
			sleep(1);
			for (std::size_t i = 0; i < workers.size(); ++i) {
				if (workers[i].steps != steps[i])
					moved[i] = steady_clock::now();
				steps[i] = workers[i].steps;
				if (steady_clock::now() - moved[i] > seconds(patience)) {
					std::printf("%s is stuck in step %llu\n", workers[i].name.c_str(),
						    static_cast<unsigned long long>(steps[i]));
					std::fflush(stdout);
					_exit(1);
				}
			}
		}
	}

	uint64_t seed_;
	failures &bad_;
	std::atomic<bool> over_{false};
};

void write_first_generation(const flash_mng_access &access, std::deque<slot> &slots, failures &bad)
{
	worker first = {"first writer", nullptr};
	for (slot &one : slots) {
		step_context context = {access, choices(0), first, bad};
		write_next(context, one);
	}
}

// From the MTD device itself.
bytes stored(const slot &one)
{
	const std::string table = guest::read_file("/proc/mtd");
	const std::size_t name = table.find("\"" + one.way->partition + "\"");
	const std::size_t line = table.rfind("mtd", name);
	const open_device device(("/dev/" + table.substr(line, table.find(':', line) - line)).c_str());
	bytes found(slot_capacity);
	if (pread(device.descriptor(), found.data(), found.size(), one.offset) != static_cast<ssize_t>(found.size()))
		throw std::runtime_error(one.way->partition + " cannot be read");
	return found;
}

void check_content(const std::deque<slot> &slots, failures &bad)
{
	for (const slot &one : slots) {
		const reading seen = read_content(one.id, stored(one));
		if (seen.generation != one.finished)
			bad.add("at the end, " + one.way->name() + ": " +
				(seen.generation ? "slot " + std::to_string(one.id) + " holds generation " +
							   std::to_string(*seen.generation) + " instead of " + std::to_string(one.finished)
						 : seen.error));
	}
}

void check_holdings(const std::vector<std::string> &before, failures &bad)
{
	const std::vector<std::string> after = holdings();
	for (const std::string &line : after)
		if (std::find(before.begin(), before.end(), line) == before.end())
			bad.add("still held: " + line);
}

uint64_t print_counts(const std::deque<worker_list> &phases)
{
	tally all;
	uint64_t calls = 0;
	for (const worker_list &workers : phases)
		for (const worker &one : workers)
			for (const auto &[what, count] : one.counted) {
				all[what] += count;
				calls += count;
			}
	for (const auto &[what, count] : all)
		std::printf("  %-44s 0x%08x %10llu\n", what.first.c_str(), what.second, static_cast<unsigned long long>(count));
	return calls;
}

void print_phase(const char *what, const worker_list &workers, unsigned length)
{
	std::printf("%s: %zu threads for %u s\n", what, workers.size(), length);
	std::fflush(stdout);
}

// Readers, writers, SPI flashes with one owner each: everything is accounted for.
void everything_at_once(uint64_t seed, unsigned length, worker_list &workers, std::deque<slot> &slots, failures &bad)
{
	loaded_modules modules({"flash_mng", "spi_flash_driver", "flash_calls"});
	const std::vector<std::string> before = holdings();
	{
		const flash_mng_access access;
		write_first_generation(access, slots, bad);
		add_transfer_workers(workers, slots);
		add_question_workers(workers);
		add_hostile_workers(workers);
		add_spi_workers(workers);
		print_phase("everything at once", workers, length);
		run(seed, bad).work(access, workers, length);
	}
	check_holdings(before, bad);
	modules.unload();
	check_content(slots, bad);
}

// What an unload leaves of this is known and wanted: records of flashes that were used and not destroyed.
void races_for_flashes(uint64_t seed, unsigned length, worker_list &workers, failures &bad)
{
	loaded_modules modules({"flash_mng", "flash_calls"});
	const std::vector<std::string> before = holdings();
	{
		const flash_mng_access access;
		add_spi_race_workers(workers);
		add_question_workers(workers);
		print_phase("races for SPI flashes", workers, length);
		run(seed + 1, bad).work(access, workers, length);
	}
	check_holdings(before, bad);
}

int torture(uint64_t seed, unsigned length)
{
	std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
	failures bad;
	std::deque<worker_list> phases(2);
	const auto paths = all_transfer_paths();
	std::deque<slot> slots = make_slots(paths);
	const unsigned race_length = std::max(length / 6, 1u);

	everything_at_once(seed, length - race_length, phases[0], slots, bad);
	const std::string leaked = leaks();
	if (!leaked.empty())
		bad.add("leaked:\n" + leaked);
	races_for_flashes(seed, race_length, phases[1], bad);
	if (const uint64_t reports = taint())
		bad.add("the kernel is tainted: " + std::to_string(reports));

	const uint64_t calls = print_counts(phases);
	std::printf("torture: %llu calls in %u s, seed %llu, %u failures\n", static_cast<unsigned long long>(calls), length,
		    static_cast<unsigned long long>(seed), bad.count());
	return bad.count() ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace

} // namespace torture

int main()
try {
	return torture::torture(torture::parameter("torture.seed", 1), static_cast<unsigned>(torture::parameter("torture.seconds", 60)));
} catch (const std::exception &failure) {
	std::printf("torture: %s\n", failure.what());
	return EXIT_FAILURE;
}
