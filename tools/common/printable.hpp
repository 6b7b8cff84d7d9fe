// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Text of others for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace tools {

// The text with characters that would steer a terminal, those of one byte and U+0080 to U+009F, written as \xNN.
std::string printable(std::string_view text);

// The same, but for line feeds and tabs.
std::string printable_lines(std::string_view text);

} // namespace tools
