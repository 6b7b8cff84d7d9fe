// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "document.hpp"
#include "mtd_layout.hpp"

namespace flash_board {

// Finds what is wrong with the section tables of the default instance, those of other variants included, and with the choice among them.
void check_sections(document &of, const mtd_layout *layout);

} // namespace flash_board
