// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The text of an input file, and places in it as people count them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace flash_board {

inline constexpr std::string_view white_space = " \t\r\n";

// Lines and columns from 1.
struct place {
	std::size_t line = 1;
	std::size_t column = 1;	   // in bytes
	std::size_t character = 1; // the column in characters
};

class source {
public:
	// The text has to live as long as the source.
	source(std::string_view text, std::string_view file_name);

	std::string_view text() const { return text_; }
	const std::string &file_name() const { return file_name_; }

	// The place of a byte; one beyond the text is the end of the text.
	place at(std::size_t offset) const;

private:
	// Characters before an offset.
	std::size_t characters_before(std::size_t offset) const;

	std::string_view text_;
	std::string file_name_;
	std::vector<std::size_t> lines_;      // where each begins
	std::vector<std::size_t> characters_; // before each block of the text
};

// A text in quotation marks, for messages.
std::string quoted(std::string_view text);

// Without the white space around it.
std::string_view trimmed(std::string_view text);

} // namespace flash_board
