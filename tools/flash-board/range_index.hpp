// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Ranges that are asked again and again which of them others overlap.
#pragma once

#include <cstddef>
#include <vector>

#include "tables.hpp"

namespace flash_board {

class range_index {
public:
	void add(const byte_range &range, std::size_t value);

	// Once all are added, and before anything is asked.
	void finish();

	struct answer {
		std::size_t count; // how many overlap; each step takes log n
		std::size_t first; // the value of the one that begins first, where there is one
	};
	answer overlapping(const byte_range &range) const;

private:
	struct item {
		byte_range range;
		std::size_t value;
	};

	std::vector<item> items_;	   // by begin; empty ranges are none
	std::vector<std::uint64_t> ends_;  // in ascending order
	std::vector<std::uint64_t> reach_; // the largest end up to each item
};

} // namespace flash_board
