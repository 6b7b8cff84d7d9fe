// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The page without its data; page/page.cmake makes it of the files in page/.
#pragma once

#include <string_view>

namespace flash_board {

extern const std::string_view page_head; // up to the data
extern const std::string_view page_tail; // from behind the data on

} // namespace flash_board
