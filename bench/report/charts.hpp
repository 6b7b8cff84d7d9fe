// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Line charts as SVG, which follow the reader's choice of light or dark.
#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "figures.hpp"

namespace bench {

struct series {
	std::string name;
	std::vector<std::pair<double, double>> points; // size, instructions
};

struct panel {
	std::string title;
	std::string unit; // of the sizes
	std::vector<series> lines;
};

// The lines of a subject: flash_mng's, and those of its peers where wanted.
panel panel_of(const std::vector<row> &rows, const std::string &area, const std::string &subject, bool with_peers);

// Panels three in a row; both axes are logarithmic, or both linear from 0.
void write_chart(std::ostream &out, const std::string &title, const std::vector<panel> &panels, bool logarithmic);

} // namespace bench
