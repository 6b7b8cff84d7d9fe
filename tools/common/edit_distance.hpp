// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// How far two words are apart.
#pragma once

#include <cstddef>
#include <string_view>

namespace tools {

// How many letters have to be added, left out, replaced, or exchanged with their neighbour to make one word of the other. Takes time and
// memory in proportion to the product of their lengths.
std::size_t edit_distance(std::string_view a, std::string_view b);

} // namespace tools
