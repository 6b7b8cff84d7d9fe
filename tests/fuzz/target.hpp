// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What each program of this folder plays, one input at a time.
#pragma once

#include "input.hpp"

namespace fuzz {

void play(input from);

} // namespace fuzz
