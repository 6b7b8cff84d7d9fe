// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Which section table of an instance is read: the only one, or the one of the board's variant.
#include "load_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t unconfigured = 99, no_nodes = 1, other_nodes = 2, single = 3, single_empty = 4, variant_2 = 5, variant_none = 6,
		   variant_missing = 7, variant_alone = 8, variant_none_missing = 9, variant_highest = 10, variant_10 = 11,
		   variant_empty = 12, single_on_variant = 13;

class config_table_choice : public on_loaded_module {
protected:
	void prepare() override { harness::configure("tables"); }

	static constexpr uint8_t mark = 0xA5;

	struct outcome {
		uint32_t code;
		bytes count = bytes(4, mark);
		bytes list = bytes(8, mark);

		bool count_untouched() const { return count == bytes(4, mark); }
		bool list_untouched() const { return list == bytes(8, mark); }
	};

	static outcome choose(uint32_t instance)
	{
		harness::forget();
		outcome made = {};
		made.code = harness::call("get_xml_compatible_flash_cfg", {instance, &made.count, &made.list});
		return made;
	}

	static void expect_list(const outcome &made, uint32_t entries)
	{
		EXPECT_EQ(made.code, 0u);
		EXPECT_EQ(u32_at(made.count, 0), entries);
		EXPECT_FALSE(made.list_untouched());
		EXPECT_EQ(harness::log(), log_lines{});
	}

	static void expect_failure(const outcome &made, uint32_t code, const log_lines &said)
	{
		EXPECT_EQ(made.code, code);
		EXPECT_TRUE(made.count_untouched());
		EXPECT_TRUE(made.list_untouched());
		EXPECT_EQ(harness::log(), said);
	}

	static log_line bom_value_unreadable(uint32_t instance)
	{
		return common_log(ordinary, "flash mng get bom value error, inst_id:" + hexadecimal(instance));
	}

	static log_line single_unreadable(uint32_t instance)
	{
		return common_log(ordinary, "flash get xml attr error inst_id:" + hexadecimal(instance) + " node_num:1");
	}

	static log_line plain_unreadable(uint32_t instance)
	{
		return common_log(ordinary, "flash mng get xml attr error inst_id:" + hexadecimal(instance) + ", bom_value:0");
	}
};

// ------------------------------------------------------------------------------------ no table

TEST_F(config_table_choice, without_nodes_is_no_failure)
{
	const outcome made = choose(no_nodes);
	EXPECT_EQ(made.code, 0u);
	EXPECT_EQ(u32_at(made.count, 0), 0u);
	EXPECT_TRUE(made.list_untouched());
	EXPECT_EQ(harness::log(), log_lines{no_section_table});
	EXPECT_EQ(deeds(), call_list{node_count_of(no_nodes)});
}

TEST_F(config_table_choice, ignores_other_nodes)
{
	EXPECT_EQ(choose(other_nodes).code, 0u);
	EXPECT_EQ(harness::log(), log_lines{no_section_table});
}

TEST_F(config_table_choice, of_an_unknown_instance_gives_the_parsers_code)
{
	const outcome made = choose(unconfigured);
	EXPECT_NE(made.code, 0u);
	EXPECT_TRUE(made.count_untouched());
	EXPECT_TRUE(made.list_untouched());
	EXPECT_EQ(harness::log(), log_lines{no_node_count});
	EXPECT_EQ(deeds(), call_list{node_count_of(unconfigured)});
}

// ------------------------------------------------------------------------------------ a single table

TEST_F(config_table_choice, single)
{
	expect_list(choose(single), 3);
	EXPECT_EQ(deeds(), (call_list{node_count_of(single), list_of(single, "attr")}));
}

