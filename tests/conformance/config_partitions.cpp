// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The table of listed partitions: built, looked up by name, released.
#include "config_partition_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t no_nodes = 1, no_entries = 2, one = 0x11, two = 0x12, three = 0x13, unconfigured = 0xFFFF;
const log_line already_built = common_log(ordinary, "flash mtd info already init");

// ------------------------------------------------------------------------------------ building

class config_partitions_of : public config_partitions, public testing::WithParamInterface<uint32_t> {
protected:
	static uint32_t instance() { return 0x10 + GetParam(); }
};

TEST_P(config_partitions_of, are_read_one_by_one)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(steps(), partitions_listed(instance(), GetParam()));
}

TEST_P(config_partitions_of, are_each_said_and_then_counted)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(harness::log(), all_listed(instance(), GetParam()));
}

TEST_P(config_partitions_of, are_all_found)
{
	build_well(instance());
	EXPECT_EQ(count(), GetParam());
	EXPECT_NE(table(), 0u);
	for (uint32_t i = 0; i < 4; ++i)
		EXPECT_EQ(finds("part" + decimal(i)), i < GetParam()) << i;
}

TEST_P(config_partitions_of, are_one_allocation)
{
	build_well(instance());
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 1});
	release();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

INSTANTIATE_TEST_SUITE_P(number, config_partitions_of, testing::Values(1, 2, 3), [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, are_said_after_their_lock_was_prepared)
{
	EXPECT_EQ(build(one), 0u);
	EXPECT_EQ(last(harness::calls(), 3),
		  (call_list{init_of_mutex, message(own, ordinary, "inst 0x%x mtd info entry%u mtd_name %s avail_size 0x%x init success"),
			     message(own, ordinary, "inst 0x%x mtd info entry num %u init success")}));
}

TEST_F(config_partitions, start_with_their_name_and_usable_size)
{
	build_well(one);
	bytes expected(36, 0);
	std::copy_n("part0", 5, expected.begin());
	expected[34] = 1; // 0x10000
	EXPECT_EQ(harness::memory(table(), 36), expected);
}

TEST_F(config_partitions, are_not_built_twice)
{
	build_well(two);
	const uint64_t before = table();
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::log(), log_lines{already_built});
	EXPECT_EQ(deeds(), call_list{});
	EXPECT_EQ(table(), before);
	EXPECT_EQ(count(), 2u);
	EXPECT_FALSE(finds("part2"));
}

TEST_F(config_partitions, built_at_load_are_not_built_again)
{
	harness::unload();
	harness::configure("plain");
	ASSERT_EQ(harness::load(), 0u);
	harness::forget();
	EXPECT_EQ(build(default_instance), 0u);
	EXPECT_EQ(harness::log(), log_lines{already_built});
	EXPECT_EQ(deeds(), call_list{});
	EXPECT_TRUE(finds("usrdata"));
}

struct without_partitions {
	const char *name;
	uint32_t instance;
};

void PrintTo(const without_partitions &row, std::ostream *out)
{
	*out << row.name;
}

class config_partitions_missing : public config_partitions, public testing::WithParamInterface<without_partitions> {};

TEST_P(config_partitions_missing, are_no_failure)
{
	EXPECT_EQ(build(GetParam().instance), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_listed_partitions});
	EXPECT_EQ(deeds(), call_list{list_of(GetParam().instance, "mtd_info")});
	expect_absent();
}

TEST_P(config_partitions_missing, can_come_from_elsewhere_later)
{
	EXPECT_EQ(build(GetParam().instance), 0u);
	harness::forget();
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(harness::log(), all_listed(two, 2));
}

INSTANTIATE_TEST_SUITE_P(from_instance, config_partitions_missing,
			 testing::Values(without_partitions{"without_node", no_nodes}, without_partitions{"with_empty_node", no_entries},
					 without_partitions{"unknown", unconfigured}),
			 [](const auto &row) { return std::string(row.param.name); });

class config_partitions_unreadable : public config_partitions, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_partitions_unreadable, are_no_failure)
{
	harness::fail("xml_get_entry_list", GetParam());
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_listed_partitions});
	EXPECT_EQ(deeds(), call_list{list_of(two, "mtd_info")});
	expect_absent();
}

INSTANTIATE_TEST_SUITE_P(with, config_partitions_unreadable, testing::Values(1, 3489, 0x80000000, 0xFFFFFFFF),
			 [](const auto &row) { return hexadecimal(row.param); });

