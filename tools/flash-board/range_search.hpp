// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Searches over all ranges of a table at once, in n log n steps.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "tables.hpp"

namespace flash_board {

inline constexpr std::size_t none_before = static_cast<std::size_t>(-1);

// For each range the index of the first range before it that contains it, or none_before.
std::vector<std::size_t> first_containing(std::span<const byte_range> ranges);

// For each range the index of the first range before it that it overlaps, or none_before.
std::vector<std::size_t> first_overlapping(std::span<const byte_range> ranges);

// For each range the index of the first range before it that it does not overlap, or none_before.
std::vector<std::size_t> first_apart(std::span<const byte_range> ranges);

// The parts of [0, end) that at least so many of the ranges cover, in ascending order, none touching the next.
std::vector<byte_range> covered(std::span<const byte_range> ranges, std::uint64_t end, std::ptrdiff_t least);

} // namespace flash_board
