// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "number.hpp"

#include <limits>

namespace flash_board {

std::optional<std::uint32_t> number_in(std::string_view text)
{
	const auto number = tools::parse_number(text, std::numeric_limits<std::uint32_t>::max());

	return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

} // namespace flash_board
