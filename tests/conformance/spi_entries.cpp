// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Entries with an instance's settings: which one is taken, what is read from it, what is put in when it lacks something; and the two
// readers of elements.
#include "spi_words.hpp"

namespace conformance {
namespace {

constexpr uint8_t untouched = 0xEE;
constexpr uint32_t untouched_number = 0xEEEEEEEE;

class spi_entries : public on_spi_board {
protected:
	uint32_t select(uint32_t instance, uint32_t card) { return harness::call("drv_flash_get_spi_info", {instance, card, &block}); }

	uint32_t field(std::size_t position) const { return u32_at(block, 4 * position); }

	bytes block = bytes(settings_size, untouched);
};

class spi_entry_selection : public spi_entries, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_entry_selection, takes_the_entry_of_the_card)
{
	const uint32_t position = GetParam(), card = position + 1;
	EXPECT_EQ(select(0x10, card), 0u);
	EXPECT_EQ(field(2), 10 * (card + 1) + 1);
	EXPECT_EQ(field(3), 10 * (card + 1) + 2);
	EXPECT_EQ(field(4), 10 * (card + 1) + 3);
}

TEST_P(spi_entry_selection, reads_entries_up_to_that_of_the_card)
{
	const uint32_t position = GetParam();
	EXPECT_EQ(select(0x10, position + 1), 0u);
	call_list expected = {entry_count(0x10)};
	for (uint32_t i = 0; i <= position; ++i)
		expected = joined({expected, entry_asked(0x10, "entry" + decimal(i))});
	EXPECT_EQ(deeds(), joined({expected, entry_read(0x10, "entry" + decimal(position))}));
}

TEST_P(spi_entry_selection, says_which_entries_before_it_differ)
{
	const uint32_t position = GetParam();
	EXPECT_EQ(select(0x10, position + 1), 0u);
	log_lines expected;
	for (uint32_t i = 0; i < position; ++i)
		expected.push_back(entry_differs(0x10, i));
	EXPECT_EQ(harness::log(), expected);
}

INSTANTIATE_TEST_SUITE_P(at, spi_entry_selection, testing::Values(0u, 1u, 2u), [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_entries, leave_the_instances_to_the_caller)
{
	EXPECT_EQ(select(0x10, 1), 0u);
	EXPECT_EQ(field(0), untouched_number);
	EXPECT_EQ(field(1), untouched_number);
}

TEST_F(spi_entries, of_which_none_matches_say_so_one_by_one)
{
	EXPECT_EQ(select(0x10, 4), failed);
	EXPECT_EQ(harness::log(), (log_lines{entry_differs(0x10, 0), entry_differs(0x10, 1), entry_differs(0x10, 2)}));
	EXPECT_EQ(block, bytes(settings_size, untouched));
}

TEST_F(spi_entries, of_which_none_matches_end_with_the_last)
{
	EXPECT_EQ(select(0x10, 0), failed);
	EXPECT_EQ(deeds(),
		  joined({{entry_count(0x10)}, entry_asked(0x10, "entry0"), entry_asked(0x10, "entry1"), entry_asked(0x10, "entry2")}));
}

TEST_F(spi_entries, that_differ_are_named_with_two_blanks)
{
	EXPECT_EQ(select(0x10, 2), 0u);
	EXPECT_EQ(calls_of("drv_log_record"), call_list{message(own, ordinary, "inst %#x entry %u  is not match")});
}

TEST_F(spi_entries, that_both_match_give_the_first)
{
	EXPECT_EQ(select(0x47, no_card), 0u);
	EXPECT_EQ(field(2), 51u);
	EXPECT_EQ(field(3), 52u);
	EXPECT_EQ(field(4), 53u);
	EXPECT_EQ(times_called("xml_get_element_value_u32"), 8);
}

TEST_F(spi_entries, that_are_none_fail_without_a_message)
{
	EXPECT_EQ(select(0x48, no_card), failed);
	EXPECT_EQ(harness::calls(), call_list{entry_count(0x48)});
	EXPECT_EQ(block, bytes(settings_size, untouched));
}

TEST_F(spi_entries, with_a_gap_end_the_selection_there)
{
	EXPECT_EQ(select(0x41, no_card), xml_no_entry);
	EXPECT_EQ(harness::log(), (log_lines{entry_differs(0x41, 0), element_unreadable("entry1", "flash_id")}));
	EXPECT_EQ(deeds(), joined({{entry_count(0x41)}, entry_asked(0x41, "entry0"), entry_asked(0x41, "entry1")}));
}

TEST_F(spi_entries, with_a_gap_are_good_up_to_it)
{
	EXPECT_EQ(select(0x41, 7), xml_no_element);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("entry0", "sfc_chip_id")});
}

