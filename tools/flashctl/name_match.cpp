// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "name_match.hpp"

#include <algorithm>
#include <cctype>
#include <utility>

#include "common/edit_distance.hpp"

namespace flashctl {

namespace {

std::string lower(std::string text)
{
	std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
	return text;
}

} // namespace

std::vector<std::string> similar_names(const std::string &typed, const std::vector<std::string> &names)
{
	std::vector<std::pair<std::size_t, std::string>> near;
	for (const std::string &name : names) {
		const bool begins = typed.size() >= 2 && lower(name).starts_with(lower(typed));
		const std::size_t far = begins ? 1 : tools::edit_distance(lower(typed), lower(name));
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
