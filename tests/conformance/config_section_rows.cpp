// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The rows of a section table: which attributes are read in which order, what is stored, and what a row that cannot be read does.
#include "load_words.hpp"

namespace conformance {
namespace {

constexpr uint8_t mark = 0xA5;

class config_section_rows : public on_loaded_module {
protected:
	void prepare() override { harness::configure("rows"); }

	// Makes the instance's entry and looks at its sections: the entry's last field is their address.
	static bytes sections_of(uint32_t instance)
	{
		harness::forget();
		EXPECT_EQ(harness::call("drv_flash_init", {instance}), 0u);
		const uint64_t entry = entry_of(instance);
		if (!entry || calls_of("linux_kzalloc").empty())
			return {};
		const std::size_t entry_size = std::stoul(calls_of("linux_kzalloc").at(0).substr(sizeof("linux_kzalloc(") - 1));
		EXPECT_EQ(u32_at(harness::memory(entry, 4), 0), instance);
		const std::size_t count = u32_at(harness::memory(entry + 4, 4), 0);
		return harness::memory(u64_at(harness::memory(entry + entry_size - 8, 8), 0), count * section_row_size);
	}

	static bytes row(uint32_t section_id, std::string_view name, uint32_t offset, uint32_t size)
	{
		bytes made(section_row_size, 0);
		put(made, 0, section_id);
		std::copy(name.begin(), name.end(), made.begin() + 4);
		put(made, 44, offset);
		put(made, 48, size);
		return made;
	}

	static bytes rows(std::initializer_list<bytes> parts)
	{
		bytes all;
		for (const bytes &part : parts)
			all.insert(all.end(), part.begin(), part.end());
		return all;
	}

	// The instance's table is dropped whole, with this message.
	static void expect_dropped(uint32_t instance, const log_line &said)
	{
		const harness::holdings before = harness::held();
		harness::forget();
		EXPECT_EQ(harness::call("drv_flash_init", {instance}), 0u);
		EXPECT_FALSE(has_entry(instance));
		EXPECT_EQ(harness::log(), log_lines{said});
		EXPECT_EQ(harness::held(), before);
	}

	static void expect_code_and_untouched_outputs(uint32_t instance)
	{
		bytes sections(8, mark), count(4, mark);
		EXPECT_EQ(harness::call("get_xml_flash_cfg", {instance, &sections, &count}), xml_attribute_unreadable);
		EXPECT_EQ(sections, bytes(8, mark));
		EXPECT_EQ(count, bytes(4, mark));
	}

private:
	static void put(bytes &made, std::size_t at, uint32_t value)
	{
		for (std::size_t i = 0; i < 4; ++i)
			made[at + i] = static_cast<uint8_t>(value >> (8 * i));
	}
};

// ------------------------------------------------------------------------------------ what is stored

TEST_F(config_section_rows, of_smallest_numbers)
{
	EXPECT_EQ(sections_of(0x400), row(0, "part0", 0, 0));
}

TEST_F(config_section_rows, of_largest_numbers)
{
	EXPECT_EQ(sections_of(0x401), row(0xFFFFFFFF, "part0", 0xFFFFFFFF, 0xFFFFFFFF));
}

TEST_F(config_section_rows, that_are_alike_are_all_kept)
{
	EXPECT_EQ(sections_of(0x402), rows({row(1, "part0", 0, 0x1000), row(1, "part0", 0, 0x1000), row(1, "part0", 0, 0x1000)}));
}

TEST_F(config_section_rows, stay_in_the_order_of_the_list)
{
	EXPECT_EQ(sections_of(0x403), rows({row(3, "part2", 0x2000, 0x1000), row(1, "part0", 0, 0x1000), row(2, "part1", 0x1000, 0x1000)}));
}

TEST_F(config_section_rows, may_have_attributes_of_somebody_else)
{
	EXPECT_EQ(sections_of(0x404), row(1, "part0", 0, 0x1000));
}

TEST_F(config_section_rows, are_read_attribute_by_attribute)
{
	harness::call("drv_flash_init", {0x402});
	EXPECT_EQ(steps(), joined({usrdata_absent, configured_from_single_table(0x402, 3)}));
	EXPECT_EQ(harness::log(), log_lines{});
}

TEST_F(config_section_rows, hold_zeros_where_the_reader_wrote_nothing)
{
	harness::fail_always("xml_get_attr_value_u32", 0);
	harness::fail_always("xml_get_attr_string", 0);
	EXPECT_EQ(sections_of(0x401), bytes(section_row_size, 0));
}

TEST_F(config_section_rows, end_a_name_that_the_reader_left_without_an_end)
{
	harness::forge("xml_get_attr_string", 0, 2, bytes(40, 'n'));
	EXPECT_EQ(sections_of(0x300 + 39), row(1, std::string(39, 'n'), 0, 0x1000));
}

class config_section_name : public config_section_rows, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_section_name, that_fits_is_stored)
{
	EXPECT_EQ(sections_of(0x300 + GetParam()), row(1, name_of_length(GetParam()), 0, 0x1000));
	EXPECT_EQ(harness::log(), log_lines{});
}

INSTANTIATE_TEST_SUITE_P(of_length, config_section_name, testing::Values(0, 1, 31, 32, 38, 39),
			 [](const auto &row) { return decimal(row.param); });

class config_section_long_name : public config_section_rows, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_section_long_name, drops_the_table)
{
	expect_dropped(0x300 + GetParam(), section_name_missing("row0"));
}

