// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Where flash_mng costs more than a peer, and why.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "figures.hpp"

namespace bench {

// A table of the peers that flash_mng is behind, each with its reason: lines of area, peer and reason with tabs between them, and
// comments. A peer without a reason ends the program.
void write_behind(std::ostream &out, const std::vector<row> &rows, const std::string &reasons);

} // namespace bench
