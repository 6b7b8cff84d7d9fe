// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "number.hpp"

#include <array>
#include <charconv>

namespace flash_board {

std::optional<std::uint32_t> number_in(std::string_view text)
{
	const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
	std::uint32_t value = 0;

	if (is_hexadecimal)
		text.remove_prefix(2);
	const char *end = text.data() + text.size();
	const auto result = std::from_chars(text.data(), end, value, is_hexadecimal ? 16 : 10);
	if (text.empty() || result.ec != std::errc() || result.ptr != end)
		return std::nullopt;
	return value;
}

std::string hexadecimal(std::uint64_t number)
{
	std::array<char, 16> digits;
	const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);

	return "0x" + std::string(digits.data(), result.ptr);
}

std::string human_size(std::uint64_t bytes)
{
	constexpr std::array<std::pair<std::uint64_t, const char *>, 3> units = {
		{{1ULL << 30, " GiB"}, {1ULL << 20, " MiB"}, {1ULL << 10, " KiB"}}};

	for (const auto &[unit, name] : units)
		if (bytes >= unit && bytes % unit == 0)
			return std::to_string(bytes / unit) + name;
	return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

} // namespace flash_board
