// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The compiled board description: a header with magic, version, length and checksum in front of the flattened tree.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace flash_board {

// CRC-32 as zlib and Ethernet have it.
std::uint32_t checksum(const std::uint8_t *bytes, std::size_t size);

// Compiles a board description to the bytes of its file. Throws input_error as read_board() does, and for a board that is too large.
std::vector<std::uint8_t> compile(std::string_view xml, std::string_view file_name);

} // namespace flash_board
