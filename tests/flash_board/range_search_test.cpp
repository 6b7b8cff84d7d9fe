// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The searches over all ranges of a table, against a look at each pair.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "range_search.hpp"

namespace {

using namespace flash_board;

template <typename relation> std::vector<std::size_t> first_by_pairs(const std::vector<byte_range> &ranges, relation holds)
{
	std::vector<std::size_t> found(ranges.size(), none_before);

	for (std::size_t i = 0; i < ranges.size(); i++)
		for (std::size_t j = i; j-- > 0;)
			if (holds(ranges[j], ranges[i]))
				found[i] = j;
	return found;
}

bool contains(const byte_range &a, const byte_range &b)
{
	return a.contains(b);
}

bool overlaps(const byte_range &a, const byte_range &b)
{
	return a.overlaps(b);
}

bool is_apart(const byte_range &a, const byte_range &b)
{
	return !a.overlaps(b);
}

std::vector<bool> covered_by_bytes(const std::vector<byte_range> &ranges, std::uint64_t end, std::ptrdiff_t least)
{
	std::vector<bool> bytes(end);

	for (std::uint64_t at = 0; at < end; at++)
		bytes[at] = std::count_if(ranges.begin(), ranges.end(),
					  [&](const byte_range &one) { return one.begin <= at && at < one.end; }) >= least;
	return bytes;
}

std::vector<byte_range> some_ranges(std::mt19937 &random, bool with_empty_ones)
{
	std::vector<byte_range> ranges(random() % 12);

	for (auto &one : ranges) {
		one.begin = random() % 20;
		one.end = one.begin + random() % 8 + (with_empty_ones ? 0 : 1);
	}
	return ranges;
}

TEST(range_search, finds_what_a_look_at_each_pair_finds)
{
	std::mt19937 random(1);

	for (int i = 0; i < 20000; i++) {
		const auto ranges = some_ranges(random, false), odd = some_ranges(random, true);
		ASSERT_EQ(first_containing(ranges), first_by_pairs(ranges, contains));
		ASSERT_EQ(first_overlapping(ranges), first_by_pairs(ranges, overlaps));
		ASSERT_EQ(first_apart(ranges), first_by_pairs(ranges, is_apart));
		ASSERT_EQ(first_overlapping(odd), first_by_pairs(odd, overlaps));
	}
}

TEST(range_search, covers_what_each_byte_says)
{
	std::mt19937 random(2);

	for (int i = 0; i < 5000; i++) {
		const auto ranges = some_ranges(random, true);
		for (const std::ptrdiff_t least : {1, 2, 3}) {
			std::vector<bool> bytes(16);
			const auto parts = covered(ranges, bytes.size(), least);
			for (const auto &part : parts)
				std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(part.begin),
					  bytes.begin() + static_cast<std::ptrdiff_t>(part.end), true);
			ASSERT_EQ(bytes, covered_by_bytes(ranges, bytes.size(), least));
			for (std::size_t part = 1; part < parts.size(); part++)
				ASSERT_LT(parts[part - 1].end, parts[part].begin);
		}
	}
}

} // namespace
