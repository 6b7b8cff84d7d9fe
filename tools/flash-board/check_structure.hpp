// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "document.hpp"

namespace flash_board {

// Finds elements, attributes, names and numbers that a board description does not have, and things that are there twice.
void check_structure(document &of);

} // namespace flash_board
