// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Boards of many rows, of each kind that a check or a map has to compare with others.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace large_boards {

struct kind {
	std::string name;
	std::function<std::string(std::size_t rows)> make;
};

std::vector<kind> all();

} // namespace large_boards