TEST_F(spi_entries, of_which_one_has_no_card_end_the_selection_there)
{
	EXPECT_EQ(select(0x42, no_card), xml_no_element);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("entry0", "flash_id")});
	EXPECT_EQ(block, bytes(settings_size, untouched));
}

TEST_F(spi_entries, whose_card_is_no_number_end_the_selection_there)
{
	EXPECT_EQ(select(0x43, no_card), xml_bad_number);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("entry0", "flash_id")});
}

class spi_entries_count : public spi_entries, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_entries_count, that_is_unreadable_is_a_failure_of_its_own)
{
	harness::fail("xml_get_entry_num", GetParam());
	EXPECT_EQ(select(0x10, 1), no_entry_count);
	EXPECT_EQ(harness::log(), log_lines{entries_unreadable(0x10)});
	EXPECT_EQ(harness::calls(), (call_list{entry_count(0x10), message(own, serious, "inst %#x node %s get entry list failed")}));
	EXPECT_EQ(block, bytes(settings_size, untouched));
}

INSTANTIATE_TEST_SUITE_P(with_status, spi_entries_count, testing::Values(1u, xml_no_node, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_entries, of_an_instance_without_the_node_cannot_be_counted)
{
	EXPECT_EQ(select(bare_instance, 1), no_entry_count);
	EXPECT_EQ(harness::log(), log_lines{entries_unreadable(0x39)});
}

TEST_F(spi_entries, with_a_count_that_is_not_told_are_none)
{
	harness::fail("xml_get_entry_num", 0);
	EXPECT_EQ(select(0x10, 1), failed);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_entries, whose_name_is_empty_are_asked_for_all_the_same)
{
	harness::fail("sprintf_s", 0);
	EXPECT_EQ(select(0x10, 1), xml_no_entry);
	EXPECT_EQ(deeds(), (call_list{entry_count(0x10), entry_named, element_of(0x10, "", "flash_id")}));
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("", "flash_id")});
}

TEST_F(spi_entries, whose_card_is_not_told_are_those_of_card_0)
{
	harness::fail("xml_get_element_value_u32", 0);
	EXPECT_EQ(select(0x10, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_entries, whose_name_cannot_be_formed_fail_without_a_message)
{
	harness::fail("sprintf_s", -1, 2);
	EXPECT_EQ(select(0x10, 3), failed);
	EXPECT_EQ(harness::log(), log_lines{entry_differs(0x10, 0)});
	EXPECT_EQ(times_called("xml_get_element_value_u32"), 1);
}

// ---------------------------------------------------------------------------------------------------------------- required settings

struct required_setting {
	const char *element;
	uint32_t flawed_instance; // that lacks it
	unsigned read;		  // of all reads, from 1
	std::size_t written;	  // settings read before it
};

const auto required = testing::Values(required_setting{"sfc_chip_id", 0x44, 2, 0}, required_setting{"sfc_ctrl", 0x45, 3, 1},
				      required_setting{"sfc_cs", 0x46, 4, 2});

class spi_required_setting : public spi_entries, public testing::WithParamInterface<required_setting> {
protected:
	// Fields of settings that were read before stay written, all others as they were.
	void expect_written(const std::vector<uint32_t> &values) const
	{
		for (std::size_t i = 0; i < 8; ++i) {
			const bool written = i >= 2 && i < 2 + GetParam().written;
			EXPECT_EQ(field(i), written ? values[i - 2] : untouched_number) << "field " << i;
		}
	}
};

TEST_P(spi_required_setting, that_is_missing_ends_the_reading)
{
	EXPECT_EQ(select(GetParam().flawed_instance, no_card), xml_no_element);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("entry0", GetParam().element)});
	EXPECT_EQ(calls_of("xml_get_element_value_u32").back(), element_of(GetParam().flawed_instance, "entry0", GetParam().element));
	expect_written({1, 2, 3});
}

