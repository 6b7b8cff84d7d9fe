// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The power-cut bench: starts a board that writes to its NOR flash, kills it at a moment of its own choice, looks at the flash, and does
// it again on the flash as it was left.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "block_state.hpp"

namespace powercut {

struct bench_options {
	std::string nor; // the file of the flash; made new
	std::uint32_t seed = 1;
	std::chrono::seconds time{300};	     // no new board is started afterwards
	std::size_t most_cuts = 1'000'000;   // or after so many cuts
	std::chrono::milliseconds span{400}; // a board is killed within so long after it is ready to write
	std::chrono::seconds patience{120};  // for a board to become ready
	std::vector<std::string> board;	     // program and arguments; "--append" and the kernel parameters are added
};

struct bench_counts {
	std::size_t cuts = 0;
	std::size_t torn = 0;	   // a block was found between old and new
	std::size_t untouched = 0; // the write in flight had changed nothing
	std::size_t complete = 0;  // it was whole but not reported
	std::size_t between = 0;   // some of its blocks new, the others old
	std::size_t generations = 0;
	std::size_t repeated = 0; // writes that a cut had torn or left between, and that were done again and reported
	std::array<std::size_t, block_states> blocks = {};
};

// run_bench() - cut until the time is over. The first finding ends it.
// Return: nothing when all cuts left what they may leave; otherwise what is wrong. counts has what was done in either case.
std::optional<std::string> run_bench(const bench_options &options, bench_counts &counts);

} // namespace powercut