TEST_F(config_partitions, without_memory)
{
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(build(two), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{partitions_without_memory});
	EXPECT_EQ(steps(), (call_list{list_of(two, "mtd_info"), "linux_kcalloc(2, -)"}));
	expect_absent();
}

TEST_F(config_partitions, without_memory_can_be_built_later)
{
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(build(two), no_buffer);
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(count(), 2u);
}

// ------------------------------------------------------------------------------------ looking up

TEST_F(config_partitions, of_one_name_are_found_by_the_first)
{
	build_well(0x500);
	const uint32_t first = harness::call("drv_flash_mtd_info_find", {"part0"});
	const uint32_t second = harness::call("drv_flash_mtd_info_find", {"twice"});
	const uint32_t fourth = harness::call("drv_flash_mtd_info_find", {"part3"});
	EXPECT_EQ(first, static_cast<uint32_t>(table()));
	EXPECT_EQ(3 * (second - first), fourth - first);
}

class config_partition_lookup : public config_partitions, public testing::WithParamInterface<const char *> {};

TEST_P(config_partition_lookup, does_not_find)
{
	build_well(0x501);
	EXPECT_FALSE(finds(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(of, config_partition_lookup,
			 testing::Values("config", "Confi", "config22", "CONFIG2", "CONF", "con", "", " conf", "conf "));

TEST_F(config_partitions, are_found_by_their_exact_names)
{
	build_well(0x501);
	for (const char *name : {"Config", "config2", "conf"})
		EXPECT_TRUE(finds(name)) << name;
}

TEST_F(config_partitions, are_not_found_without_a_name)
{
	build_well(two);
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {nullptr}));
}

TEST_F(config_partitions, are_not_found_before_they_are_built)
{
	expect_absent();
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {nullptr}));
}

TEST_F(config_partitions, are_looked_up_without_a_call_or_a_word)
{
	build_well(two);
	EXPECT_TRUE(finds("part1"));
	EXPECT_FALSE(finds("part2"));
	EXPECT_EQ(harness::calls(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{});
}

// ------------------------------------------------------------------------------------ releasing

TEST_F(config_partitions, are_released_at_once)
{
	build_well(three);
	release();
	EXPECT_EQ(harness::calls(), call_list{freed});
	EXPECT_EQ(harness::log(), log_lines{});
	expect_absent();
}

TEST_F(config_partitions, that_were_never_built_are_released_without_a_call)
{
	release();
	EXPECT_EQ(harness::calls(), call_list{});
	expect_absent();
}

TEST_F(config_partitions, are_released_once_however_often_that_is_asked)
{
	build_well(two);
	for (int i = 0; i < 3; ++i)
		release();
	EXPECT_EQ(harness::calls(), call_list{freed});
	expect_absent();
}

TEST_F(config_partitions, can_be_built_again_after_their_release)
{
	build_well(two);
	release();
	harness::forget();
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::log(), all_listed(three, 3));
	EXPECT_TRUE(finds("part2"));
}

// ------------------------------------------------------------------------------------ what a lookup meets meanwhile

class config_partitions_in_the_making : public config_partitions, public testing::WithParamInterface<unsigned> {};

TEST_P(config_partitions_in_the_making, are_not_found_before_the_last_is_ready)
{
	harness::forget();
	harness::stop_at("linux_mutex_init", GetParam());
	call_beside building([] { return build(three); });
	ASSERT_TRUE(comes_to_call("linux_mutex_init", GetParam()));
	EXPECT_EQ(count(), 0u);
	EXPECT_FALSE(finds("part0"));
	harness::go_on();
	EXPECT_EQ(building.code(), 0u);
	EXPECT_EQ(count(), 3u);
	EXPECT_TRUE(finds("part0"));
}

INSTANTIATE_TEST_SUITE_P(at, config_partitions_in_the_making, testing::Values(1u, 2u, 3u));

TEST_F(config_partitions, are_not_found_once_their_memory_goes)
{
	build_well(two);
	stopped_call releasing("kfree", [] {
		release();
		return 0u;
	});
	expect_absent();
	releasing.let_go();
}

TEST_F(config_partitions, of_a_table_that_cannot_be_read_are_never_found)
{
	harness::fail("xml_get_attr_string", 1, 3);
	stopped_call building("kfree", [] { return build(three); });
	expect_absent();
	EXPECT_NE(building.let_go(), 0u);
	expect_absent();
}

} // namespace
} // namespace conformance
