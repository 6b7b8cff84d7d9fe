// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What a map shows, as things of the layout before an update that are found again in the layout after it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "map.hpp"

namespace flash_board {

// The end of a partition that takes the rest of its flash.
inline constexpr std::uint64_t end_not_known = std::uint64_t(1) << 63;

enum class item_kind { partition, section, usable, spi_partition };

struct layout_item {
	item_kind kind;
	std::string space; // what its range counts in: a flash, or a partition
	byte_range range;
	std::uint64_t address; // what the description calls its first byte
	std::string name;      // of a partition; else of the one that it lies in, or of the SPI partition
	std::uint32_t id;      // of a section; of an SPI partition its instance
	std::string place;     // in words
	std::size_t at;	       // of its entry in the text; nothing of a partition
	bool has_size;	       // a partition may have none that is known
	bool has_place;	       // of a partition: whether where it lies on its flash is known

	std::uint64_t size() const { return range.end - range.begin; }
	std::string title() const;
};

// In the order of the map: partitions, then what lies in them.
std::vector<layout_item> items_of(const board_map &map);

// Calls partitions that the update only renames by their old names.
void use_old_names(const std::vector<layout_item> &before, std::vector<layout_item> &after);

inline constexpr std::size_t no_match = static_cast<std::size_t>(-1);

// For each item after the update the index of the same one before it, or no_match. No item is matched twice.
std::vector<std::size_t> matches_of(const std::vector<layout_item> &before, const std::vector<layout_item> &after);

} // namespace flash_board
