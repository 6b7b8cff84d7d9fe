// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The judge of boards with two slots: what it accepts, and that it finds what no cut may leave.
#include <gtest/gtest.h>

#include <algorithm>

#include "bytes.hpp"
#include "slots_check.hpp"

using namespace powercut;

namespace {

std::string sum_of(const std::string &text)
{
	return flashctl::sha256(std::as_bytes(std::span(text)));
}

class slots : public testing::Test {
protected:
	void put(std::size_t at, const std::string &text) { std::ranges::copy(text, flash.begin() + static_cast<std::ptrdiff_t>(at)); }

	void put_image(std::size_t slot, const std::string &version)
	{
		const std::string content(1000, version[0]), words = version + " 1000 " + sum_of(content);
		put(slot * slot_size, "image " + words + " " + sum_of(words) + "\n");
		put(slot * slot_size + slot_header, content);
	}

	void put_record(std::size_t place, std::uint64_t number, const std::string &slot)
	{
		const std::string words = std::to_string(number) + " " + slot;
		put(choice_at + place * choice_record, "boot " + words + " " + sum_of(words) + "\n");
	}

	// Installation 4, version 1 in slot_b, after the third one.
	slots()
	{
		put_image(0, "3");
		put_image(1, "1");
		put_record(0, 4, "slot_b");
		put_record(1, 3, "slot_a");
	}

	std::string finding(std::uint64_t reported) const
	{
		const auto found = check_slots(flash, reported).findings;
		return found.empty() ? "" : found.front();
	}
	slots_left left(std::uint64_t reported) const { return check_slots(flash, reported).left; }

	std::vector<std::uint8_t> flash = std::vector<std::uint8_t>(choice_at + 2 * choice_record, 0xff);
};

TEST_F(slots, of_an_installation_that_was_reported_are_right)
{
	EXPECT_EQ(finding(4), "");
	EXPECT_EQ(left(4), slots_left::old_image);
	EXPECT_FALSE(check_slots(flash, 4).torn_record);
}

TEST_F(slots, may_have_an_installation_that_was_not_reported)
{
	EXPECT_EQ(finding(3), "");
	EXPECT_EQ(left(3), slots_left::new_choice);
}

TEST_F(slots, may_have_no_header_in_the_other_one)
{
	put(0, "imag");
	flash[10] ^= 1;
	EXPECT_EQ(finding(4), "");
	EXPECT_EQ(left(4), slots_left::no_image);
}

TEST_F(slots, may_have_the_next_image_in_the_other_one)
{
	put_image(0, "2");
	EXPECT_EQ(finding(4), "");
	EXPECT_EQ(left(4), slots_left::new_image);
}

TEST_F(slots, may_have_a_torn_record)
{
	put(choice_at + choice_record, "boot 5 slo");
	EXPECT_EQ(finding(4), "");
	EXPECT_TRUE(check_slots(flash, 4).torn_record);
}

TEST_F(slots, with_the_older_record_torn_or_in_front_have_the_same_choice)
{
	put_record(0, 3, "slot_a");
	put_record(1, 4, "slot_b");
	EXPECT_EQ(finding(4), "");
	put(choice_at, "x");
	EXPECT_EQ(finding(4), "");
}

TEST_F(slots, with_a_torn_image_in_the_choice_are_found)
{
	flash[slot_size + slot_header + 999] ^= 1;
	EXPECT_EQ(finding(4), "slot_b, which the loader starts, is not whole, or has version 1");
}

TEST_F(slots, without_a_header_in_the_choice_are_found)
{
	flash[slot_size] = 0xff;
	EXPECT_EQ(finding(4), "slot_b, which the loader starts, is not whole, or has version ");
}

TEST_F(slots, with_a_torn_image_in_the_other_one_are_found)
{
	flash[slot_header] ^= 1;
	EXPECT_EQ(finding(4), "the other slot has a valid header over a torn image");
}

TEST_F(slots, with_the_same_version_twice_are_found)
{
	put_image(0, "1");
	EXPECT_EQ(finding(4), "the other slot has version 1");
}

TEST_F(slots, that_lost_an_installation_or_ran_ahead_are_found)
{
	EXPECT_EQ(finding(5), "the choice has number 4 after 5");
	EXPECT_EQ(finding(2), "the choice has number 4 after 2");
}

TEST_F(slots, without_a_choice_or_with_a_wrong_one_are_found)
{
	put_record(0, 4, "slot_a");
	EXPECT_EQ(finding(4), "the choice 4 is slot_a");
	put(choice_at, "x");
	put(choice_at + choice_record, "x");
	EXPECT_EQ(finding(4), "no slot is the choice");
}

// Of one slot: version 3 is its content.
TEST_F(slots, alone_may_have_the_old_image_the_new_one_or_no_header)
{
	EXPECT_EQ(check_single(flash, 3).left, slots_left::old_image);
	EXPECT_EQ(check_single(flash, 2).left, slots_left::new_image);
	flash[0] = 0xff;
	EXPECT_EQ(check_single(flash, 3).left, slots_left::no_image);
	EXPECT_EQ(check_single(flash, 3).number, 3u);
	for (const std::uint64_t reported : {2u, 3u})
		EXPECT_EQ(check_single(flash, reported).findings, std::vector<std::string>());
}

TEST_F(slots, alone_with_a_torn_image_or_another_one_are_found)
{
	EXPECT_EQ(check_single(flash, 4).findings, std::vector<std::string>{"version 3 after 4 installations"});
	flash[slot_header] ^= 1;
	EXPECT_EQ(check_single(flash, 3).findings, std::vector<std::string>{"a valid header over a torn image"});
}

} // namespace
