// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The rules that a board description is checked against. docs/board-rules.md is written from this table.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace flash_board {

enum class severity { note, warning, error };

// What becomes of a board that breaks a rule.
enum class effect {
	refused,	  // the file is not compiled
	load_fails,	  // flash_mng does not load
	sections_dropped, // flash_mng loads without any section
	section_unusable, // the last byte of the section cannot be reached
	search_fails,	  // the settings of an SPI flash instance are not found
	map_fails,	  // the entry of the SPI flash map is not read
	other,		  // what the explanation says
};

struct rule {
	std::string_view id;
	severity level;
	effect consequence;
	bool in_schema; // the schema of board/schema finds it too
	std::string_view title;
	std::string_view explanation;
	std::string_view hint; // what to do
};

std::span<const rule> all_rules();

// nullptr when there is none of this id.
const rule *find_rule(std::string_view id);

std::string_view name_of(severity level);
// A sentence.
std::string_view words_for(effect consequence);

// One rule, for a terminal.
std::string explained(const rule &about);
// Every rule, one line each, for a terminal.
std::string rule_list();
// Every rule with its explanation: docs/board-rules.md.
std::string rules_as_markdown();

} // namespace flash_board
