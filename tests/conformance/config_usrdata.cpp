// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Whether the board has the user-data partition, recorded each time a section table is read.
#include "load_words.hpp"

namespace conformance {
namespace {

class config_usrdata : public on_board {
protected:
	static void load(std::string_view configuration = "bare")
	{
		harness::configure(configuration);
		ASSERT_EQ(harness::load(), 0u);
	}

	static bytes recorded() { return harness::global("g_usrdata_mtd_name", 40); }

	static bytes recorded_as(std::string_view name)
	{
		bytes text(40, 0);
		std::copy(name.begin(), name.end(), text.begin());
		return text;
	}

	// The calls of one more look, made directly.
	static call_list look_again()
	{
		harness::forget();
		harness::call("get_usrdata_mtd_name", {});
		return harness::calls();
	}
};

const call_list look_with_success = joined({usrdata_present, {message(common, ordinary, "Get usrdata mtd name: %s")}});

TEST_F(config_usrdata, is_recorded_by_name)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

TEST_F(config_usrdata, is_said_to_the_common_log)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	EXPECT_EQ(harness::log().at(1), usrdata_found);
}

TEST_F(config_usrdata, is_released_before_its_name_is_copied)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	EXPECT_EQ(look_again(), look_with_success);
}

TEST_F(config_usrdata, is_not_held)
{
	const int index = harness::add_mtd({.name = "usrdata"});
	load();
	EXPECT_EQ(harness::mtd_use_count(index), 0);
}

TEST_F(config_usrdata, absent_leaves_the_name_empty_and_says_nothing)
{
	harness::add_mtd({.name = "config"});
	load();
	EXPECT_EQ(recorded(), bytes(40, 0));
	EXPECT_EQ(harness::log(), (log_lines{load_begins, no_section_table, no_listed_partitions}));
	EXPECT_EQ(look_again(), usrdata_absent);
}

class config_usrdata_of_type : public config_usrdata, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_usrdata_of_type, counts)
{
	harness::add_mtd({.name = "usrdata", .type = GetParam()});
	load();
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

INSTANTIATE_TEST_SUITE_P(type, config_usrdata_of_type,
			 testing::Values(harness::mtd_ram, harness::mtd_nor, harness::mtd_nand, harness::mtd_mlc_nand));

class config_usrdata_nearly : public config_usrdata, public testing::WithParamInterface<const char *> {};

TEST_P(config_usrdata_nearly, does_not_count)
{
	harness::add_mtd({.name = GetParam()});
	load();
	EXPECT_EQ(recorded(), bytes(40, 0));
}

INSTANTIATE_TEST_SUITE_P(name, config_usrdata_nearly,
			 testing::Values("usrdat", "usrdata1", "USRDATA", "usrData", "my_usrdata", "usrdata "));

class config_usrdata_lookup : public config_usrdata, public testing::WithParamInterface<long long> {};

TEST_P(config_usrdata_lookup, without_a_device_ends_the_look_silently)
{
	harness::add_mtd({.name = "usrdata"});
	harness::fail("get_mtd_device_nm", GetParam());
	load();
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(recorded(), bytes(40, 0));
	EXPECT_FALSE(called("put_mtd_device"));
	EXPECT_FALSE(called("strcpy_s"));
	EXPECT_EQ(harness::log(), (log_lines{load_begins, no_section_table, no_listed_partitions}));
}

TEST_P(config_usrdata_lookup, without_a_device_keeps_what_was_recorded)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	harness::fail("get_mtd_device_nm", GetParam());
	EXPECT_EQ(look_again(), usrdata_absent);
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

INSTANTIATE_TEST_SUITE_P(gives, config_usrdata_lookup, testing::Values(0, -1, -2, -16, -19, -4094, -4095),
			 [](const auto &row) { return as_case_name(row.param); });

class config_usrdata_copy : public config_usrdata, public testing::WithParamInterface<int> {};

TEST_P(config_usrdata_copy, that_fails_is_said_and_does_not_matter)
{
	harness::add_mtd({.name = "usrdata"});
	harness::fail("strcpy_s", GetParam());
	load("plain");
	EXPECT_EQ(harness::log(), joined_lines({{load_begins, usrdata_not_copied(GetParam())}, plain_partitions_listed}));
	EXPECT_EQ(recorded(), bytes(40, 0));
	EXPECT_TRUE(has_entry(default_instance));
}

INSTANTIATE_TEST_SUITE_P(with, config_usrdata_copy, testing::Values(1, 22, 34, 2147483647, -1, -22, -2147483647),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(config_usrdata, stays_recorded_when_a_copy_claims_success_and_stores_nothing)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	harness::fail("strcpy_s", 0);
	EXPECT_EQ(look_again(), look_with_success);
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

TEST_F(config_usrdata, stays_recorded_when_the_device_goes)
{
	const int index = harness::add_mtd({.name = "usrdata"});
	load();
	harness::remove_mtd(index);
	EXPECT_EQ(look_again(), usrdata_absent);
	EXPECT_EQ(harness::log(), log_lines{});
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

TEST_F(config_usrdata, is_found_by_a_later_look)
{
	load();
	harness::add_mtd({.name = "usrdata"});
	EXPECT_EQ(look_again(), look_with_success);
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

TEST_F(config_usrdata, is_recorded_anew_with_the_same_text)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	for (int i = 0; i < 3; ++i)
		EXPECT_EQ(look_again(), look_with_success);
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
}

TEST_F(config_usrdata, is_forgotten_by_an_unload)
{
	const int index = harness::add_mtd({.name = "usrdata"});
	load();
	harness::unload();
	harness::remove_mtd(index);
	load();
	EXPECT_EQ(recorded(), bytes(40, 0));
}

TEST_F(config_usrdata, is_looked_for_before_the_table_is_chosen)
{
	load("tables");
	harness::forget();
	harness::call("drv_flash_init", {3});
	EXPECT_EQ(steps().at(0), usrdata_absent.at(0));
	EXPECT_EQ(steps().at(1), node_count_of(3));
}

TEST_F(config_usrdata, is_looked_for_even_when_there_is_no_table)
{
	harness::add_mtd({.name = "usrdata"});
	load("unconfigured");
	EXPECT_EQ(recorded(), recorded_as("usrdata"));
	EXPECT_EQ(harness::log(), (log_lines{load_begins, usrdata_found, no_node_count, no_listed_partitions}));
}

TEST_F(config_usrdata, is_looked_for_with_each_table_read)
{
	harness::add_mtd({.name = "usrdata"});
	load("tables");
	harness::forget();
	for (uint32_t instance : {3, 5, 6})
		harness::call("drv_flash_init", {instance});
	EXPECT_EQ(times_called("get_mtd_device_nm"), 3);
	EXPECT_EQ(times_called("put_mtd_device"), 3);
}

TEST_F(config_usrdata, is_not_looked_for_when_the_instance_has_its_entry)
{
	load("plain");
	harness::forget();
	harness::call("drv_flash_init", {default_instance});
	EXPECT_FALSE(called("get_mtd_device_nm"));
}

} // namespace
} // namespace conformance
