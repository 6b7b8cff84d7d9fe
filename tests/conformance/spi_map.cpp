// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One entry of an SPI flash's partition map, as a partition.
#include "spi_words.hpp"

namespace conformance {
namespace {

constexpr uint8_t untouched = 0xEE;
constexpr uint32_t untouched_number = 0xEEEEEEEE, usual_instance = 0x50;
constexpr std::size_t part_size = 40, name_size = 32;

std::string text_of(std::string_view entry)
{
	return "xml_get_element_string(0x50, \"flash_mng\", \"spi_flash_map\", " + quoted(entry) + ", \"mtd_name\", -, 32)";
}

std::string presence_of(std::string_view entry, std::string_view element)
{
	return "xml_is_element_exist(0x50, \"flash_mng\", \"spi_flash_map\", " + quoted(entry) + ", " + quoted(element) + ")";
}

std::string number_of(std::string_view entry, std::string_view element)
{
	return element_of(usual_instance, entry, element, "spi_flash_map");
}

log_line not_present(const std::string &entry, const std::string &element)
{
	return own_log(ordinary, "spi flash " + entry + " get " + element + " not exist");
}

const std::string name_formed = "sprintf_s(-, 32, \"mtd_%08x_%s\")";
const log_line name_does_not_fit = own_log(serious, "set mtd name failed");

class spi_map : public on_spi_board {
protected:
	uint32_t parse(const char *entry, uint32_t instance = usual_instance)
	{
		return harness::call("drv_flash_spi_chip_entry_parse", {instance, entry, &part});
	}

	uint32_t offset() const { return u32_at(part, 0); }
	uint32_t size() const { return u32_at(part, 4); }

	std::string name() const
	{
		const auto start = part.begin() + 8;
		return {start, std::find(start, part.end(), 0)};
	}

	void expect_only_named(const std::string &expected) const
	{
		EXPECT_EQ(name(), expected);
		EXPECT_EQ(offset(), untouched_number);
		EXPECT_EQ(size(), untouched_number);
	}

	bytes part = bytes(part_size, untouched);
};

TEST_F(spi_map, gives_name_offset_and_size)
{
	EXPECT_EQ(parse("whole"), 0u);
	EXPECT_EQ(name(), "mtd_00000050_kernel");
	EXPECT_EQ(offset(), 0x1000u);
	EXPECT_EQ(size(), 0x2000u);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_map, is_read_in_order)
{
	EXPECT_EQ(parse("whole"), 0u);
	EXPECT_EQ(harness::calls(), (call_list{text_of("whole"), name_formed, presence_of("whole", "offset"), presence_of("whole", "size"),
					       number_of("whole", "offset"), number_of("whole", "size")}));
}

TEST_F(spi_map, names_a_partition_after_its_instance_in_eight_digits)
{
	EXPECT_EQ(parse("whole", 0xABCDEF01), 0u);
	EXPECT_EQ(name(), "mtd_abcdef01_kernel");
	EXPECT_EQ(offset(), 3u);
	EXPECT_EQ(size(), 4u);
}

TEST_F(spi_map, takes_the_largest_numbers)
{
	EXPECT_EQ(parse("largest"), 0u);
	EXPECT_EQ(offset(), 0xFFFFFFFFu);
	EXPECT_EQ(size(), 0xFFFFFFFFu);
}

TEST_F(spi_map, takes_a_name_of_17_characters)
{
	EXPECT_EQ(parse("of_17"), 0u);
	EXPECT_EQ(name(), "mtd_00000050_abcdefghijklmnopq");
}

TEST_F(spi_map, takes_a_name_of_18_characters)
{
	EXPECT_EQ(parse("of_18"), 0u);
	EXPECT_EQ(name(), "mtd_00000050_abcdefghijklmnopqr");
	EXPECT_EQ(part.back(), 0);
	EXPECT_EQ(offset(), 1u);
	EXPECT_EQ(size(), 2u);
}

class spi_map_long_name : public spi_map, public testing::WithParamInterface<const char *> {};

TEST_P(spi_map_long_name, does_not_fit)
{
	EXPECT_EQ(parse(GetParam()), failed);
	EXPECT_EQ(harness::log(), log_lines{name_does_not_fit});
	EXPECT_EQ(harness::calls(), (call_list{text_of(GetParam()), name_formed, message(own, serious, "set mtd name failed")}));
	EXPECT_EQ(offset(), untouched_number);
	EXPECT_EQ(size(), untouched_number);
}

INSTANTIATE_TEST_SUITE_P(characters, spi_map_long_name, testing::Values("of_19", "of_31"), [](const auto &row) { return row.param; });

TEST_F(spi_map, cannot_read_a_name_of_32_characters)
{
	EXPECT_EQ(parse("of_32"), xml_text_too_long);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("of_32", "mtd_name")});
	EXPECT_EQ(harness::calls(), (call_list{text_of("of_32"), message(own, serious, "<%s> get %s failed")}));
	EXPECT_EQ(part, bytes(part_size, untouched));
}

