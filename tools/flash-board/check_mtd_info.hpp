// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "document.hpp"
#include "mtd_layout.hpp"

namespace flash_board {

// Finds what is wrong with the partitions that are updated whole, as the default instance lists them.
void check_mtd_info(document &of, const mtd_layout *layout);

} // namespace flash_board