INSTANTIATE_TEST_SUITE_P(of_length, config_section_long_name, testing::Values(40, 41, 62),
			 [](const auto &row) { return decimal(row.param); });

// ------------------------------------------------------------------------------------ missing attributes

struct missing_attribute {
	uint32_t row;
	uint32_t attribute;
};

void PrintTo(const missing_attribute &missing, std::ostream *out)
{
	*out << "row " << missing.row << ", attribute " << missing.attribute;
}

const char *const attribute_names[] = {"section_id", "mtd_name", "offset", "size"};

class config_section_missing : public config_section_rows, public testing::WithParamInterface<missing_attribute> {
protected:
	static uint32_t instance() { return 0x100 + GetParam().row * 0x10 + GetParam().attribute; }

	static log_line said()
	{
		const std::string element = "row" + decimal(GetParam().row);
		const char *const attribute = attribute_names[GetParam().attribute];
		return GetParam().attribute == 1 ? section_name_missing(element) : number_missing(ordinary, element, attribute);
	}

	// The attributes read up to and with the missing one.
	static call_list read()
	{
		call_list all = repeated(row_read, 3);
		all.resize(GetParam().row * row_read.size() + GetParam().attribute + 1);
		return all;
	}
};

TEST_P(config_section_missing, drops_the_table)
{
	expect_dropped(instance(), said());
}

TEST_P(config_section_missing, ends_the_reading_there)
{
	harness::call("drv_flash_init", {instance()});
	EXPECT_EQ(steps(), joined({usrdata_absent,
				   {node_count_of(instance()), list_of(instance(), "attr"), "linux_kcalloc(3, 52)"},
				   read(),
				   {freed}}));
}

TEST_P(config_section_missing, is_said_before_the_table_is_freed)
{
	harness::call("drv_flash_init", {instance()});
	const char *const format =
		GetParam().attribute == 1 ? "xml_get_attr_string<%s> get %s failed" : "xml_get_attr_value_u32<%s> get %s failed";
	EXPECT_EQ(last(harness::calls(), 2), (call_list{message(common, ordinary, format), freed}));
}

TEST_P(config_section_missing, gives_the_attribute_code_and_leaves_the_outputs)
{
	expect_code_and_untouched_outputs(instance());
}

std::vector<missing_attribute> every_attribute()
{
	std::vector<missing_attribute> all;
	for (uint32_t row = 0; row < 3; ++row)
		for (uint32_t attribute = 0; attribute < 4; ++attribute)
			all.push_back({row, attribute});
	return all;
}

