// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The MTD partitions of a board, as the board itself lists them or as its kernel command line makes them.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace flash_board {

inline constexpr std::uint32_t mtd_type_nand = 4, mtd_type_mlc_nand = 8;

struct partition {
	std::string name;
	std::optional<std::uint64_t> size;	  // bytes; not known for the partition that takes the rest of its device
	std::optional<std::uint64_t> erase_size;  // bytes; known from a board only
	std::string device = {};		  // mtdparts: the flash that it is a part of
	std::optional<std::uint64_t> offset = {}; // mtdparts: where it begins there
	std::optional<std::uint32_t> type = {};	  // Linux's number of it; known from flashctl only

	bool is_known_not_to_be_nand() const { return type && *type != mtd_type_nand && *type != mtd_type_mlc_nand; }
};

// In the order of the MTD numbers.
using mtd_layout = std::vector<partition>;

struct layout_error : std::runtime_error {
	using std::runtime_error::runtime_error;
};

// The content of a board's /proc/mtd. Throws layout_error, with the number of the line, for anything else.
mtd_layout read_proc_mtd(std::string_view text);

// What flashctl --json list prints on the board. Throws layout_error for anything else.
mtd_layout read_flashctl_list(std::string_view text);

// Whichever of the two a file holds.
mtd_layout read_layout(std::string_view text);

// The kernel parameter, with or without "mtdparts=" in front: <device>:<size>[@<offset>][(<name>)][ro][lk],...;<device>:...
// Sizes and offsets take k, m and g; the size "-" is the rest of the device. Throws layout_error.
mtd_layout read_mtdparts(std::string_view text);

// The partition that Linux finds under a name: the first. nullptr when there is none.
const partition *partition_named(const mtd_layout &layout, std::string_view name);

// "did you mean <name>?" about the partition with the nearest name; empty when none is near.
std::string partition_meant(const mtd_layout &layout, std::string_view name);

} // namespace flash_board
