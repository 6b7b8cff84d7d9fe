// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "range_search.hpp"

#include <algorithm>
#include <numeric>

namespace flash_board {
namespace {

using border = std::uint64_t byte_range::*;

std::vector<std::size_t> ordered_by(std::span<const byte_range> ranges, border by)
{
	std::vector<std::size_t> order(ranges.size());

	std::iota(order.begin(), order.end(), std::size_t(0));
	std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return ranges[a].*by < ranges[b].*by; });
	return order;
}

std::vector<std::uint64_t> sorted_ends(std::span<const byte_range> ranges)
{
	std::vector<std::uint64_t> ends;

	for (const auto &one : ranges)
		ends.push_back(one.end);
	std::sort(ends.begin(), ends.end());
	return ends;
}

// The lowest index of the ranges that were added whose end is at least some value: a Fenwick tree over the ends, from the largest down.
class lowest_by_end {
public:
	explicit lowest_by_end(std::span<const byte_range> ranges) : ends_(sorted_ends(ranges)), lowest_(ranges.size() + 1, none_before) {}

	void add(std::uint64_t end, std::size_t index)
	{
		for (auto at = place_of(end); at < lowest_.size(); at += at & (0 - at))
			lowest_[at] = std::min(lowest_[at], index);
	}

	std::size_t among_ends_from(std::uint64_t least) const
	{
		std::size_t lowest = none_before;

		for (auto at = place_of(least); at > 0; at -= at & (0 - at))
			lowest = std::min(lowest, lowest_[at]);
		return lowest;
	}

private:
	// How many ends are at least that large.
	std::size_t place_of(std::uint64_t end) const
	{
		return static_cast<std::size_t>(ends_.end() - std::lower_bound(ends_.begin(), ends_.end(), end));
	}

	std::vector<std::uint64_t> ends_;
	std::vector<std::size_t> lowest_;
};

} // namespace

std::vector<std::size_t> first_containing(std::span<const byte_range> ranges)
{
	std::vector<std::size_t> found(ranges.size(), none_before);
	const auto order = ordered_by(ranges, &byte_range::begin);
	lowest_by_end seen(ranges);
	auto next = order.begin();

	for (const auto index : order) {
		for (; next != order.end() && ranges[*next].begin <= ranges[index].begin; ++next)
			seen.add(ranges[*next].end, *next);
		const auto lowest = seen.among_ends_from(ranges[index].end);
		found[index] = lowest < index ? lowest : none_before;
	}
	return found;
}

std::vector<std::size_t> first_overlapping(std::span<const byte_range> ranges)
{
	std::vector<std::size_t> found(ranges.size(), none_before);
	const auto order = ordered_by(ranges, &byte_range::begin);
	lowest_by_end seen(ranges);
	auto next = order.begin();

	for (const auto index : ordered_by(ranges, &byte_range::end)) {
		for (; next != order.end() && ranges[*next].begin < ranges[index].end; ++next)
			seen.add(ranges[*next].end, *next);
		const auto lowest = seen.among_ends_from(ranges[index].begin + 1);
		found[index] = lowest < index ? lowest : none_before;
	}
	return found;
}

std::vector<std::size_t> first_apart(std::span<const byte_range> ranges)
{
	std::vector<std::size_t> found(ranges.size(), none_before);
	const auto by_begin = ordered_by(ranges, &byte_range::begin), by_end = ordered_by(ranges, &byte_range::end);
	std::size_t lowest = none_before;
	auto before = by_end.begin();
	auto behind = by_begin.rbegin();

	for (const auto index : by_begin) {
		for (; before != by_end.end() && ranges[*before].end <= ranges[index].begin; ++before)
			lowest = std::min(lowest, *before);
		found[index] = lowest < index ? lowest : none_before;
	}
	lowest = none_before;
	for (auto at = by_end.rbegin(); at != by_end.rend(); ++at) {
		for (; behind != by_begin.rend() && ranges[*behind].begin >= ranges[*at].end; ++behind)
			lowest = std::min(lowest, *behind);
		if (lowest < *at)
			found[*at] = std::min(found[*at], lowest);
	}
	return found;
}

std::vector<byte_range> covered(std::span<const byte_range> ranges, std::uint64_t end, std::ptrdiff_t least)
{
	std::vector<std::pair<std::uint64_t, std::ptrdiff_t>> steps;
	std::vector<byte_range> found;
	std::ptrdiff_t depth = 0;

	for (const auto &one : ranges) {
		steps.emplace_back(std::min(one.begin, end), 1);
		steps.emplace_back(std::min(one.end, end), -1);
	}
	std::sort(steps.begin(), steps.end());
	for (std::size_t i = 0; i < steps.size(); i++) {
		depth += steps[i].second;
		const byte_range part = {steps[i].first, i + 1 < steps.size() ? steps[i + 1].first : end};
		if (depth < least || part.begin == part.end)
			continue;
		if (!found.empty() && found.back().end == part.begin)
			found.back().end = part.end;
		else
			found.push_back(part);
	}
	return found;
}

} // namespace flash_board
