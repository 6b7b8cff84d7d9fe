// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// That the checker of the NOR flash finds what a power cut may not leave, and nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "client/plan.h"
#include "nor_check.hpp"

using namespace powercut;

namespace {

constexpr std::uint32_t seed = 7;

// The first generation from 1 whose write takes that path and touches so many erase blocks.
std::uint32_t generation_over(std::size_t blocks, std::uint32_t path)
{
	for (std::uint32_t generation = 2;; ++generation) {
		const auto write = powercut_plan(seed, generation);
		if (write.path == path &&
		    (write.offset + write.length - 1) / POWERCUT_BLOCK_SIZE - write.offset / POWERCUT_BLOCK_SIZE + 1 == blocks)
			return generation;
	}
}

class nor_check : public testing::Test {
protected:
	// The board wrote all generations before this one, which was in flight.
	explicit nor_check(std::uint32_t path = POWERCUT_BY_SERVICE) : generation(generation_over(3, path))
	{
		found = expected;
		for (std::uint32_t one = 1; one < generation; ++one)
			apply_generation(found, seed, one);
		after = found;
		apply_generation(after, seed, generation);
		const auto write = powercut_plan(seed, generation);
		begin = (std::size_t(write.path) * POWERCUT_PARTITION_SIZE + write.offset) / POWERCUT_BLOCK_SIZE * POWERCUT_BLOCK_SIZE;
	}

	// Gives so many bytes from the first block in flight on the new content, and as many blank ones as asked behind them.
	void write_new(std::size_t length, std::size_t blank = 0)
	{
		std::copy_n(after.begin() + static_cast<std::ptrdiff_t>(begin), length, found.begin() + static_cast<std::ptrdiff_t>(begin));
		std::fill_n(found.begin() + static_cast<std::ptrdiff_t>(begin + length), blank, 0xff);
	}
	nor_verdict check() { return check_nor(expected, found, {seed, 1, generation - 1}); }
	std::size_t states(const nor_verdict &verdict, block_state state) const
	{
		return verdict.in_flight[static_cast<std::size_t>(state)];
	}

	const std::uint32_t generation;
	std::vector<std::uint8_t> expected = first_content(seed);
	std::vector<std::uint8_t> found, after;
	std::size_t begin;
};

class nor_check_of_block_device : public nor_check {
protected:
	nor_check_of_block_device() : nor_check(POWERCUT_BY_PARTITION) {}

