// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a power cut left in an erase block that was to be rewritten: erased first and then programmed from its first byte to its last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace powercut {

enum class block_state {
	untouched, // the old content
	erasing,   // a part in front is erased, the rest old
	erased,
	programming, // a part in front has the new content, the rest is erased
	complete,    // the new content
	mixed,	     // each page old or new, with a part in front or behind erased perhaps
	foreign,     // anything else: no cut leaves this
};

inline constexpr std::size_t block_states = 7;

const char *block_state_name(block_state state);

// block_state_of() - tell what a block holds.
// before: its content before the rewrite; after: the content that the rewrite gives it; found: what it holds. All of one size.
// torn_begin, torn_end: bytes that may hold anything because the power went while they changed; none when equal.
//
// Where contents agree several answers are true; given is the first of: untouched, complete, erased, programming, erasing. Never mixed.
block_state block_state_of(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after, std::span<const std::uint8_t> found,
			   std::size_t torn_begin = 0, std::size_t torn_end = 0);

// The same of a block that may be rewritten more than once, each time with more of its pages new.
block_state block_state_in_pages(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after,
				 std::span<const std::uint8_t> found, std::size_t page_size);

} // namespace powercut
