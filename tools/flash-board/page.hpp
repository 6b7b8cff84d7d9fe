// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// A board on one page of HTML that needs nothing beside it: its map, findings, variants and what flash_mng makes of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "findings.hpp"
#include "mtd_layout.hpp"
#include "simulate.hpp"
#include "source.hpp"

namespace flash_board {

struct page_content {
	const source &from;
	const findings &found;			     // of all rules
	const mtd_layout *layout;		     // nullptr where the partitions are not known
	std::string layout_name;		     // where they come from; empty without them
	std::optional<simulation_result> simulation; // nothing where it was not possible
	std::string no_simulation;		     // why, a sentence
	bool has_map;				     // whether the form is right
	std::string tool;			     // its name and version
};

// The same bytes for the same content. What the description says is in it as data only; the page's policy lets no script run but its own.
std::string as_page(const page_content &of);

} // namespace flash_board
