// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "findings.hpp"

#include <algorithm>

namespace flash_board {

const finding *first_refusal(const findings &all)
{
	const auto found =
		std::find_if(all.begin(), all.end(), [](const finding &one) { return one.broken->consequence == effect::refused; });

	return found == all.end() ? nullptr : &*found;
}

std::size_t count_of(const findings &all, severity level)
{
	return static_cast<std::size_t>(
		std::count_if(all.begin(), all.end(), [&](const finding &one) { return one.broken->level == level; }));
}

void sort_by_place(findings &all)
{
	std::stable_sort(all.begin(), all.end(), [](const finding &a, const finding &b) { return a.offset < b.offset; });
}

} // namespace flash_board
