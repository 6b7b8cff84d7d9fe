// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "document.hpp"

namespace flash_board {

// Finds instances whose place below another one cannot be: parents that are the instance itself, go in a circle or are not described, and
// cards on one place of their carrier.
void check_instances(document &of);

} // namespace flash_board