TEST_P(spi_required_setting, that_cannot_be_read_gives_the_parsers_status)
{
	harness::fail("xml_get_element_value_u32", 0x1234, GetParam().read);
	EXPECT_EQ(select(0x20, no_card), 0x1234u);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("entry0", GetParam().element)});
	expect_written({1, 2, 3});
}

INSTANTIATE_TEST_SUITE_P(of, spi_required_setting, required, [](const auto &row) { return row.param.element; });

// ---------------------------------------------------------------------------------------------------------------- optional settings

class spi_optional_settings : public spi_entries {
protected:
	uint32_t read(uint32_t instance, const char *entry = "entry0")
	{
		return harness::call("drv_flash_get_unrequired_spi_cfg", {instance, entry, &block});
	}

	void expect_lock(uint32_t type, uint32_t value, uint32_t unlock_value) const
	{
		EXPECT_EQ(field(5), type);
		EXPECT_EQ(field(6), value);
		EXPECT_EQ(field(7), unlock_value);
		EXPECT_EQ(bytes(block.begin(), block.begin() + 20), bytes(20, untouched));
	}
};

TEST_F(spi_optional_settings, are_read)
{
	EXPECT_EQ(read(0x22), 0u);
	expect_lock(2, 0x11, 0x22);
}

TEST_F(spi_optional_settings, are_read_in_order)
{
	read(0x22);
	EXPECT_EQ(harness::calls(), (call_list{element_of(0x22, "entry0", "hardlock_type"), element_of(0x22, "entry0", "hardlock_val"),
					       element_of(0x22, "entry0", "hardunlock_val")}));
}

TEST_F(spi_optional_settings, are_read_from_the_entry_that_is_named)
{
	EXPECT_EQ(read(0x10, "entry1"), 0u);
	expect_lock(0, 0x77, 0x88);
}

TEST_F(spi_optional_settings, that_are_missing_have_defaults)
{
	EXPECT_EQ(read(0x20), xml_no_element);
	expect_lock(1, 0xFFFFFFFF, 0xFFFFFFFF);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_optional_settings, that_are_no_numbers_have_defaults)
{
	EXPECT_EQ(read(0x49), xml_bad_number);
	expect_lock(1, 0xFFFFFFFF, 0xFFFFFFFF);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_optional_settings, are_read_one_by_one)
{
	EXPECT_EQ(read(0x4A), xml_no_element);
	expect_lock(1, 5, 0xFFFFFFFF);
}

