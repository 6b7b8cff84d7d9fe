// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The figures as text: for the terminal, for docs/, for programs, and for the gate.
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

void write_terminal(std::ostream &out, const std::vector<row> &rows);
void write_markdown(std::ostream &out, const std::vector<row> &rows);
void write_slopes(std::ostream &out, const std::vector<row> &rows);
void write_json(std::ostream &out, const std::vector<row> &rows, const std::string &versions);

// Compares with the committed figures; the number of those that are missing or have grown by more than 2 %.
unsigned write_gate(std::ostream &out, const std::vector<row> &rows, const std::string &committed);

} // namespace bench
