// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "common/printable.hpp"

namespace tools {

namespace {

std::string escaped(unsigned char byte)
{
	constexpr char digits[] = "0123456789abcdef";
	return {'\\', 'x', digits[byte >> 4], digits[byte & 0xf]};
}

bool steers(unsigned char byte, unsigned char before)
{
	return byte < 0x20 || byte == 0x7f || (before == 0xc2 && byte >= 0x80 && byte < 0xa0);
}

std::string printable_but(std::string_view text, std::string_view kept)
{
	std::string safe;
	unsigned char before = 0;
	for (const char c : text) {
		const auto byte = static_cast<unsigned char>(c);
		if (steers(byte, before) && kept.find(c) == kept.npos)
			safe += escaped(byte);
		else
			safe += c;
		before = byte;
	}
	return safe;
}

} // namespace

std::string printable(std::string_view text)
{
	return printable_but(text, "");
}

std::string printable_lines(std::string_view text)
{
	return printable_but(text, "\n\t");
}

} // namespace tools
