// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include <cstdint>

#include "common/edit_distance.hpp"
#include "common/numbers.hpp"

using namespace tools;

namespace {

TEST(number, is_the_whole_text)
{
	EXPECT_EQ(parse_number("0", 9), 0u);
	EXPECT_EQ(parse_number("010", 10), 10u);
	EXPECT_EQ(parse_number("0XfF", 255), 255u);
	for (const char *const text : {"", "0x", "0X", "-1", "+1", " 1", "1 ", "1,0", "ff", "0x1g", "1KiB", "0x0x1", "0b1"})
		EXPECT_EQ(parse_number(text, UINT64_MAX), std::nullopt) << text;
	EXPECT_EQ(parse_number(std::string_view("1\0", 2), 9), std::nullopt);
}

TEST(number, ends_at_its_limit)
{
	EXPECT_EQ(parse_number("254", 255), 254u);
	EXPECT_EQ(parse_number("255", 255), 255u);
	EXPECT_EQ(parse_number("256", 255), std::nullopt);
	EXPECT_EQ(parse_number("18446744073709551615", UINT64_MAX), UINT64_MAX);
	EXPECT_EQ(parse_number("18446744073709551616", UINT64_MAX), std::nullopt);
	EXPECT_EQ(parse_number("0x10000000000000000", UINT64_MAX), std::nullopt);
	EXPECT_EQ(parse_number("0", 0), 0u);
	EXPECT_EQ(parse_number("1", 0), std::nullopt);
}

// The product would fit once it has wrapped around: 2^54 KiB are 2^64 bytes.
TEST(size, is_held_against_its_limit_before_it_is_multiplied)
{
	EXPECT_EQ(parse_size("18014398509481983KiB", UINT64_MAX), UINT64_MAX - 1023);
	EXPECT_EQ(parse_size("18014398509481984KiB", UINT64_MAX), std::nullopt);
	EXPECT_EQ(parse_size("18014398509481985KiB", UINT32_MAX), std::nullopt) << "1 KiB, when it has wrapped around";
	EXPECT_EQ(parse_size("17592186044417MiB", UINT32_MAX), std::nullopt) << "1 MiB";
	EXPECT_EQ(parse_size("17179869185GiB", UINT32_MAX), std::nullopt) << "1 GiB";
	EXPECT_EQ(parse_size("0x400001KiB", UINT32_MAX), std::nullopt) << "1 KiB in 32 bits";
	EXPECT_EQ(parse_size("1KiB", 1023), std::nullopt);
	EXPECT_EQ(parse_size("1KiB", 1024), 1024u);
}

TEST(size, of_nothing_is_none)
{
	for (const char *const text : {"KiB", "0xKiB", "MiB", "1kb", "1K", "1 KiB", "1.5MiB", "1KiBKiB", "1TiB"})
		EXPECT_EQ(parse_size(text, UINT64_MAX), std::nullopt) << text;
	EXPECT_EQ(parse_size("0GiB", 0), 0u);
}

TEST(size, for_people_is_exact)
{
	EXPECT_EQ(human_size(0), "0 bytes");
	EXPECT_EQ(human_size(1), "1 byte");
	EXPECT_EQ(human_size(1023), "1023 bytes");
	EXPECT_EQ(human_size(1024), "1 KiB");
	EXPECT_EQ(human_size(1025), "1025 bytes");
	EXPECT_EQ(human_size(0x180000), "1536 KiB");
	EXPECT_EQ(human_size(std::uint64_t{3} << 30), "3 GiB");
	EXPECT_EQ(hex_number(0x1ff9c), "0x1ff9c");
	EXPECT_EQ(hex_number(0), "0x0");
}

TEST(edit_distance, counts_letters)
{
	EXPECT_EQ(edit_distance("", ""), 0u);
	EXPECT_EQ(edit_distance("boot", "boot"), 0u);
	EXPECT_EQ(edit_distance("", "boot"), 4u);
	EXPECT_EQ(edit_distance("boot", ""), 4u);
	EXPECT_EQ(edit_distance("boot", "bot"), 1u);
	EXPECT_EQ(edit_distance("boot", "root"), 1u);
	EXPECT_EQ(edit_distance("boot", "boots"), 1u);
	EXPECT_EQ(edit_distance("usrdata", "usrdaat"), 1u) << "two that changed places";
	EXPECT_EQ(edit_distance("abcd", "badc"), 2u);
	EXPECT_EQ(edit_distance("kitten", "sitting"), 3u);
}

} // namespace
