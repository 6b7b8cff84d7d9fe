// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "mtd_words.hpp"

#include "number.hpp"

namespace flashctl {

namespace {

struct word {
	std::uint32_t value;
	std::string_view text;
};

constexpr std::uint32_t nand = 4;
constexpr std::uint32_t mlc_nand = 8;
constexpr word types[] = {{0, "absent"},  {1, "ram"},	    {2, "rom"}, {3, "nor"},
			  {nand, "nand"}, {6, "dataflash"}, {7, "ubi"}, {mlc_nand, "mlc-nand"}};
constexpr word flag_words[] = {
	{0x400, "writeable"}, {0x800, "bit-writeable"}, {0x1000, "no-erase"}, {0x2000, "powerup-lock"}, {0x4000, "slc-on-mlc"}};

} // namespace

std::string mtd_type_name(std::uint32_t type)
{
	for (const word &known : types)
		if (known.value == type)
			return std::string(known.text);
	return "type " + std::to_string(type);
}

std::optional<std::uint32_t> mtd_type_of(std::string_view name)
{
	for (const word &known : types)
		if (known.text == name)
			return known.value;
	return std::nullopt;
}

bool is_nand(std::uint32_t type)
{
	return type == nand || type == mlc_nand;
}

std::vector<std::string> mtd_flag_names(std::uint32_t flags)
{
	std::vector<std::string> names;
	for (const word &known : flag_words)
		if (flags & known.value) {
			names.emplace_back(known.text);
			flags &= ~known.value;
		}
	if (flags)
		names.push_back(hex_number(flags));
	return names;
}

} // namespace flashctl
