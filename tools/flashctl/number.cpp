// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "number.hpp"

#include <charconv>
#include <limits>

#include <fmt/format.h>

namespace flashctl {

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

std::optional<std::uint64_t> whole_number(std::string_view text)
{
	int base = 10;
	if (text.starts_with("0x") || text.starts_with("0X")) {
		base = 16;
		text.remove_prefix(2);
	}
	std::uint64_t number = 0;
	const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
	if (error != std::errc() || end != text.data() + text.size())
		return std::nullopt;
	return number;
}

} // namespace

std::optional<std::uint64_t> parse_number(std::string_view text, std::uint64_t limit)
{
	const std::uint64_t size = take_unit(text);
	const auto number = whole_number(text);
	if (!number || *number > limit / size)
		return std::nullopt;
	return *number * size;
}

std::optional<std::uint32_t> parse_code(std::string_view text)
{
	constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
	const bool negative = text.starts_with('-');
	const auto number = whole_number(negative ? text.substr(1) : text);
	if (!number || *number > (negative ? 0x80000000u : most))
		return std::nullopt;
	const auto code = static_cast<std::uint32_t>(*number);
	return negative ? 0u - code : code;
}

std::string human_size(std::uint64_t bytes)
{
	for (const unit &candidate : units)
		if (bytes >= candidate.size) {
			if (bytes % candidate.size == 0)
				return fmt::format("{} {}", bytes / candidate.size, candidate.name);
			return fmt::format("{:.1f} {}", static_cast<double>(bytes) / static_cast<double>(candidate.size), candidate.name);
		}
	return fmt::format("{} byte{}", bytes, bytes == 1 ? "" : "s");
}

std::string hex_number(std::uint64_t number)
{
	return fmt::format("{:#x}", number);
}

} // namespace flashctl
