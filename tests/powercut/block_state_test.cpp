// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include <vector>

#include "block_state.hpp"

using namespace powercut;

namespace {

using content = std::vector<std::uint8_t>;

const content before = {1, 2, 3, 4};
const content after = {5, 6, 7, 8};

block_state state_of(const content &found, std::size_t torn_begin = 0, std::size_t torn_end = 0)
{
	return block_state_of(before, after, found, torn_begin, torn_end);
}

block_state state_in_pages(const content &found)
{
	return block_state_in_pages(before, after, found, 2);
}

TEST(block_state, old_new_and_erased_content_are_told_apart)
{
	EXPECT_EQ(state_of(before), block_state::untouched);
	EXPECT_EQ(state_of(after), block_state::complete);
	EXPECT_EQ(state_of({255, 255, 255, 255}), block_state::erased);
}

TEST(block_state, a_block_may_be_found_between_two_of_them)
{
	EXPECT_EQ(state_of({255, 2, 3, 4}), block_state::erasing);
	EXPECT_EQ(state_of({255, 255, 255, 4}), block_state::erasing);
	EXPECT_EQ(state_of({5, 255, 255, 255}), block_state::programming);
	EXPECT_EQ(state_of({5, 6, 7, 255}), block_state::programming);
}

TEST(block_state, anything_else_is_foreign)
{
	EXPECT_EQ(state_of({5, 2, 3, 4}), block_state::foreign); // programmed without an erase
	EXPECT_EQ(state_of({1, 255, 255, 255}), block_state::foreign);
	EXPECT_EQ(state_of({5, 255, 7, 8}), block_state::foreign);
	EXPECT_EQ(state_of({255, 2, 255, 4}), block_state::foreign);
	EXPECT_EQ(state_of({255, 255, 7, 8}), block_state::foreign);
	EXPECT_EQ(state_of({5, 6, 7, 4}), block_state::foreign);
	EXPECT_EQ(state_of({5, 6, 7, 9}), block_state::foreign);
	EXPECT_EQ(state_of({1, 2, 3, 5}), block_state::foreign);
}

TEST(block_state, pages_of_a_block_that_is_rewritten_more_than_once_are_each_old_or_new)
{
	EXPECT_EQ(state_in_pages({1, 2, 7, 8}), block_state::mixed);
	EXPECT_EQ(state_in_pages({5, 6, 3, 4}), block_state::mixed);
	EXPECT_EQ(state_in_pages({5, 2, 3, 4}), block_state::foreign); // within a page
	EXPECT_EQ(state_in_pages({5, 6, 3, 8}), block_state::foreign);
	EXPECT_EQ(state_in_pages({5, 6, 9, 9}), block_state::foreign);
}

TEST(block_state, a_part_of_such_pages_may_be_erased)
{
	EXPECT_EQ(state_in_pages({1, 2, 7, 255}), block_state::mixed);
	EXPECT_EQ(state_in_pages({1, 2, 255, 255}), block_state::mixed);
	EXPECT_EQ(state_in_pages({255, 255, 7, 8}), block_state::mixed);
	EXPECT_EQ(state_in_pages({255, 2, 7, 8}), block_state::mixed);
	EXPECT_EQ(state_in_pages({255, 2, 7, 255}), block_state::foreign);
	EXPECT_EQ(state_in_pages({1, 255, 7, 8}), block_state::foreign);
	EXPECT_EQ(state_in_pages({1, 255, 7, 255}), block_state::foreign);
}

TEST(block_state, of_pages_is_as_of_a_block_where_that_is_enough)
{
	EXPECT_EQ(state_in_pages(before), block_state::untouched);
	EXPECT_EQ(state_in_pages(after), block_state::complete);
	EXPECT_EQ(state_in_pages({255, 255, 255, 255}), block_state::erased);
	EXPECT_EQ(state_in_pages({5, 255, 255, 255}), block_state::programming);
	EXPECT_EQ(state_in_pages({255, 255, 255, 4}), block_state::erasing);
}

TEST(block_state, torn_bytes_may_be_anything_where_the_content_changes)
{
	EXPECT_EQ(state_of({255, 77, 3, 4}, 1, 2), block_state::erasing);
	EXPECT_EQ(state_of({5, 77, 255, 255}, 1, 2), block_state::programming);
	EXPECT_EQ(state_of({77, 2, 3, 4}, 0, 1), block_state::erasing);
	EXPECT_EQ(state_of({5, 6, 7, 77}, 3, 4), block_state::programming);
}

TEST(block_state, torn_bytes_excuse_no_others)
{
	EXPECT_EQ(state_of({5, 77, 3, 4}, 1, 2), block_state::foreign);
	EXPECT_EQ(state_of({255, 77, 3, 9}, 1, 2), block_state::foreign);
	EXPECT_EQ(state_of({5, 77, 7, 255}, 1, 2), block_state::foreign);
	EXPECT_EQ(state_of({1, 77, 3, 4}, 1, 2), block_state::foreign);
}

} // namespace
