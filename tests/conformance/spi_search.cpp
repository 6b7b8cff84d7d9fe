// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Where an instance's settings come from: its own configuration or its parent's.
#include "spi_words.hpp"

namespace conformance {
namespace {

constexpr uint8_t untouched = 0xEE;

class spi_search : public on_spi_board {
protected:
	uint32_t search(uint32_t instance) { return harness::call("drv_flash_get_sfc_config", {instance, &block}); }

	void expect_untouched() const { EXPECT_EQ(block, bytes(settings_size, untouched)); }

	bytes block = bytes(settings_size, untouched);
};

// What the search makes of settings: it leaves the instance id to its caller.
bytes found_settings(const settings &flash)
{
	bytes expected = in_memory(flash);
	std::fill_n(expected.begin(), 4, untouched);
	return expected;
}

struct found_flash {
	const char *label;
	settings flash;
};

class spi_search_finds : public spi_search, public testing::WithParamInterface<found_flash> {};

TEST_P(spi_search_finds, all_settings)
{
	EXPECT_EQ(search(GetParam().flash.inst_id), 0u);
	EXPECT_EQ(block, found_settings(GetParam().flash));
}

INSTANTIATE_TEST_SUITE_P(of, spi_search_finds,
			 testing::Values(found_flash{"an_instance", unlocked_flash}, found_flash{"a_locked_instance", locked_flash},
					 found_flash{"another_lock_type", create_locked_flash},
					 found_flash{"lock_type_1", never_locked_flash}, found_flash{"extreme_values", extreme_flash},
					 found_flash{"the_first_card", first_card}, found_flash{"the_second_card", second_card},
					 found_flash{"the_third_card", third_card}),
			 [](const auto &row) { return row.param.label; });

TEST_F(spi_search, in_the_instance_itself_is_one_pass)
{
	EXPECT_EQ(search(0x20), 0u);
	EXPECT_EQ(harness::calls(), settings_read(0x20));
}

TEST_F(spi_search, in_the_parent_is_two_passes)
{
	EXPECT_EQ(search(0x31), 0u);
	EXPECT_EQ(harness::calls(), joined({{existence(0x31), parent_of(0x31)}, settings_read(0x10)}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_search, in_the_parent_says_which_cards_differ)
{
	EXPECT_EQ(search(0x33), 0u);
	EXPECT_EQ(harness::log(), (log_lines{entry_differs(0x10, 0), entry_differs(0x10, 1)}));
}

TEST_F(spi_search, prefers_the_instances_own_settings)
{
	EXPECT_EQ(search(0x20), 0u);
	EXPECT_EQ(u32_at(block, 4), 0x20u);
	EXPECT_FALSE(called("drv_common_parse_parent_id_card_id"));
}

TEST_F(spi_search, in_the_instance_itself_wants_no_card)
{
	EXPECT_EQ(search(0x40), failed);
	EXPECT_EQ(harness::log(), log_lines{entry_differs(0x40, 0)});
	expect_untouched();
}

TEST_F(spi_search, does_not_go_on_to_the_parent_after_a_mismatch)
{
	EXPECT_EQ(search(0x40), failed);
	EXPECT_EQ(deeds(), joined({{existence(0x40), entry_count(0x40)}, entry_asked(0x40, "entry0")}));
}

TEST_F(spi_search, without_a_matching_card_fails)
{
	EXPECT_EQ(search(0x34), failed);
	EXPECT_EQ(harness::log(), (log_lines{entry_differs(0x10, 0), entry_differs(0x10, 1), entry_differs(0x10, 2)}));
	expect_untouched();
}

TEST_F(spi_search, of_a_carrier_by_itself_finds_no_card)
{
	EXPECT_EQ(search(0x10), failed);
	EXPECT_EQ(harness::log(), (log_lines{entry_differs(0x10, 0), entry_differs(0x10, 1), entry_differs(0x10, 2)}));
}

TEST_F(spi_search, never_looks_at_a_grandparent)
{
	EXPECT_EQ(search(0x35), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x35), parent_of(0x35), existence(0x12), parent_of(0x12)}));
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "there is no spi config info, inst_id 0x35")});
	expect_untouched();
}

TEST_F(spi_search, asks_for_a_grandparent_all_the_same)
{
	EXPECT_EQ(search(0x36), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x36), parent_of(0x36), existence(0x13), parent_of(0x13)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x36)});
	expect_untouched();
}

