// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Boards made up from a seed, for comparing what is said about a board with what becomes of it.
#pragma once

#include <string>

#include "mtd_layout.hpp"

namespace made_up {

// A board of a few rows, whose values are mostly sound and sometimes on the edge. The same for the same seed.
std::string made_up_board(unsigned seed);

// Those that the virtual board compares with the real module: so many, from this seed on.
inline constexpr unsigned boards_for_the_board = 30;
inline constexpr unsigned first_seed = 5000;

// The partitions that they name.
flash_board::mtd_layout layout();

} // namespace made_up
