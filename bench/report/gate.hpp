// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The committed figures: lines of area, subject, size, unit and instructions, with tabs between them, and comments.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "figures.hpp"

namespace bench {

// Compares; the number of committed figures that are missing or have grown by more than 2 %. The last line sums up, and says when figures
// have shrunk so much that they should be renewed.
unsigned write_gate(std::ostream &out, const std::vector<row> &rows, const std::string &committed);

// A table of the committed figures beside those of another kernel; the number of those that do not keep the limit of flash_mng's own
// instructions, which are marked.
unsigned write_beside(std::ostream &out, const std::vector<row> &rows, const std::string &committed);

// Puts the figures as they are now into the file, whose lines otherwise stay as they are.
void renew(const std::vector<row> &rows, const std::string &committed);

} // namespace bench