TEST_F(spi_search, in_a_parent_that_is_not_described_fails_at_its_parent)
{
	EXPECT_EQ(search(0x38), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x38), parent_of(0x38), existence(0x99), parent_of(0x99)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x38)});
}

TEST_F(spi_search, of_an_instance_without_parent_fails)
{
	EXPECT_EQ(search(bare_instance), failed);
	EXPECT_EQ(deeds(), (call_list{existence(bare_instance), parent_of(bare_instance)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(bare_instance)});
	expect_untouched();
}

TEST_F(spi_search, of_an_unknown_instance_fails)
{
	EXPECT_EQ(search(unknown_instance), failed);
	EXPECT_EQ(deeds(), (call_list{existence(unknown_instance), parent_of(unknown_instance)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(unknown_instance)});
}

TEST_F(spi_search, names_instance_0_as_the_kernel_prints_it)
{
	EXPECT_EQ(search(0), failed);
	EXPECT_EQ(harness::log(), log_lines{no_parent(0)});
}

TEST_F(spi_search, of_the_default_instance_has_nowhere_else_to_look)
{
	EXPECT_EQ(search(default_instance), failed);
	EXPECT_EQ(deeds(), call_list{existence(default_instance)});
	EXPECT_EQ(harness::log(), log_lines{no_settings});
	expect_untouched();
}

TEST_F(spi_search, ends_at_the_default_instance)
{
	EXPECT_EQ(search(0x37), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x37), parent_of(0x37), existence(default_instance)}));
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "there is no spi config info, inst_id 0x37")});
}

TEST_F(spi_search, ends_its_failed_searches_with_their_message)
{
	EXPECT_EQ(search(default_instance), failed);
	EXPECT_EQ(harness::calls().back(), message(own, ordinary, "there is no spi config info, inst_id %#x"));
	EXPECT_EQ(search(bare_instance), failed);
	EXPECT_EQ(harness::calls().back(), message(own, ordinary, "can not get parent inst id, invalid inst_id %#x"));
}

TEST_F(spi_search, passes_a_parser_status_on_without_a_message_of_its_own)
{
	EXPECT_EQ(search(0x41), xml_no_entry);
	EXPECT_EQ(harness::log(), (log_lines{entry_differs(0x41, 0), element_unreadable("entry1", "flash_id")}));
}

TEST_F(spi_search, passes_a_status_of_the_parents_settings_on)
{
	EXPECT_EQ(search(0x4B), xml_no_element);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("entry0", "sfc_chip_id")});
}

TEST_F(spi_search, passes_an_unreadable_count_on)
{
	harness::fail("xml_get_entry_num", 7);
	EXPECT_EQ(search(0x20), no_entry_count);
	EXPECT_EQ(harness::log(), log_lines{entries_unreadable(0x20)});
	expect_untouched();
}

TEST_F(spi_search, writes_the_configuring_instance_only_at_success)
{
	EXPECT_EQ(search(0x46), xml_no_element);
	EXPECT_EQ(u32_at(block, 4), 0xEEEEEEEEu);
	EXPECT_EQ(u32_at(block, 8), 1u);
	EXPECT_EQ(u32_at(block, 12), 2u);
	EXPECT_EQ(u32_at(block, 16), 0xEEEEEEEEu);
}

class spi_search_existence : public spi_search, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_search_existence, that_cannot_be_told_counts_as_absent)
{
	harness::fail("xml_is_node_exist", GetParam());
	EXPECT_EQ(search(0x21), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x21), parent_of(0x21)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x21)});
	expect_untouched();
}

TEST_P(spi_search_existence, that_cannot_be_told_leads_to_the_parent)
{
	harness::fail("xml_is_node_exist", GetParam());
	EXPECT_EQ(search(0x20), 0u);
	EXPECT_EQ(u32_at(block, 4), 0x10u);
	EXPECT_EQ(u32_at(block, 8), 21u);
}

TEST_P(spi_search_existence, of_the_parents_node_that_cannot_be_told_fails_at_its_parent)
{
	harness::fail("xml_is_node_exist", GetParam(), 2);
	EXPECT_EQ(search(0x31), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x31), parent_of(0x31), existence(0x10), parent_of(0x10)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x31)});
}

INSTANTIATE_TEST_SUITE_P(with_status, spi_search_existence, testing::Values(1u, xml_no_node, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

class spi_search_parent : public spi_search, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_search_parent, that_cannot_be_told_ends_the_search)
{
	harness::fail("drv_common_parse_parent_id_card_id", GetParam());
	EXPECT_EQ(search(0x31), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x31), parent_of(0x31)}));
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x31)});
}

