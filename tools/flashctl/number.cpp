// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "number.hpp"

#include <limits>

namespace flashctl {

std::optional<std::uint32_t> parse_code(std::string_view text)
{
	constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
	const bool negative = text.starts_with('-');
	const auto number = tools::parse_number(negative ? text.substr(1) : text, negative ? 0x80000000u : most);
	if (!number)
		return std::nullopt;
	const auto code = static_cast<std::uint32_t>(*number);
	return negative ? 0u - code : code;
}

} // namespace flashctl
