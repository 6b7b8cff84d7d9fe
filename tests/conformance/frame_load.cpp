// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Loading that succeeds: what is registered, read and reported, and in which order.
#include "load_words.hpp"

namespace conformance {
namespace {

// What a load of the board "plain" does between the user-data partition's search and the report.
const call_list plain_tables = joined({configured_from_single_table(default_instance, 3), partitions_listed(default_instance, 2)});

class frame_load : public on_board {
protected:
	static void load(std::string_view configuration = "plain")
	{
		harness::configure(configuration);
		ASSERT_EQ(harness::load(), 0u);
	}
};

TEST_F(frame_load, succeeds_and_keeps_the_module)
{
	EXPECT_EQ(harness::load(), 0u);
	EXPECT_TRUE(harness::loaded());
}

TEST_F(frame_load, offers_the_control_device)
{
	EXPECT_FALSE(harness::device_registered());
	load();
	EXPECT_TRUE(harness::device_registered());
}

TEST_F(frame_load, reports_its_end_without_a_failure_text)
{
	load();
	const auto report = harness::load_report();
	ASSERT_TRUE(report);
	EXPECT_EQ(report->name, "flash_mng");
	EXPECT_EQ(report->result, 0u);
	EXPECT_FALSE(report->failure);
}

TEST_F(frame_load, reports_when_it_began)
{
	harness::fail("log_get_timestamp_ms", 0x123456789A);
	load();
	EXPECT_EQ(harness::load_report()->start_ms, 0x123456789Au);
}

TEST_F(frame_load, takes_the_time_before_its_first_message)
{
	load();
	ASSERT_GE(harness::calls().size(), 2u);
	EXPECT_EQ(harness::calls()[0], "log_get_timestamp_ms()");
	EXPECT_EQ(harness::calls()[1], message(common, ordinary, "%s MODULE INIT BEGIN"));
}

TEST_F(frame_load, begins_with_a_message_to_the_common_log)
{
	load();
	ASSERT_FALSE(harness::log().empty());
	EXPECT_EQ(harness::log()[0], load_begins);
}

TEST_F(frame_load, registers_the_log_before_the_device)
{
	load();
	EXPECT_EQ(steps().at(1), "drv_log_register(27, \"flash_mng\", 8192)");
	EXPECT_EQ(steps().at(2), "misc_register(-)");
}

TEST_F(frame_load, ends_with_its_report)
{
	load();
	EXPECT_EQ(harness::calls().back(), load_end(0));
}

TEST_F(frame_load, takes_its_steps_in_order)
{
	load();
	EXPECT_EQ(steps(), joined({registered, usrdata_absent, plain_tables, {load_end(0)}}));
}

TEST_F(frame_load, takes_its_steps_in_order_on_a_board_with_user_data)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	EXPECT_EQ(steps(), joined({registered, usrdata_present, plain_tables, {load_end(0)}}));
}

TEST_F(frame_load, writes_its_messages_in_order)
{
	load();
	EXPECT_EQ(harness::log(), joined_lines({{load_begins}, plain_partitions_listed}));
}

TEST_F(frame_load, writes_its_messages_in_order_on_a_board_with_user_data)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	EXPECT_EQ(harness::log(), joined_lines({{load_begins, usrdata_found}, plain_partitions_listed}));
}

TEST_F(frame_load, puts_messages_and_steps_in_one_order)
{
	load();
	const call_list listed =
		joined({partition_read, {message(own, ordinary, "inst 0x%x mtd info entry%u mtd_name %s avail_size 0x%x init success")}});
	EXPECT_EQ(steps_and_messages(), joined({{"log_get_timestamp_ms()", message(common, ordinary, "%s MODULE INIT BEGIN"),
						 "drv_log_register(27, \"flash_mng\", 8192)", "misc_register(-)"},
						usrdata_absent,
						configured_from_single_table(default_instance, 3),
						{list_of(default_instance, "mtd_info"), "linux_kcalloc(2, -)"},
						repeated(listed, 2),
						{message(own, ordinary, "inst 0x%x mtd info entry num %u init success"), load_end(0)}}));
}

TEST_F(frame_load, holds_the_entry_its_sections_and_the_partition_table)
{
	load();
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 3});
}

TEST_F(frame_load, of_a_bare_board_succeeds)
{
	load("bare");
	EXPECT_TRUE(harness::loaded());
	EXPECT_TRUE(harness::device_registered());
	EXPECT_FALSE(harness::load_report()->failure);
}

TEST_F(frame_load, of_a_bare_board_says_what_is_missing)
{
	load("bare");
	EXPECT_EQ(harness::log(), (log_lines{load_begins, no_section_table, no_listed_partitions}));
}

