// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Numbers as the board description writes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "common/numbers.hpp"

namespace flash_board {

using tools::human_size;

// Decimal, or hexadecimal after 0x; nothing else, and at most 32 bits.
std::optional<std::uint32_t> number_in(std::string_view text);

// 0x100000
inline std::string hexadecimal(std::uint64_t number)
{
	return tools::hex_number(number);
}

} // namespace flash_board
