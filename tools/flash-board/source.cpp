// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "source.hpp"

#include <algorithm>

namespace flash_board {

place source::at(std::size_t offset) const
{
	const auto before = m_text.substr(0, std::min(offset, m_text.size()));
	const auto line = before.substr(before.rfind('\n') + 1);
	const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };

	return {1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')), line.size() + 1,
		line.size() - static_cast<std::size_t>(std::count_if(line.begin(), line.end(), continues)) + 1};
}

std::string quoted(std::string_view text)
{
	return "\"" + std::string(text) + "\"";
}

std::string_view trimmed(std::string_view text)
{
	const auto first = text.find_first_not_of(white_space);

	return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(white_space) - first + 1);
}

} // namespace flash_board
