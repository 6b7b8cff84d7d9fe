// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "suggestion.hpp"

#include <algorithm>

#include "common/edit_distance.hpp"

namespace flash_board {

std::string_view nearest(std::string_view word, std::span<const std::string_view> candidates)
{
	std::string_view best;
	auto least = std::max<std::size_t>(1, word.size() / 3) + 1;

	if (word.size() > 64)
		return best;
	for (const auto candidate : candidates) {
		if (std::max(word.size(), candidate.size()) - std::min(word.size(), candidate.size()) >= least)
			continue;
		const auto away = tools::edit_distance(word, candidate);
		if (away < least) {
			least = away;
			best = candidate;
		}
	}
	return best;
}

std::string did_you_mean(std::string_view word, std::span<const std::string_view> candidates, std::string_view before,
			 std::string_view after)
{
	const auto best = nearest(word, candidates);

	return best.empty() ? "" : "did you mean " + std::string(before) + std::string(best) + std::string(after) + "?";
}

} // namespace flash_board