	// Gives a part of the blocks in flight, from one to the other place in them, the new content.
	void write_new_between(std::size_t from, std::size_t to)
	{
		std::copy(after.begin() + static_cast<std::ptrdiff_t>(begin + from),
			  after.begin() + static_cast<std::ptrdiff_t>(begin + to),
			  found.begin() + static_cast<std::ptrdiff_t>(begin + from));
	}
};

TEST_F(nor_check, takes_a_write_that_did_not_begin)
{
	const auto verdict = check();
	EXPECT_TRUE(verdict.findings.empty());
	EXPECT_TRUE(verdict.is_untouched());
	EXPECT_EQ(states(verdict, block_state::untouched), 3u);
	EXPECT_EQ(expected, found);
}

TEST_F(nor_check, takes_a_write_that_is_whole)
{
	write_new(3 * POWERCUT_BLOCK_SIZE);
	const auto verdict = check();
	EXPECT_TRUE(verdict.findings.empty());
	EXPECT_TRUE(verdict.is_complete());
}

TEST_F(nor_check, takes_a_block_on_its_way_with_new_ones_before_and_old_ones_behind)
{
	write_new(POWERCUT_BLOCK_SIZE + 1000, POWERCUT_BLOCK_SIZE - 1000);
	const auto verdict = check();
	EXPECT_TRUE(verdict.findings.empty());
	EXPECT_TRUE(verdict.is_torn());
	EXPECT_EQ(states(verdict, block_state::complete), 1u);
	EXPECT_EQ(states(verdict, block_state::programming), 1u);
	EXPECT_EQ(states(verdict, block_state::untouched), 1u);
}

TEST_F(nor_check, takes_an_erased_block)
{
	write_new(0, POWERCUT_BLOCK_SIZE);
	const auto verdict = check();
	EXPECT_TRUE(verdict.findings.empty());
	EXPECT_EQ(states(verdict, block_state::erased), 1u);
}

TEST_F(nor_check, takes_a_write_that_is_done_again_and_finds_blocks_that_are_new_already)
{
	write_new(POWERCUT_BLOCK_SIZE);
	ASSERT_TRUE(check().findings.empty());
	expected = found;
	write_new(2 * POWERCUT_BLOCK_SIZE);
	const auto verdict = check_nor(expected, found, {seed, generation, generation - 1});
	EXPECT_TRUE(verdict.findings.empty());
	EXPECT_EQ(states(verdict, block_state::complete), 1u);
	EXPECT_EQ(states(verdict, block_state::untouched), 1u);
}

TEST_F(nor_check, finds_a_wrong_byte_anywhere)
{
	for (const std::size_t place : {std::size_t(0), begin - 1, begin, begin + POWERCUT_BLOCK_SIZE + 5, begin + 3 * POWERCUT_BLOCK_SIZE,
					std::size_t(POWERCUT_FLASH_SIZE - 1)}) {
		found[place] ^= 1;
		auto before = expected;
		EXPECT_FALSE(check().findings.empty()) << place;
		expected = before;
		found[place] ^= 1;
	}
}

TEST_F(nor_check, finds_two_torn_blocks)
{
	write_new(0, 2 * POWERCUT_BLOCK_SIZE);
	EXPECT_EQ(check().findings.size(), 1u);
}

TEST_F(nor_check, finds_a_block_that_is_new_before_its_turn)
{
	const auto second = static_cast<std::ptrdiff_t>(begin + POWERCUT_BLOCK_SIZE);
	std::copy_n(after.begin() + second, POWERCUT_BLOCK_SIZE, found.begin() + second);
	EXPECT_EQ(check().findings.size(), 1u);
}

TEST_F(nor_check, finds_a_block_programmed_without_an_erase)
{
	write_new(POWERCUT_BLOCK_SIZE - 1000);
	EXPECT_FALSE(check().findings.empty());
}

// What one long run has left.
TEST_F(nor_check_of_block_device, takes_two_blocks_that_were_rewritten_in_turns)
{
	write_new_between(0, 2 * POWERCUT_BLOCK_SIZE - 0x2000);
	write_new_between(2 * POWERCUT_BLOCK_SIZE + 0x4000, 2 * POWERCUT_BLOCK_SIZE + 0x6000);
	const auto verdict = check();
	EXPECT_TRUE(verdict.findings.empty());
	EXPECT_TRUE(verdict.is_torn());
	EXPECT_EQ(states(verdict, block_state::complete), 1u);
	EXPECT_EQ(states(verdict, block_state::mixed), 2u);
}

TEST_F(nor_check, finds_blocks_of_the_service_that_were_rewritten_in_turns)
{
	write_new(2 * POWERCUT_BLOCK_SIZE - 0x2000);
	EXPECT_FALSE(check().findings.empty());
}

TEST_F(nor_check_of_block_device, finds_a_page_that_is_neither_old_nor_new)
{
	write_new_between(0, POWERCUT_BLOCK_SIZE - 1000);
	EXPECT_FALSE(check().findings.empty());
}

TEST_F(nor_check_of_block_device, finds_a_wrong_byte_beside_the_write)
{
	write_new_between(0, 2 * POWERCUT_BLOCK_SIZE - 0x2000);
	found[begin - 1] ^= 1;
	EXPECT_FALSE(check().findings.empty());
}

TEST_F(nor_check, finds_a_reported_write_that_is_not_on_the_flash)
{
	found = first_content(seed);
	EXPECT_FALSE(check().findings.empty());
}

TEST_F(nor_check, finds_a_write_that_is_more_than_one_ahead)
{
	for (std::uint32_t one = generation; one < generation + 8; ++one)
		apply_generation(found, seed, one);
	EXPECT_FALSE(check().findings.empty());
}

TEST(powercut_plan, writes_stay_in_the_partition_of_their_path)
{
	std::set<std::uint32_t> paths;
	std::size_t short_ones = 0, across = 0;

	for (std::uint32_t generation = 1; generation < 10000; ++generation) {
		const auto write = powercut_plan(seed, generation);
		ASSERT_GE(write.length, 1u);
		ASSERT_LE(write.length, POWERCUT_LONGEST);
		ASSERT_LE(write.offset, POWERCUT_PARTITION_SIZE - write.length);
		paths.insert(write.path);
		short_ones += write.length <= 0x1000;
		across += write.offset / POWERCUT_BLOCK_SIZE != (write.offset + write.length - 1) / POWERCUT_BLOCK_SIZE;
	}
	EXPECT_EQ(paths.size(), std::size_t(POWERCUT_PATHS));
	EXPECT_GT(short_ones, 4000u);
	EXPECT_GT(across, 3000u);
}

TEST(powercut_plan, generations_differ_in_their_bytes)
{
	std::vector<std::uint8_t> one(4096), other(4096);
	powercut_fill(seed, 1, one.data(), 4096);
	powercut_fill(seed, 2, other.data(), 4096);
	std::size_t same = 0;
	for (std::size_t i = 0; i < one.size(); ++i)
		same += one[i] == other[i];
	EXPECT_LT(same, 64u);
}

} // namespace
