// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "document.hpp"
#include "mtd_layout.hpp"

namespace flash_board {

// Finds modules, nodes, entries and values that flash_mng will not read, and what it will miss.
void check_nodes(document &of, const mtd_layout *layout);

} // namespace flash_board
