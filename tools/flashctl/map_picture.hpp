// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The erase blocks of partitions as rows of letters.
#pragma once

#include <cstddef>
#include <string>

#include "outcome.hpp"

namespace flashctl {

struct canvas {
	std::size_t width; // columns
	bool utf8;	   // otherwise plain ASCII
};

// Each partition with a line about it and its blocks, by their places on the device; then what the letters mean. A partition has a few
// rows at most: where a letter stands for several blocks, it is that of the worst one.
std::string picture_of(const map_outcome &found, const canvas &canvas);

} // namespace flashctl
