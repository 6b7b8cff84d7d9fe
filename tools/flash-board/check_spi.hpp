// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "document.hpp"

namespace flash_board {

// Finds what is wrong with the settings of SPI flashes, with the cards that need them, and with the partition maps.
void check_spi(document &of);

} // namespace flash_board
