// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "range_index.hpp"

#include <algorithm>

namespace flash_board {

void range_index::add(const byte_range &range, std::size_t value)
{
	if (range.begin < range.end)
		items_.push_back({range, value});
}

void range_index::finish()
{
	std::stable_sort(items_.begin(), items_.end(), [](const item &a, const item &b) { return a.range.begin < b.range.begin; });
	for (const auto &one : items_) {
		ends_.push_back(one.range.end);
		reach_.push_back(std::max(one.range.end, reach_.empty() ? 0 : reach_.back()));
	}
	std::sort(ends_.begin(), ends_.end());
}

range_index::answer range_index::overlapping(const byte_range &range) const
{
	if (range.begin >= range.end)
		return {0, 0};
	const auto begun = std::lower_bound(items_.begin(), items_.end(), range.end,
					    [](const item &one, std::uint64_t end) { return one.range.begin < end; }) -
			   items_.begin();
	const auto ended = std::upper_bound(ends_.begin(), ends_.end(), range.begin) - ends_.begin();
	const auto first = std::upper_bound(reach_.begin(), reach_.end(), range.begin) - reach_.begin();

	if (begun <= ended)
		return {0, 0};
	return {static_cast<std::size_t>(begun - ended), items_[static_cast<std::size_t>(first)].value};
}

} // namespace flash_board
