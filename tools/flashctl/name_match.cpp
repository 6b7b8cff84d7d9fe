// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "name_match.hpp"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace flashctl {

namespace {

std::string lower(std::string text)
{
	std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
	return text;
}

// Letters added, left out, replaced, or exchanged with their neighbour.
std::size_t distance(const std::string &a, const std::string &b)
{
	std::vector<std::size_t> before_last, last(b.size() + 1), row(b.size() + 1);
	std::iota(last.begin(), last.end(), 0u);
	for (std::size_t i = 1; i <= a.size(); ++i) {
		row[0] = i;
		for (std::size_t j = 1; j <= b.size(); ++j) {
			row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
			if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
				row[j] = std::min(row[j], before_last[j - 2] + 1);
		}
		before_last = last;
		std::swap(last, row);
	}
	return last[b.size()];
}

} // namespace

std::vector<std::string> similar_names(const std::string &typed, const std::vector<std::string> &names)
{
	std::vector<std::pair<std::size_t, std::string>> near;
	for (const std::string &name : names) {
		const bool begins = typed.size() >= 2 && lower(name).starts_with(lower(typed));
		const std::size_t far = begins ? 1 : distance(lower(typed), lower(name));
		if (far <= std::max<std::size_t>(1, std::min(typed.size(), name.size()) / 3))
			near.emplace_back(far, name);
	}
	std::stable_sort(near.begin(), near.end(), [](const auto &a, const auto &b) { return a.first < b.first; });

	std::vector<std::string> similar;
	for (std::size_t i = 0; i < near.size() && i < 3; ++i)
		similar.push_back(near[i].second);
	return similar;
}

std::string did_you_mean(const std::string &typed, const std::vector<std::string> &names)
{
	std::string text;
	for (const std::string &name : similar_names(typed, names))
		text += (text.empty() ? "did you mean \"" : " or \"") + name + "\"";
	return text.empty() ? text : text + "?";
}

} // namespace flashctl
