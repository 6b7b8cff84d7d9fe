// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Findings as people and programs read them.
#pragma once

#include "findings.hpp"
#include "source.hpp"

#include <string>
#include <string_view>

namespace flash_board {

// "<file>:<line>:<column>: <severity>: <message> [<rule>]" and the hint, for each; a line that counts them at the end.
std::string as_text(const source &from, const findings &all);

// flash-board(1) describes it.
std::string as_json(const source &from, const findings &all);

// SARIF 2.1.0, for code review tools.
std::string as_sarif(const source &from, const findings &all, std::string_view version);

} // namespace flash_board
