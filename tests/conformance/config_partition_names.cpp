// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Names of listed partitions: the longest that is found, longer ones, those that the reader left without an end.
#include "config_partition_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t spelled_size = 0x44434241; // the bytes "ABCD"

class config_partition_name : public config_partitions, public testing::WithParamInterface<uint32_t> {
protected:
	static uint32_t instance() { return 0x300 + GetParam(); }
	static std::string name() { return name_of_length(GetParam()); }
};

using config_partition_good_name = config_partition_name;

TEST_P(config_partition_good_name, is_stored_and_found)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(instance(), 0, name(), spelled_size), partitions_counted(instance(), 1)}));
	EXPECT_TRUE(finds(name()));
	EXPECT_EQ(u32_at(harness::memory(table() + 32, 4), 0), spelled_size);
}

INSTANTIATE_TEST_SUITE_P(of_length, config_partition_good_name, testing::Values(0, 1, 30, 31),
			 [](const auto &row) { return decimal(row.param); });

// 32 to 39 characters run on into the usable size and are overwritten there.
class config_partition_long_name : public config_partition_name {
protected:
	static std::string stored() { return name_of_length(32) + "ABCD" + (GetParam() > 36 ? name().substr(36) : ""); }
};

TEST_P(config_partition_long_name, is_said_as_it_is_stored)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(instance(), 0, stored(), spelled_size), partitions_counted(instance(), 1)}));
}

TEST_P(config_partition_long_name, is_not_found)
{
	build_well(instance());
	EXPECT_FALSE(finds(name()));
	EXPECT_FALSE(finds(name_of_length(31)));
	EXPECT_FALSE(finds(name_of_length(32)));
}

TEST_P(config_partition_long_name, does_not_touch_the_usable_size)
{
	build_well(instance());
	EXPECT_EQ(u32_at(harness::memory(table() + 32, 4), 0), spelled_size);
}

INSTANTIATE_TEST_SUITE_P(of_length, config_partition_long_name, testing::Values(32, 33, 35, 36, 37, 38, 39),
			 [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, end_a_name_that_the_reader_left_without_an_end)
{
	harness::forge("xml_get_attr_string", 0, 2, bytes(40, 'n'));
	EXPECT_EQ(build(0x300 + 31), 0u);
	const std::string stored = std::string(32, 'n') + "ABCDnnn";
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(0x300 + 31, 0, stored, spelled_size), partitions_counted(0x300 + 31, 1)}));
}

class config_partition_too_long_name : public config_partition_name {};

TEST_P(config_partition_too_long_name, fails_the_build)
{
	EXPECT_EQ(build(instance()), xml_name_unreadable);
	EXPECT_EQ(harness::log(), log_lines{partition_name_missing("item0")});
	expect_absent();
}

INSTANTIATE_TEST_SUITE_P(of_length, config_partition_too_long_name, testing::Values(40, 62),
			 [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, say_a_long_name_up_to_the_first_zero_of_the_size)
{
	EXPECT_EQ(build(0x502), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(0x502, 0, name_of_length(32), 0x20000), partitions_counted(0x502, 1)}));
	EXPECT_FALSE(finds(name_of_length(39)));
}

TEST_F(config_partitions, behind_a_name_that_is_too_long_are_sound)
{
	build_well(0x503);
	EXPECT_TRUE(finds("part1"));
	EXPECT_EQ(count(), 2u);
}

} // namespace
} // namespace conformance
