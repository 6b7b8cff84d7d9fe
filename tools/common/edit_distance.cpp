// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "common/edit_distance.hpp"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace tools {

std::size_t edit_distance(std::string_view a, std::string_view b)
{
	std::vector<std::size_t> before_last(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
	std::iota(last.begin(), last.end(), std::size_t{0});
	for (std::size_t i = 1; i <= a.size(); ++i) {
		row[0] = i;
		for (std::size_t j = 1; j <= b.size(); ++j) {
			row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
			if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
				row[j] = std::min(row[j], before_last[j - 2] + 1);
		}
		std::swap(before_last, last);
		std::swap(last, row);
	}
	return last[b.size()];
}

} // namespace tools
