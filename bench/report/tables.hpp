// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The figures as text: for the terminal, for docs/ and for programs.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "figures.hpp"

namespace bench {

// A limit that flash_mng's own instructions are to keep, and whether they do.
struct limit {
	std::string text;
	bool kept = true;
};
limit own_limit(const row &of);

// Those instructions and their part of all, and the limit that they are over; nothing where they were not traced.
std::string own_text(const row &of);

// In how many rows it is kept.
void write_aim(std::ostream &out, const std::vector<row> &rows);

void write_terminal(std::ostream &out, const std::vector<row> &rows);

// Tables of the instructions, a heading for each area.
void write_markdown(std::ostream &out, const std::vector<row> &rows);

// Tables of everything else that was counted: memory, work on flash.
void write_counts(std::ostream &out, const std::vector<row> &rows);

// How figures grow with their size, where they do not transfer.
void write_slopes(std::ostream &out, const std::vector<row> &rows);
void write_json(std::ostream &out, const std::vector<row> &rows, const std::string &versions);

} // namespace bench