TEST_F(spi_map, needs_a_name)
{
	EXPECT_EQ(parse("nameless"), xml_no_element);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("nameless", "mtd_name")});
	EXPECT_EQ(part, bytes(part_size, untouched));
}

TEST_F(spi_map, needs_the_entry)
{
	EXPECT_EQ(parse("no_such_entry"), xml_no_entry);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("no_such_entry", "mtd_name")});
}

TEST_F(spi_map, needs_the_node)
{
	EXPECT_EQ(parse("whole", 0x20), xml_no_node);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("whole", "mtd_name")});
}

TEST_F(spi_map, without_offset_gives_the_name)
{
	EXPECT_EQ(parse("no_offset"), 0u);
	EXPECT_EQ(harness::log(), log_lines{not_present("no_offset", "offset")});
	EXPECT_EQ(deeds(), (call_list{text_of("no_offset"), name_formed, presence_of("no_offset", "offset")}));
	expect_only_named("mtd_00000050_k");
}

TEST_F(spi_map, without_size_gives_the_name)
{
	EXPECT_EQ(parse("no_size"), 0u);
	EXPECT_EQ(harness::log(), log_lines{not_present("no_size", "size")});
	EXPECT_EQ(deeds(), (call_list{text_of("no_size"), name_formed, presence_of("no_size", "offset"), presence_of("no_size", "size")}));
	expect_only_named("mtd_00000050_k");
}

TEST_F(spi_map, without_both_misses_the_offset)
{
	EXPECT_EQ(parse("only_named"), 0u);
	EXPECT_EQ(harness::log(), log_lines{not_present("only_named", "offset")});
	expect_only_named("mtd_00000050_k");
}

TEST_F(spi_map, with_a_bad_offset_fails)
{
	EXPECT_EQ(parse("bad_offset"), xml_bad_number);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("bad_offset", "offset")});
	EXPECT_EQ(deeds().back(), number_of("bad_offset", "offset"));
	expect_only_named("mtd_00000050_k");
}

TEST_F(spi_map, with_a_bad_size_fails_with_the_offset_written)
{
	EXPECT_EQ(parse("bad_size"), xml_bad_number);
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("bad_size", "size")});
	EXPECT_EQ(name(), "mtd_00000050_k");
	EXPECT_EQ(offset(), 1u);
	EXPECT_EQ(size(), untouched_number);
}

class spi_map_status : public spi_map, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_map_status, for_the_name_is_passed_on)
{
	harness::fail("xml_get_element_string", GetParam());
	EXPECT_EQ(parse("whole"), GetParam());
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("whole", "mtd_name")});
}

TEST_P(spi_map_status, for_the_offset_is_passed_on)
{
	harness::fail("xml_get_element_value_u32", GetParam());
	EXPECT_EQ(parse("whole"), GetParam());
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("whole", "offset")});
}

TEST_P(spi_map_status, for_the_size_is_passed_on)
{
	harness::fail("xml_get_element_value_u32", GetParam(), 2);
	EXPECT_EQ(parse("whole"), GetParam());
	EXPECT_EQ(harness::log(), log_lines{element_unreadable("whole", "size")});
}

INSTANTIATE_TEST_SUITE_P(of_parser, spi_map_status, testing::Values(1u, 0x80000000u, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_map, whose_name_cannot_be_formed_fails)
{
	harness::fail("sprintf_s", -1);
	EXPECT_EQ(parse("whole"), failed);
	EXPECT_EQ(harness::log(), log_lines{name_does_not_fit});
}

TEST_F(spi_map, whose_name_is_formed_without_a_character_goes_on)
{
	harness::fail("sprintf_s", 0);
	EXPECT_EQ(parse("whole"), 0u);
	EXPECT_NE(offset(), untouched_number);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(spi_map, with_a_name_that_was_left_without_an_end_is_refused)
{
	harness::forge("xml_get_element_string", 0, 5, bytes(name_size, 'n'));
	EXPECT_EQ(parse("whole"), failed);
	EXPECT_EQ(harness::log(), log_lines{name_does_not_fit});
}

TEST_F(spi_map, with_a_name_that_is_not_told_names_the_instance)
{
	harness::fail("xml_get_element_string", 0);
	EXPECT_EQ(parse("whole"), 0u);
	EXPECT_EQ(name(), "mtd_00000050_");
}

} // namespace
} // namespace conformance
