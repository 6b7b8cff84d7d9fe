// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "common/numbers.hpp"

#include <array>
#include <charconv>

namespace tools {

namespace {

struct unit {
	std::string_view name;
	std::uint64_t size;
};

constexpr unit units[] = {{"GiB", 1u << 30}, {"MiB", 1u << 20}, {"KiB", 1u << 10}};

std::uint64_t take_unit(std::string_view &text)
{
	for (const unit &candidate : units)
		if (text.ends_with(candidate.name)) {
			text.remove_suffix(candidate.name.size());
			return candidate.size;
		}
	return 1;
}

} // namespace

std::optional<std::uint64_t> parse_number(std::string_view text, std::uint64_t most)
{
	const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
	if (is_hexadecimal)
		text.remove_prefix(2);
	const char *const end = text.data() + text.size();
	std::uint64_t number = 0;
	const auto [stop, error] = std::from_chars(text.data(), end, number, is_hexadecimal ? 16 : 10);
	if (text.empty() || error != std::errc() || stop != end || number > most)
		return std::nullopt;
	return number;
}

std::optional<std::uint64_t> parse_size(std::string_view text, std::uint64_t most)
{
	const std::uint64_t size = take_unit(text);
	const auto number = parse_number(text, most / size);
	return number ? std::optional(*number * size) : std::nullopt;
}

std::string human_size(std::uint64_t bytes)
{
	for (const unit &candidate : units)
		if (bytes >= candidate.size && bytes % candidate.size == 0)
			return std::to_string(bytes / candidate.size) + " " + std::string(candidate.name);
	return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

std::string hex_number(std::uint64_t number)
{
	std::array<char, 16> digits;
	const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
	return "0x" + std::string(digits.data(), result.ptr);
}

} // namespace tools
