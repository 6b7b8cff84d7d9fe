// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Bytes in memory: their hash, how two images differ, and a dump to look at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace flashctl {

using bytes = std::vector<std::byte>;
using byte_view = std::span<const std::byte>;

// SHA-256 in 64 lower-case hexadecimal digits.
std::string sha256(byte_view data);

struct difference {
	std::uint64_t first; // position of the first byte that differs
	std::uint64_t count; // bytes that differ
	std::uint8_t expected;
	std::uint8_t found;
};

// How two images of the same size differ from byte `begin` up to `end`, not included; nothing when they are equal there.
std::optional<difference> compare(byte_view expected, byte_view found, std::size_t begin, std::size_t end);

// The same outside of that range.
std::optional<difference> compare_around(byte_view expected, byte_view found, std::size_t begin, std::size_t end);

// Lines of 16 bytes with their addresses from `address` on; repeated lines are one "*", the last line is the end address.
std::string hex_dump(byte_view data, std::uint64_t address);

} // namespace flashctl