TEST_F(config_table_choice, single_without_entries)
{
	const outcome made = choose(single_empty);
	EXPECT_EQ(made.code, 0u);
	EXPECT_EQ(u32_at(made.count, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines{});
}

TEST_F(config_table_choice, single_does_not_ask_for_the_variant)
{
	expect_list(choose(single_on_variant), 2);
	EXPECT_EQ(deeds(), (call_list{node_count_of(single_on_variant), list_of(single_on_variant, "attr")}));
}

TEST_F(config_table_choice, single_that_is_a_variant_is_not_found)
{
	expect_failure(choose(variant_alone), xml_node_unreadable, {single_unreadable(variant_alone)});
	EXPECT_EQ(deeds(), (call_list{node_count_of(variant_alone), list_of(variant_alone, "attr")}));
}

// ------------------------------------------------------------------------------------ variants

TEST_F(config_table_choice, variant_is_named_by_the_bom_value)
{
	expect_list(choose(variant_2), 2);
	EXPECT_EQ(deeds(),
		  (call_list{node_count_of(variant_2), bom_value_of(variant_2), variant_name_formed, list_of(variant_2, "attr_2")}));
}

TEST_F(config_table_choice, variant_0_is_the_plain_table)
{
	expect_list(choose(variant_none), 1);
	EXPECT_EQ(deeds(), (call_list{node_count_of(variant_none), bom_value_of(variant_none), list_of(variant_none, "attr")}));
}

TEST_F(config_table_choice, variant_that_is_missing_does_not_fall_back)
{
	expect_failure(choose(variant_missing), xml_node_unreadable, {variant_unreadable(variant_missing, 3)});
	EXPECT_EQ(deeds(), (call_list{node_count_of(variant_missing), bom_value_of(variant_missing), variant_name_formed,
				      list_of(variant_missing, "attr_3")}));
}

TEST_F(config_table_choice, variant_0_without_a_plain_table)
{
	expect_failure(choose(variant_none_missing), xml_node_unreadable, {plain_unreadable(variant_none_missing)});
}

TEST_F(config_table_choice, variant_of_the_highest_number)
{
	expect_list(choose(variant_highest), 2);
	EXPECT_EQ(deeds().back(), list_of(variant_highest, "attr_4294967295"));
}

TEST_F(config_table_choice, variant_10_is_not_variant_1)
{
	expect_list(choose(variant_10), 3);
	EXPECT_EQ(deeds().back(), list_of(variant_10, "attr_10"));
}

TEST_F(config_table_choice, variant_without_entries)
{
	const outcome made = choose(variant_empty);
	EXPECT_EQ(made.code, 0u);
	EXPECT_EQ(u32_at(made.count, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines{});
}

// ------------------------------------------------------------------------------------ failures

class config_table_code : public config_table_choice, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_table_code, of_the_node_count_is_passed_on)
{
	harness::fail("xml_get_specified_node_num", GetParam());
	expect_failure(choose(single), GetParam(), {no_node_count});
	EXPECT_EQ(deeds(), call_list{node_count_of(single)});
}

TEST_P(config_table_code, of_the_bom_value_is_passed_on)
{
	harness::fail("drv_board_get_bom_value", GetParam());
	expect_failure(choose(variant_2), GetParam(), {bom_value_unreadable(variant_2)});
	EXPECT_EQ(deeds(), (call_list{node_count_of(variant_2), bom_value_of(variant_2)}));
}

TEST_P(config_table_code, of_the_single_list_is_replaced)
{
	harness::fail("xml_get_entry_list", GetParam());
	expect_failure(choose(single), xml_node_unreadable, {single_unreadable(single)});
}

TEST_P(config_table_code, of_a_variants_list_is_replaced)
{
	harness::fail("xml_get_entry_list", GetParam());
	expect_failure(choose(variant_2), xml_node_unreadable, {variant_unreadable(variant_2, 2)});
}

TEST_P(config_table_code, of_the_plain_list_among_variants_is_replaced)
{
	harness::fail("xml_get_entry_list", GetParam());
	expect_failure(choose(variant_none), xml_node_unreadable, {plain_unreadable(variant_none)});
}

TEST_P(config_table_code, reaches_the_table_reader)
{
	harness::fail("xml_get_specified_node_num", GetParam());
	bytes sections(8, mark), count(4, mark);
	EXPECT_EQ(harness::call("get_xml_flash_cfg", {single, &sections, &count}), GetParam());
	EXPECT_EQ(sections, bytes(8, mark));
	EXPECT_EQ(count, bytes(4, mark));
}

TEST_P(config_table_code, becomes_an_instance_without_sections)
{
	harness::fail("xml_get_specified_node_num", GetParam());
	EXPECT_EQ(harness::call("drv_flash_init", {single}), 0u);
	EXPECT_FALSE(has_entry(single));
}

INSTANTIATE_TEST_SUITE_P(code, config_table_code, testing::Values(1, 3489, 0x70020001, 0x811B0DA3, 0x80000000, 0xFFFFFFFF),
			 [](const auto &row) { return hexadecimal(row.param); });

class config_variant_name : public config_table_choice, public testing::WithParamInterface<long long> {};

TEST_P(config_variant_name, that_cannot_be_formed_fails_without_a_message)
{
	harness::fail("sprintf_s", GetParam());
	expect_failure(choose(variant_2), variant_name_failed, {});
	EXPECT_EQ(deeds(), (call_list{node_count_of(variant_2), bom_value_of(variant_2), variant_name_formed}));
}

INSTANTIATE_TEST_SUITE_P(giving, config_variant_name, testing::Values(-1, -22, -2147483647),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(config_table_choice, takes_only_a_negative_result_of_forming_the_name_for_a_failure)
{
	harness::fail("sprintf_s", 0);
	expect_failure(choose(variant_2), xml_node_unreadable, {variant_unreadable(variant_2, 2)});
	EXPECT_EQ(deeds().back(), list_of(variant_2, ""));
}

// ------------------------------------------------------------------------------------ services that succeed without an answer

TEST_F(config_table_choice, node_count_that_was_not_written_is_0)
{
	harness::fail("xml_get_specified_node_num", 0);
	const outcome made = choose(single);
	EXPECT_EQ(made.code, 0u);
	EXPECT_EQ(u32_at(made.count, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_section_table});
}

TEST_F(config_table_choice, bom_value_that_was_not_written_is_0)
{
	harness::fail("drv_board_get_bom_value", 0);
	expect_list(choose(variant_2), 1);
	EXPECT_EQ(deeds().back(), list_of(variant_2, "attr"));
}

TEST_F(config_table_choice, list_that_was_not_written_is_empty)
{
	harness::fail("xml_get_entry_list", 0);
	const outcome made = choose(single);
	EXPECT_EQ(made.code, 0u);
	EXPECT_EQ(made.count, bytes(4, 0));
	EXPECT_EQ(made.list, bytes(8, 0));
}

TEST_F(config_table_choice, list_that_was_not_written_makes_no_entry)
{
	harness::fail("xml_get_entry_list", 0);
	EXPECT_EQ(harness::call("drv_flash_init", {single}), 0u);
	EXPECT_FALSE(has_entry(single));
	EXPECT_FALSE(called("linux_kcalloc"));
	EXPECT_EQ(harness::log(), log_lines{});
}

class config_table_failure : public config_table_choice {
protected:
	static void expect_from_table_reader(uint32_t instance, uint32_t code)
	{
		bytes sections(8, mark), count(4, mark);
		EXPECT_EQ(harness::call("get_xml_flash_cfg", {instance, &sections, &count}), code);
		EXPECT_EQ(sections, bytes(8, mark));
		EXPECT_EQ(count, bytes(4, mark));
	}
};

TEST_F(config_table_failure, of_a_missing_variant_reaches_the_table_reader)
{
	expect_from_table_reader(variant_missing, xml_node_unreadable);
}

TEST_F(config_table_failure, of_a_variants_name_reaches_the_table_reader)
{
	harness::fail("sprintf_s", -1);
	expect_from_table_reader(variant_2, variant_name_failed);
}

} // namespace
} // namespace conformance
