// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// All rules on one board description.
#pragma once

#include "findings.hpp"
#include "mtd_layout.hpp"
#include "source.hpp"

namespace flash_board {

// Everything that is found, in the order of the text. Without a layout nothing is said about the partitions of the board.
findings check(const source &from, const mtd_layout *layout);

} // namespace flash_board
