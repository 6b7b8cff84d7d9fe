// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The NOR flash of a board that was killed, against what it has to hold: the writes that were reported, whole; of the next write each
// erase block old, new or on its way; everything else as it was.
//
// The flash buffer service rewrites an erase block once, and one after the other. Linux's block device for flash works on up to two
// requests in turns, page by page; where these are in two blocks, it rewrites each of them for a part of its pages, back and forth.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "block_state.hpp"

namespace powercut {

// What a board did: generations first to reported were reported; reported + 1 may have been in flight.
struct reported_writes {
	std::uint32_t seed;
	std::uint32_t first;
	std::uint32_t reported; // first - 1: none
};

struct nor_verdict {
	std::vector<std::string> findings;		      // none: all is well
	std::array<std::size_t, block_states> in_flight = {}; // erase blocks of the write in flight by their state
	bool is_torn() const;				      // a block in flight is neither old nor new
	bool is_complete() const;			      // the write in flight is whole, though not reported
	bool is_untouched() const;			      // it changed nothing yet
};

// What the flash holds before the first generation.
std::vector<std::uint8_t> first_content(std::uint32_t seed);

// Makes the write of a generation in an image of the flash.
void apply_generation(std::span<std::uint8_t> image, std::uint32_t seed, std::uint32_t generation);

// check_nor() - judge the flash after a cut.
// expected: what it held when the board was started; has the reported writes afterwards.
// found: what it holds; of the same size, POWERCUT_FLASH_SIZE.
nor_verdict check_nor(std::vector<std::uint8_t> &expected, std::span<const std::uint8_t> found, const reported_writes &writes);

} // namespace powercut
