// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// fuzz: calls that nobody would make, on the control device and the exports, from a seed; two processes, each led by the answers that it
// gets and by the code of flash_mng that its calls reach. Every answer is compared with a model.
//
// Parameters of the kernel command line: fuzz.seconds (20), fuzz.seed (1), fuzz.points: how many points the module's code has.
// /torture/corpus.txt, when it is there, is run first; inputs that reach new code go to /results/corpus-<process>.txt. With arguments: the
// inputs of these files, once.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <unordered_set>

#include "coverage.hpp"
#include "kernel_state.hpp"
#include "lab_device.hpp"
#include "model.hpp"
#include "modules.hpp"

namespace torture {

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr unsigned processes = 2;
constexpr unsigned taint_interval = 64; // inputs
constexpr unsigned most_findings = 10;
constexpr char corpus_file[] = "/torture/corpus.txt";

struct share {
	const char *partition;
	uint32_t usable;
	uint32_t window;
};
constexpr share shares[processes] = {{"usrdata", 0x40000, 0x10000}, {"config", 0x20000, 0x40000}};

std::vector<input> inputs_of(const std::string &path)
{
	std::vector<input> all;
	std::ifstream lines(path);
	for (std::string line; std::getline(lines, line);)
		if (!line.empty() && line[0] != '#') {
			if (const auto one = input_of(line))
				all.push_back(*one);
			else
				throw std::runtime_error(path + ": not an input: " + line);
		}
	return all;
}

// Moves memory for as long as it lives.
class mover {
public:
	mover(const model &moved, uint64_t seed)
		: thread_([&moved, seed](const std::stop_token &over) {
			  choices choice(seed);
			  while (!over.stop_requested()) {
				  moved.move(choice);
				  std::this_thread::sleep_for(std::chrono::milliseconds(1));
			  }
		  })
	{
	}

private:
	std::jthread thread_;
};

class fuzzer {
public:
	fuzzer(const flash_mng_access &access, const share &own, uint64_t seed)
		: model_(access, own.partition, own.usable, own.window), choice_(seed), mover_(model_, seed)
	{
	}

	void replay(const std::vector<input> &inputs)
	{
		for (const input &one : inputs)
			run(one);
	}

	void run_until(steady_clock::time_point end)
	{
		while (steady_clock::now() < end && findings_ < most_findings)
			run(next());
	}

	void report(unsigned number) const
	{
		uint64_t calls = 0;
		for (const auto &[name, count] : model_.counted()) {
			std::printf("  %u: %-36s %10llu\n", number, name.c_str(), static_cast<unsigned long long>(count));
			calls += count;
		}
		std::printf("  %u: %llu calls in %llu inputs, %zu answers, %zu points, %zu inputs kept, %u findings\n", number,
			    static_cast<unsigned long long>(calls), static_cast<unsigned long long>(inputs_), model_.seen().count(),
			    coverage_.points().size(), corpus_.size(), findings_);
		std::ofstream kept("/results/corpus-" + std::to_string(number) + ".txt");
		for (const input &one : reaching_)
			kept << text_of(one) << "\n";
		std::ofstream told("/tmp/fuzz-" + std::to_string(number));
		told << calls << "\n";
		for (const uint64_t point : coverage_.points())
			told << point << "\n";
	}

	bool found_something() const { return findings_; }

private:
	input next()
	{
		if (corpus_.empty() || choice_.one_in(8))
			return new_input(choice_);
		return changed(choice_.of(corpus_), choice_.of(corpus_), choice_);
	}

	void run(const input &one)
	{
		model_.seen().restart();
		coverage_.restart();
		for (const gene &each : one)
			if (const std::string wrong = model_.run(each); !wrong.empty())
				finding(wrong, one);
		const bool reached_new = coverage_.found_new();
		if (reached_new)
			reaching_.push_back(one);
		if (reached_new || model_.seen().found_new())
			corpus_.push_back(one);
		if (++inputs_ % taint_interval == 0 && taint() != taint_) {
			taint_ = taint();
			finding("the kernel has reported something, in this input or one of the " + std::to_string(taint_interval) +
					" before",
				one);
		}
	}