TEST_F(frame_load, of_a_bare_board_allocates_nothing)
{
	load("bare");
	EXPECT_EQ(steps(), joined({registered,
				   usrdata_absent,
				   {node_count_of(default_instance), list_of(default_instance, "mtd_info"), load_end(0)}}));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(frame_load, of_an_unconfigured_board_succeeds)
{
	load("unconfigured");
	EXPECT_EQ(harness::log(), (log_lines{load_begins, no_node_count, no_listed_partitions}));
	EXPECT_EQ(harness::load_report()->result, 0u);
	EXPECT_FALSE(harness::load_report()->failure);
}

TEST_F(frame_load, of_a_board_with_sections_alone)
{
	load("sections_only");
	EXPECT_EQ(harness::log(), (log_lines{load_begins, no_listed_partitions}));
	EXPECT_EQ(steps(), joined({registered,
				   usrdata_absent,
				   configured_from_single_table(default_instance, 2),
				   {list_of(default_instance, "mtd_info"), load_end(0)}}));
}

TEST_F(frame_load, of_a_board_with_listed_partitions_alone)
{
	load("partitions_only");
	EXPECT_EQ(harness::log(),
		  (log_lines{load_begins, no_section_table, partition_listed(default_instance, 0, "part0", 0x10000),
			     partition_listed(default_instance, 1, "part1", 0x20000), partitions_counted(default_instance, 2)}));
	EXPECT_EQ(steps(), joined({registered,
				   usrdata_absent,
				   {node_count_of(default_instance)},
				   partitions_listed(default_instance, 2),
				   {load_end(0)}}));
}

TEST_F(frame_load, of_a_variant_board_reads_the_variants_table_alone)
{
	load("variants");
	EXPECT_EQ(steps(), joined({registered,
				   usrdata_absent,
				   {node_count_of(default_instance), bom_value_of(default_instance), variant_name_formed,
				    list_of(default_instance, "attr_2")},
				   rows_read(3),
				   entry_made,
				   partitions_listed(default_instance, 1),
				   {load_end(0)}}));
}

TEST_F(frame_load, goes_on_without_sections_when_their_table_is_broken)
{
	load("broken_sections");
	EXPECT_EQ(harness::log(),
		  (log_lines{load_begins, number_missing(ordinary, "row1", "size"), partition_listed(default_instance, 0, "part0", 0x10000),
			     partitions_counted(default_instance, 1)}));
	EXPECT_FALSE(has_entry(default_instance));
}

TEST_F(frame_load, again_after_an_unload_does_the_same)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	const call_list first_calls = harness::calls();
	const log_lines first_log = harness::log();
	harness::unload();
	harness::forget();
	load();
	EXPECT_EQ(harness::calls(), first_calls);
	EXPECT_EQ(harness::log(), first_log);
}

TEST_F(frame_load, again_after_an_unload_may_find_another_board)
{
	load();
	harness::unload();
	harness::forget();
	load("bare");
	EXPECT_EQ(harness::log(), (log_lines{load_begins, no_section_table, no_listed_partitions}));
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {"usrdata"}));
}

TEST_F(frame_load, makes_one_flash_config_entry_for_the_default_instance)
{
	load();
	EXPECT_TRUE(has_entry(default_instance));
	for (uint32_t other : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFEu})
		EXPECT_FALSE(has_entry(other)) << other;
}

TEST_F(frame_load, builds_the_table_of_listed_partitions)
{
	load();
	EXPECT_TRUE(harness::call_finds("drv_flash_mtd_info_find", {"config"}));
	EXPECT_TRUE(harness::call_finds("drv_flash_mtd_info_find", {"usrdata"}));
}

// ------------------------------------------------------------------------------------ failures that a load does not mind

struct tolerated {
	const char *name;
	const char *configuration;
	const char *function;
	long long result;
	unsigned nth;
	log_line said;
};

void PrintTo(const tolerated &row, std::ostream *out)
{
	*out << row.name;
}

class frame_load_goes_on : public frame_load, public testing::WithParamInterface<tolerated> {};

TEST_P(frame_load_goes_on, and_says_what_failed)
{
	harness::add_mtd({.name = "usrdata"});
	harness::fail(GetParam().function, GetParam().result, GetParam().nth);
	load(GetParam().configuration);
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(harness::load_report()->result, 0u);
	EXPECT_FALSE(harness::load_report()->failure);
	const log_lines log = harness::log();
	EXPECT_EQ(std::count(log.begin(), log.end(), GetParam().said), 1);
}

INSTANTIATE_TEST_SUITE_P(without, frame_load_goes_on,
			 testing::Values(tolerated{"node_count", "plain", "xml_get_specified_node_num", 5, 1, no_node_count},
					 tolerated{"section_list", "plain", "xml_get_entry_list", 5, 1,
						   common_log(ordinary, "flash get xml attr error inst_id:0xffffffff node_num:1")},
					 tolerated{"partition_list", "plain", "xml_get_entry_list", 5, 2, no_listed_partitions},
					 tolerated{"bom_value", "variants", "drv_board_get_bom_value", 5, 1,
						   common_log(ordinary, "flash mng get bom value error, inst_id:0xffffffff")},
					 tolerated{"variant_list", "variants", "xml_get_entry_list", 5, 1,
						   variant_unreadable(default_instance, 2)},
					 tolerated{"section_memory", "plain", "linux_kcalloc", 0, 1, rows_without_memory(156)},
					 tolerated{"section_number", "plain", "xml_get_attr_value_u32", 5, 1,
						   number_missing(ordinary, "section0", "section_id")},
					 tolerated{"section_name", "plain", "xml_get_attr_string", 5, 1, section_name_missing("section0")},
					 tolerated{"usrdata_copy", "plain", "strcpy_s", 22, 1, usrdata_not_copied(22)}),
			 [](const auto &row) { return std::string(row.param.name); });

TEST_F(frame_load, goes_on_without_a_word_when_a_variants_name_cannot_be_formed)
{
	harness::fail("sprintf_s", -1);
	load("variants");
	EXPECT_EQ(harness::log(), (log_lines{load_begins, partition_listed(default_instance, 0, "part0", 0x10000),
					     partitions_counted(default_instance, 1)}));
}

} // namespace
} // namespace conformance
