// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Numbers as the board description writes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace flash_board {

// Decimal, or hexadecimal after 0x; nothing else, and at most 32 bits.
std::optional<std::uint32_t> number_in(std::string_view text);

// 0x100000
std::string hexadecimal(std::uint64_t number);

// A size as people say it, as long as that is exact: 64 KiB, 3 MiB, 1000 bytes.
std::string human_size(std::uint64_t bytes);

} // namespace flash_board
