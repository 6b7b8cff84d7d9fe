// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "source.hpp"

#include <algorithm>

namespace flash_board {

namespace {

constexpr std::size_t block_size = 256;

std::size_t characters_in(std::string_view text)
{
	const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };

	return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

} // namespace

source::source(std::string_view text, std::string_view file_name) : text_(text), file_name_(file_name), lines_{0}, characters_{0}
{
	for (std::size_t at = 0; at < text.size(); at++)
		if (text[at] == '\n')
			lines_.push_back(at + 1);
	for (std::size_t at = 0; at < text.size(); at += block_size)
		characters_.push_back(characters_.back() + characters_in(text.substr(at, block_size)));
}

std::size_t source::characters_before(std::size_t offset) const
{
	const auto block = offset / block_size;

	return characters_[block] + characters_in(text_.substr(block * block_size, offset % block_size));
}

place source::at(std::size_t offset) const
{
	const auto end = std::min(offset, text_.size());
	const auto line = std::upper_bound(lines_.begin(), lines_.end(), end) - lines_.begin();
	const auto begin = lines_[static_cast<std::size_t>(line) - 1];

	return {static_cast<std::size_t>(line), end - begin + 1, characters_before(end) - characters_before(begin) + 1};
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
