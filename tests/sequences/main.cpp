// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// sequences LENGTH: all sequences of operations up to that length, shared by as many processes as there are processors.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "sequences.hpp"

using namespace sequences;

namespace {

void tell_sequence(int)
{
	std::fprintf(stderr, "in %s\n", now_tried().text().c_str());
}

struct share {
	counts of;
	bool wrong = false;
};

// One process for the sequences that begin with every `step`-th operation from `first`.
share work(std::size_t length, std::size_t first, std::size_t step)
{
	share made;
	for (std::size_t i = first; i < operation_count() && !made.wrong; i += step)
		if (const counterexample found = try_all(length, i, i + 1, made.of); !found.what.empty()) {
			std::printf("%s\n", found.text().c_str());
			made.wrong = true;
		}
	std::fflush(stdout);
	return made;
}

// Adds up what the processes found; false when one of them failed.
bool try_length(std::size_t length, counts &all)
{
	const auto processes = static_cast<std::size_t>(sysconf(_SC_NPROCESSORS_ONLN));
	std::vector<std::pair<pid_t, int>> started;
	bool right = true;

	for (std::size_t i = 0; i < processes; ++i) {
		int ends[2];
		if (pipe(ends) != 0)
			return false;
		const pid_t child = fork();
		if (child == 0) {
			const share made = work(length, i, processes);
			const bool told = write(ends[1], &made, sizeof(made)) == sizeof(made);
			std::_Exit(made.wrong || !told ? 1 : 0);
		}
		close(ends[1]);
		started.emplace_back(child, ends[0]);
	}
	for (const auto &[child, end] : started) {
		share made;
		int status = 0;
		right &= read(end, &made, sizeof(made)) == sizeof(made) && !made.wrong;
		close(end);
		waitpid(child, &status, 0);
		right &= status == 0;
		all.sequences += made.of.sequences;
		all.calls += made.of.calls;
		all.impossible += made.of.impossible;
	}
	return right;
}

} // namespace

int main(int argc, char **argv)
{
	const long most = argc == 2 ? std::strtol(argv[1], nullptr, 10) : 0;

	if (most < 1 || most > 8) {
		std::fputs("usage: sequences LENGTH, from 1 to 8\n", stderr);
		return 2;
	}
	std::signal(SIGABRT, tell_sequence);
	for (long length = 1; length <= most; ++length) {
		const auto begin = std::chrono::steady_clock::now();
		counts all;
		const bool right = try_length(static_cast<std::size_t>(length), all);
		const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
		std::printf("length %ld, %zu operations: %" PRIu64 " sequences, %" PRIu64 " calls, %s, %.0f s\n", length, operation_count(),
			    all.sequences, all.calls, right ? "all as the model says" : "NOT all as the model says", time.count());
		std::fflush(stdout);
		if (!right)
			return 1;
	}
	return 0;
}