TEST_F(spi_optional_settings, are_of_no_consequence_to_the_selection)
{
	EXPECT_EQ(select(0x49, no_card), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(field(5), 1u);
}

struct unread_setting {
	unsigned read;
	settings expected;
	uint32_t status;
};

class spi_unread_optional_setting : public spi_optional_settings, public testing::WithParamInterface<unread_setting> {};

TEST_P(spi_unread_optional_setting, has_its_default_and_the_others_their_values)
{
	harness::fail("xml_get_element_value_u32", 0x99, GetParam().read);
	EXPECT_EQ(read(0x22), GetParam().status);
	expect_lock(GetParam().expected.hardlock_type, GetParam().expected.hardlock_val, GetParam().expected.hardunlock_val);
	EXPECT_EQ(harness::log(), log_lines());
}

// The status is that of the last read.
INSTANTIATE_TEST_SUITE_P(number, spi_unread_optional_setting,
			 testing::Values(unread_setting{1, {0, 0, 0, 0, 0, 1, 0x11, 0x22}, 0},
					 unread_setting{2, {0, 0, 0, 0, 0, 2, 0xFFFFFFFF, 0x22}, 0},
					 unread_setting{3, {0, 0, 0, 0, 0, 2, 0x11, 0xFFFFFFFF}, 0x99}),
			 [](const auto &row) { return as_case_name(row.param.read); });

// ---------------------------------------------------------------------------------------------------------------- readers of elements

class spi_element : public on_spi_board {
protected:
	static uint32_t read_number(const char *node, const char *entry, const char *element, bytes *value)
	{
		return harness::call("drv_flash_xml_get_value_u32", {0x50, node, entry, element, value});
	}

	static uint32_t read_text(const char *node, const char *entry, const char *element, bytes *text)
	{
		return harness::call("drv_flash_xml_get_attr_string",
				     {0x50, node, entry, element, text, static_cast<uint32_t>(text->size())});
	}
};

TEST_F(spi_element, is_read_as_a_number)
{
	bytes value(4, untouched);
	EXPECT_EQ(read_number("spi_flash_map", "whole", "size", &value), 0u);
	EXPECT_EQ(u32_at(value, 0), 0x2000u);
	EXPECT_EQ(harness::calls(), call_list{element_of(0x50, "whole", "size", "spi_flash_map")});
}

TEST_F(spi_element, that_is_no_number_gives_the_parsers_status)
{
	bytes value(4, untouched);
	EXPECT_EQ(read_number("spi_flash_map", "bad_size", "size", &value), xml_bad_number);
	EXPECT_EQ(value, bytes(4, untouched));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_element, of_an_absent_node_gives_the_parsers_status)
{
	bytes value(4, untouched);
	EXPECT_EQ(read_number("no_such_node", "whole", "size", &value), xml_no_node);
	EXPECT_EQ(harness::calls(), call_list{element_of(0x50, "whole", "size", "no_such_node")});
}

TEST_F(spi_element, is_read_as_a_text)
{
	bytes text(7, untouched);
	EXPECT_EQ(read_text("spi_flash_map", "whole", "mtd_name", &text), 0u);
	EXPECT_EQ(text, (bytes{'k', 'e', 'r', 'n', 'e', 'l', 0}));
	EXPECT_EQ(harness::calls(),
		  call_list{"xml_get_element_string(0x50, \"flash_mng\", \"spi_flash_map\", \"whole\", \"mtd_name\", -, 7)"});
}

TEST_F(spi_element, too_long_for_its_buffer_gives_the_parsers_status)
{
	bytes text(6, untouched);
	EXPECT_EQ(read_text("spi_flash_map", "whole", "mtd_name", &text), xml_text_too_long);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_element, of_an_absent_entry_gives_the_parsers_status)
{
	bytes text(32, untouched);
	EXPECT_EQ(read_text("spi_flash_map", "no_such_entry", "mtd_name", &text), xml_no_entry);
}

class spi_element_status : public spi_element, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_element_status, of_the_parser_is_passed_on)
{
	harness::fail("xml_get_element_value_u32", GetParam());
	harness::fail("xml_get_element_string", GetParam());
	bytes value(4), text(32);
	EXPECT_EQ(read_number("spi_flash_map", "whole", "size", &value), GetParam());
	EXPECT_EQ(read_text("spi_flash_map", "whole", "mtd_name", &text), GetParam());
	EXPECT_EQ(harness::log(), log_lines());
}

INSTANTIATE_TEST_SUITE_P(value, spi_element_status, testing::Values(1u, 0x7FFFFFFFu, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

} // namespace
} // namespace conformance
