// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The compiled board description: a header with magic, version, length and checksum in front of the flattened tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "board.hpp"

namespace flash_board {

// The most that the parser on the board takes, in bytes.
extern const std::size_t board_file_limit;

// CRC-32 as zlib and Ethernet have it.
std::uint32_t checksum(const std::uint8_t *bytes, std::size_t size);

// The bytes of a board's file, however many.
std::vector<std::uint8_t> compiled(const board &from);

// Compiles a board description to the bytes of its file. Throws input_error as read_board() does, and for a board that is too large.
std::vector<std::uint8_t> compile(std::string_view xml, std::string_view file_name);

} // namespace flash_board
