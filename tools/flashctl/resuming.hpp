// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What of a write is on the flash already, in erase blocks.
#pragma once

#include <vector>

#include "writing.hpp"

namespace flashctl {

// Erase blocks that a range touches and that hold its bytes already; counted by what the picture saw.
std::uint32_t held_blocks(const range &part, byte_view data, const picture &taken);

// The rest of the range, as few ranges as possible, in order; none is empty.
std::vector<range> missing_ranges(const range &part, byte_view data, const picture &taken);

// Writes the range: whole or, resumed, its missing ranges one after the other. A failure tells what became of the flash.
void write_part(workplace &place, const range &part, byte_view data, const picture *taken, bool resume);

} // namespace flashctl
