// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Reading a board description from XML.
#pragma once

#include <stdexcept>
#include <string_view>

#include "board.hpp"
#include "document.hpp"

namespace flash_board {

// What is wrong with an input file; what() is "<file>:<line>:<column>: <message>", lines and columns from 1, columns in bytes: the
// place that check gives.
struct input_error : std::runtime_error {
	using std::runtime_error::runtime_error;
};

// Reads a board description. The file name appears in errors only.
// Throws input_error for text that is not well-formed, uses a document type, or says something that docs/board-xml.md does not know.
board read_board(std::string_view xml, std::string_view file_name);

// The board of a document whose structure was checked and that has no finding that keeps it from being compiled.
board read_board(const document &from);

// Throws input_error for the first finding that keeps the file from being compiled.
void refuse_findings(const source &from, const findings &found);

} // namespace flash_board