	void finding(const std::string &what, const input &one)
	{
		++findings_;
		std::printf("found: %s\n  input: %s\n", what.c_str(), text_of(one).c_str());
		std::fflush(stdout);
	}

	model model_;
	choices choice_;
	mover mover_;
	coverage coverage_;
	std::vector<input> corpus_;   // that reached new code or got new answers; others are made of them
	std::vector<input> reaching_; // that reached new code
	uint64_t inputs_ = 0;
	uint64_t taint_ = taint();
	unsigned findings_ = 0;
};

int one_process(unsigned number, uint64_t seed, unsigned length, const std::vector<input> &first)
{
	const flash_mng_access access;
	fuzzer one(access, shares[number], mixed(seed) + number);
	one.replay(first);
	one.run_until(steady_clock::now() + seconds(length));
	one.report(number);
	std::fflush(stdout);
	return one.found_something() ? EXIT_FAILURE : EXIT_SUCCESS;
}

void make_standing_flash()
{
	const flash_mng_access access;
	flash_part parts[2] = {{0, 0x10000, {}}, {0x10000, 0x10000, {}}};
	for (int i = 0; i < 2; ++i)
		std::string(standing_names[i]).copy(parts[i].mtd_name, sizeof(parts[i].mtd_name) - 1);
	if (export_call(FLASH_CALL_drv_flash_create).value(standing_instance).parts(parts).make(access))
		throw std::runtime_error("the SPI flash of the fuzzer cannot be created");
}

int guarded(unsigned number, uint64_t seed, unsigned length, const std::vector<input> &first)
try {
	return one_process(number, seed, length, first);
} catch (const std::exception &failure) {
	std::printf("fuzz: %s\n", failure.what());
	std::fflush(stdout);
	return EXIT_FAILURE;
}

bool run_processes(uint64_t seed, unsigned length, const std::vector<input> &first)
{
	for (unsigned number = 0; number < processes; ++number)
		if (fork() == 0)
			_exit(guarded(number, seed, length, first));
	bool clean = true;
	for (int status = 0; wait(&status) > 0;)
		clean &= WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
	return clean;
}

// What the processes have told.
struct total {
	uint64_t calls = 0;
	std::unordered_set<uint64_t> points;

	void add(unsigned number)
	{
		std::ifstream told("/tmp/fuzz-" + std::to_string(number));
		uint64_t calls_of_one = 0;
		told >> calls_of_one;
		calls += calls_of_one;
		for (uint64_t point; told >> point;)
			points.insert(point);
	}
};

int fuzz(uint64_t seed, unsigned length, const std::vector<input> &first)
{
	std::printf("seed %llu, %zu inputs first, then %u s\n", static_cast<unsigned long long>(seed), first.size(), length);
	std::fflush(stdout);
	loaded_modules modules({"flash_mng", "spi_flash_driver", "flash_calls"});
	const std::vector<std::string> before = holdings();
	make_standing_flash();
	bool clean = run_processes(seed, length, first);
	if (holdings() != before) {
		std::printf("fuzz: something is still held\n");
		clean = false;
	}
	total all;
	for (unsigned number = 0; number < processes; ++number)
		all.add(number);
	std::printf("fuzz: %llu calls, seed %llu, %zu of %llu points of flash_mng reached, %s\n",
		    static_cast<unsigned long long>(all.calls), static_cast<unsigned long long>(seed), all.points.size(),
		    static_cast<unsigned long long>(parameter("fuzz.points", 0)), clean ? "clean" : "with findings");
	return clean ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

} // namespace torture

int main(int count, char **arguments)
try {
	using namespace torture;
	std::vector<input> first;
	for (int i = 1; i < count; ++i)
		for (const input &one : inputs_of(arguments[i]))
			first.push_back(one);
	if (count > 1)
		return fuzz(1, 0, first);
	return fuzz(parameter("fuzz.seed", 1), static_cast<unsigned>(parameter("fuzz.seconds", 20)), inputs_of(corpus_file));
} catch (const std::exception &failure) {
	std::printf("fuzz: %s\n", failure.what());
	return EXIT_FAILURE;
}
