// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What is found in a board description.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "rules.hpp"

namespace flash_board {

struct finding {
	const rule *broken;
	std::size_t offset;  // where, in bytes from the start of the text
	std::size_t element; // where the name of the element around it begins
	std::string where;   // the element, as in /board/instance[1]/module[flash_mng]; empty outside of elements
	std::string message;
	std::string hint;
};

using findings = std::vector<finding>;

// Whether there is a finding that keeps the file from being compiled; the first one of them, or nullptr.
const finding *first_refusal(const findings &all);

std::size_t count_of(const findings &all, severity level);

// In the order of the text.
void sort_by_place(findings &all);

} // namespace flash_board
