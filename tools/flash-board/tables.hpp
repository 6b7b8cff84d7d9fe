// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Where the tables of flash_mng are in a board description, and reading their values, right or wrong.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document.hpp"
#include "number.hpp"

namespace flash_board {

inline constexpr std::uint32_t default_instance_id = 0xFFFFFFFF;

std::vector<pugi::xml_node> instances_of(const document &of);
// An empty node when there is none.
pugi::xml_node instance_of(const document &of, std::uint32_t id);
pugi::xml_node flash_mng_of(pugi::xml_node instance);
pugi::xml_node node_of(pugi::xml_node instance, const char *name);
std::vector<pugi::xml_node> entries_of(pugi::xml_node node);

std::optional<std::uint32_t> id_of(pugi::xml_node instance);
// The BOM value that holds for an instance.
std::uint32_t bom_of(const document &of, pugi::xml_node instance);

// Section tables: attr and attr_<digits>.
bool is_variant_name(std::string_view node_name);
std::vector<pugi::xml_node> section_tables_of(pugi::xml_node instance);
// The name of the table that flash_mng takes when an instance has this many of them.
std::string chosen_table_name(std::size_t tables, std::uint32_t bom);

// A range in 64 bits, where nothing wraps around.
struct byte_range {
	std::uint64_t begin;
	std::uint64_t end;

	bool overlaps(const byte_range &other) const { return begin < other.end && other.begin < end; }
	bool contains(const byte_range &other) const { return begin <= other.begin && other.end <= end; }
	std::string text() const { return hexadecimal(begin) + " to " + hexadecimal(end); }
};

struct section_row {
	explicit section_row(const document &of, pugi::xml_node entry);

	pugi::xml_node xml;
	std::optional<located_text> id_text, name, offset_text, size_text;
	std::optional<std::uint32_t> id, offset, size;

	// Only of a row with offset and size.
	byte_range range() const { return {*offset, std::uint64_t(*offset) + *size}; }
	bool is_complete() const { return id && name && offset && size; }
	// Whether a request can fit, going by the row alone.
	bool is_usable() const { return is_complete() && *size && range().end <= std::numeric_limits<std::uint32_t>::max(); }
	std::string title() const;
};

std::vector<section_row> section_rows_of(const document &of, pugi::xml_node table);

// Adds a finding for each value that is missing, and for each that is given and no number.
struct field {
	const char *name;
	bool is_number;
};
void check_attributes_given(document &of, pugi::xml_node entry, std::initializer_list<field> fields, std::string_view missing_rule,
			    std::string_view number_rule);
void check_elements_given(document &of, pugi::xml_node entry, std::initializer_list<field> fields, std::string_view missing_rule,
			  std::string_view number_rule);

} // namespace flash_board
