// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Writing a board description as a flattened tree. docs/board-xml.md shows which part of the XML becomes which node.
#pragma once

#include "board.hpp"

namespace flash_board {

// The flattened tree of a board, as libfdt and the kernel read it. Throws std::runtime_error when libfdt refuses, which is a bug.
std::vector<std::uint8_t> flatten(const board &from);

} // namespace flash_board
