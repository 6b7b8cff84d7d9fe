// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// A picture of a board's flash: partitions, what lies in them, and what is free.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document.hpp"
#include "mtd_layout.hpp"
#include "tables.hpp"

namespace flash_board {

enum class span_kind { section, usable, spi_partition };

// A part of a bar. Its range counts from the begin of the bar and may reach beyond the end.
struct map_span {
	span_kind kind;
	std::string title;
	byte_range range;
	std::string addresses;		      // as the board description counts them
	std::uint64_t address = 0;	      // what the board description calls the first byte
	std::optional<std::uint32_t> id = {}; // of a section
	std::string name = {};		      // of an SPI partition
	std::size_t at = 0;		      // where the entry stands, in bytes from the start of the text
};

// One partition, or one SPI flash.
struct map_bar {
	std::string title;
	std::string place;			    // where it lies, in words
	std::optional<std::uint64_t> size;	    // not known without a layout
	bool is_missing = false;		    // the layout has no such partition
	std::optional<std::uint64_t> offset = {};   // of a partition on its device, where that is known
	bool is_partition = false;		    // the layout has it
	std::optional<std::uint32_t> instance = {}; // of an SPI flash
	std::vector<map_span> spans = {};
	std::uint64_t spans_end = 0; // the largest end of them

	void add(map_span span);
	// The end of what is known: the size, or the largest end of a span.
	std::uint64_t known_end() const;
	// The end of what is drawn; beyond the known end where the size is not known.
	std::uint64_t extent() const;
	// What no span covers, as far as is known.
	std::vector<byte_range> free_ranges() const;
	// What more than one section or more than one SPI partition covers.
	std::vector<byte_range> shared_ranges() const;
};

struct map_group {
	std::string title;
	std::vector<map_bar> bars;
};

struct board_map {
	std::string title;
	std::string subtitle;
	std::vector<std::string> left_out; // what flash_mng drops, and why; a sentence each, without a full stop
	std::vector<map_group> groups;
};

// The variants for which a board has section tables, and its own, in ascending order; without tables for variants its own only.
std::vector<std::uint32_t> variants_of(const document &of);
// The variant that a board states.
std::uint32_t own_variant(const document &of);

// The map of a board without structural findings; what flash_mng drops is left out. @bom: another variant than the board's own.
board_map map_of(const document &of, const mtd_layout *layout, std::optional<std::uint32_t> bom);

std::string as_text(const board_map &map);
// Readable on light and on dark paper.
std::string as_svg(const board_map &map);

} // namespace flash_board
