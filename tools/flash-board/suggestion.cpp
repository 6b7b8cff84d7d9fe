// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "suggestion.hpp"

#include <algorithm>
#include <numeric>
#include <vector>

namespace flash_board {
namespace {

// How many characters have to be changed, added or left out.
std::size_t distance(std::string_view a, std::string_view b)
{
	std::vector<std::size_t> row(b.size() + 1);

	std::iota(row.begin(), row.end(), std::size_t(0));
	for (std::size_t i = 0; i < a.size(); i++) {
		auto diagonal = row[0]++;
		for (std::size_t j = 0; j < b.size(); j++) {
			const auto changed = diagonal + (a[i] != b[j]);
			diagonal = row[j + 1];
			row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
		}
	}
	return row.back();
}

} // namespace

std::string_view nearest(std::string_view word, std::span<const std::string_view> candidates)
{
	std::string_view best;
	auto least = std::max<std::size_t>(1, word.size() / 3) + 1;

	if (word.size() > 64)
		return best;
	for (const auto candidate : candidates) {
		const auto away = distance(word, candidate);
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
