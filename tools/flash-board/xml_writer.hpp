// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "board.hpp"

namespace flash_board {

// A board description as XML that says the same as what it was read from, without comments.
std::string as_xml(const board &from);

} // namespace flash_board
