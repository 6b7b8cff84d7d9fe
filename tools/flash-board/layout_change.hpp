// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What an update of a board's layout does to the data that is on its flash.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document.hpp"
#include "mtd_layout.hpp"

namespace flash_board {

enum class change_kind { dropped, variant, removed, moved, readdressed, renamed, shrunk, grown, added, overlap };

struct layout_change {
	change_kind kind;
	severity level;	    // error: data is not found, or is overwritten; warning: not all of it is reached; note: no data is concerned
	std::string object; // as in: section 3
	std::string message;
	std::string hint = {};
	std::size_t old_line = 0; // of its entry, from 1; 0 where it has none
	std::size_t new_line = 0;
	std::vector<std::uint32_t> variants = {}; // those that it is about; empty where they do not differ

	bool operator==(const layout_change &) const = default;
};

// A board description without structural findings, and the partitions of its board where they are known.
struct board_layout {
	const document &of;
	const mtd_layout *partitions;
};

struct layout_comparison {
	std::vector<layout_change> changes;
	std::size_t unchanged = 0;	   // partitions, sections and so on that lie as they lay, each variant by itself
	std::size_t variants_left_out = 0; // beyond most_compared_variants

	bool concerns_data() const;
};

inline constexpr std::size_t most_compared_variants = 100;

// Compares with the layout that is on the board each variant that one of them has. What flash_mng drops of a board holds
// nothing. Where the flash of partitions is known (mtdparts), their places on it are compared, else their names and sizes.
layout_comparison compare(const board_layout &before, const board_layout &after);

std::string_view name_of(change_kind kind);
std::string as_text(const source &before, const source &after, const layout_comparison &of);
// flash-board(1) describes it.
std::string as_json(const source &before, const source &after, const layout_comparison &of);

} // namespace flash_board