TEST_P(spi_search_parent, of_the_parent_that_cannot_be_told_ends_the_search)
{
	harness::fail("drv_common_parse_parent_id_card_id", GetParam(), 2);
	EXPECT_EQ(search(0x35), failed);
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x35)});
}

INSTANTIATE_TEST_SUITE_P(with_status, spi_search_parent, testing::Values(1u, 0x70030003u, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_search, with_a_parent_that_is_not_told_ends_at_the_default_instance)
{
	harness::fail("drv_common_parse_parent_id_card_id", 0);
	EXPECT_EQ(search(0x31), failed);
	EXPECT_EQ(deeds(), (call_list{existence(0x31), parent_of(0x31), existence(default_instance)}));
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "there is no spi config info, inst_id 0x31")});
}

TEST_F(spi_search, with_an_existence_that_is_not_told_finds_nothing)
{
	harness::fail_always("xml_is_node_exist", 0);
	EXPECT_EQ(search(0x31), failed);
	EXPECT_FALSE(called("xml_get_entry_num"));
}

// A failing service may have told the existence all the same: the search goes on, and its verdict believes what was told.
class spi_search_told_with_failure : public spi_search {
protected:
	static void tell(uint32_t existence, uint32_t status, unsigned nth)
	{
		bytes told(4);
		std::memcpy(told.data(), &existence, sizeof(existence));
		harness::forge("xml_is_node_exist", status, 3, told, nth);
	}
};

TEST_F(spi_search_told_with_failure, existence_in_both_passes_succeeds_with_nothing_read)
{
	tell(1, 5, 1);
	tell(1, 6, 2);
	EXPECT_EQ(search(0x35), 0u);
	EXPECT_EQ(deeds(), (call_list{existence(0x35), parent_of(0x35), existence(0x12), parent_of(0x12)}));
	EXPECT_EQ(harness::log(), log_lines());
	expect_untouched();
}

TEST_F(spi_search_told_with_failure, existence_in_the_first_pass_lasts_when_the_second_tells_nothing)
{
	tell(1, 5, 1);
	harness::fail("xml_is_node_exist", 6, 2);
	EXPECT_EQ(search(0x35), 0u);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_search_told_with_failure, existence_in_the_first_pass_is_withdrawn_by_the_second)
{
	tell(1, 5, 1);
	EXPECT_EQ(search(0x35), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "there is no spi config info, inst_id 0x35")});
}

TEST_F(spi_search_told_with_failure, existence_in_the_second_pass_succeeds)
{
	tell(1, 0xFFFFFFFF, 2);
	EXPECT_EQ(search(0x35), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_FALSE(called("xml_get_entry_num"));
}

TEST_F(spi_search_told_with_failure, existence_at_the_default_instance_succeeds)
{
	tell(1, 5, 1);
	EXPECT_EQ(search(default_instance), 0u);
	EXPECT_EQ(deeds(), call_list{existence(default_instance)});
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_search_told_with_failure, existence_does_not_outweigh_a_parent_that_cannot_be_told)
{
	tell(1, 5, 1);
	tell(1, 5, 2);
	EXPECT_EQ(search(0x36), failed);
	EXPECT_EQ(harness::log(), log_lines{no_parent(0x36)});
}

TEST_F(spi_search_told_with_failure, existence_makes_a_record_of_zeros)
{
	tell(1, 5, 1);
	tell(1, 5, 2);
	const uint64_t record = find(0x35);
	ASSERT_NE(record, 0u);
	EXPECT_EQ(settings_of(record), in_memory({0x35, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(spi_search_told_with_failure, any_other_existence_is_none)
{
	tell(2, 0, 1);
	tell(0xFFFFFFFF, 0, 2);
	EXPECT_EQ(search(0x35), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "there is no spi config info, inst_id 0x35")});
	EXPECT_FALSE(called("xml_get_entry_num"));
}

class spi_search_of_default : public spi_search {
protected:
	void prepare() override { harness::configure("spi_default"); }
};

TEST_F(spi_search_of_default, finds_its_own_settings)
{
	EXPECT_EQ(search(default_instance), 0u);
	EXPECT_EQ(block, found_settings({default_instance, default_instance, 21, 22, 23}));
}

TEST_F(spi_search_of_default, finds_the_settings_of_its_card)
{
	EXPECT_EQ(search(0x31), 0u);
	EXPECT_EQ(block, found_settings({0x31, default_instance, 11, 12, 13}));
}

} // namespace
} // namespace conformance