INSTANTIATE_TEST_SUITE_P(of, config_section_missing, testing::ValuesIn(every_attribute()),
			 [](const auto &row) { return "row" + decimal(row.param.row) + "_" + attribute_names[row.param.attribute]; });

// ------------------------------------------------------------------------------------ malformed attributes

struct malformed {
	const char *name;
	uint32_t text; // the number of the text in the board
};

void PrintTo(const malformed &row, std::ostream *out)
{
	*out << row.name;
}

const malformed malformed_texts[] = {{"nothing", 0},	     {"prefix_alone", 1},	 {"letters_behind", 2}, {"negative", 3},
				     {"decimal_33_bits", 4}, {"hexadecimal_33_bits", 5}, {"blank_before", 6},	{"a_word", 7}};

class config_section_malformed : public config_section_rows, public testing::WithParamInterface<malformed> {};

TEST_P(config_section_malformed, section_id_drops_the_table)
{
	expect_dropped(0x200 + GetParam().text * 0x10, number_missing(ordinary, "row0", "section_id"));
}

TEST_P(config_section_malformed, offset_drops_the_table)
{
	expect_dropped(0x201 + GetParam().text * 0x10, number_missing(ordinary, "row0", "offset"));
}

TEST_P(config_section_malformed, size_drops_the_table)
{
	expect_dropped(0x202 + GetParam().text * 0x10, number_missing(ordinary, "row0", "size"));
}

INSTANTIATE_TEST_SUITE_P(text, config_section_malformed, testing::ValuesIn(malformed_texts),
			 [](const auto &row) { return std::string(row.param.name); });

// ------------------------------------------------------------------------------------ one row alone

class config_row_parser : public config_section_rows {
protected:
	// Parses the first row of the instance's table into a record filled with marks.
	static uint32_t parse(uint32_t instance, bytes *section)
	{
		bytes count(4), list(8);
		EXPECT_EQ(harness::call("get_xml_compatible_flash_cfg", {instance, &count, &list}), 0u);
		const uint64_t entry = u64_at(harness::memory(u64_at(list, 0) + 8, 8), 0);
		harness::forget();
		*section = bytes(section_row_size, mark);
		return harness::call("flash_cfg_parse", {entry, section});
	}

	// A record of marks whose first fields were read.
	static bytes with_first_fields(std::size_t fields)
	{
		const std::size_t ends[] = {0, 4, 44, 48, 52};
		const bytes whole = row(1, "part0", 0, 0x1000);
		bytes made(section_row_size, mark);
		std::copy(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(ends[fields]), made.begin());
		if (fields >= 2) // the reader writes the name and its NUL alone
			std::fill(made.begin() + 4 + sizeof("part0"), made.begin() + 43, mark);
		return made;
	}
};

TEST_F(config_row_parser, reads_a_whole_row)
{
	bytes section;
	EXPECT_EQ(parse(0x402, &section), 0u);
	EXPECT_EQ(section, with_first_fields(4));
	EXPECT_EQ(harness::calls(), row_read);
}

class config_row_parser_stops : public config_row_parser, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_row_parser_stops, at_the_missing_attribute)
{
	bytes section;
	EXPECT_EQ(parse(0x100 + GetParam(), &section), failed);
	EXPECT_EQ(section, with_first_fields(GetParam()));
	call_list read = row_read;
	read.resize(GetParam() + 1);
	EXPECT_EQ(deeds(), read);
	EXPECT_EQ(harness::log().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(number, config_row_parser_stops, testing::Values(0, 1, 2, 3),
			 [](const auto &row) { return attribute_names[row.param]; });

TEST_F(config_row_parser, does_not_store_a_section_id_that_it_could_not_read)
{
	bytes section;
	EXPECT_EQ(parse(0x200, &section), failed);
	EXPECT_EQ(section, bytes(section_row_size, mark));
}

} // namespace
} // namespace conformance
