// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Which row of a section table contains a range.
#include "section_words.hpp"

namespace conformance {
namespace {

struct row {
	uint32_t section_id, offset, size;
};

void append(bytes &record, uint32_t value)
{
	for (int shift = 0; shift < 32; shift += 8)
		record.push_back(static_cast<uint8_t>(value >> shift));
}

bytes table_of(const std::vector<row> &rows)
{
	bytes table;
	for (const row &row : rows) {
		append(table, row.section_id);
		table.resize(table.size() + 40, 'n');
		append(table, row.offset);
		append(table, row.size);
	}
	return table;
}

constexpr uint32_t untouched = 0xA5A5A5A5;

class datapath_section_row : public on_loaded_module {
protected:
	void prepare() override { harness::configure("bare"); }

	// The number of the row that contains the range; none when there is none, and then the output is as it was.
	static std::optional<uint32_t> find(harness::argument table, uint32_t count, uint32_t section, uint32_t offset, uint32_t len)
	{
		bytes index(8, 0xA5);
		const uint32_t code = harness::call("flash_addr_valid", {std::move(table), count, section, offset, len, &index});
		EXPECT_EQ(u32_at(index, 4), untouched);
		if (code == 0)
			return u32_at(index, 0);
		EXPECT_EQ(code, failed);
		EXPECT_EQ(u32_at(index, 0), untouched);
		return std::nullopt;
	}

	static std::optional<uint32_t> find(const std::vector<row> &rows, uint32_t section, uint32_t offset, uint32_t len)
	{
		bytes table = table_of(rows);
		return find(&table, static_cast<uint32_t>(rows.size()), section, offset, len);
	}
};

// ---------------------------------------------------------------------------------------------------------------- one row

struct bounds {
	uint32_t start, size;  // of the section
	uint32_t address, len; // of the range
	bool fits;
};

class datapath_section_bounds : public datapath_section_row, public testing::WithParamInterface<bounds> {};

TEST_P(datapath_section_bounds, are_tested)
{
	const auto [start, size, address, len, fits] = GetParam();
	EXPECT_EQ(find({{7, start, size}}, 7, address, len), fits ? std::optional(0u) : std::nullopt);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(), call_list());
}

std::string range_in_section(const testing::TestParamInfo<bounds> &row)
{
	const auto [start, size, address, len, fits] = row.param;
	return hexadecimal(len) + "_at_" + hexadecimal(address) + "_in_" + hexadecimal(size) + "_at_" + hexadecimal(start);
}

INSTANTIATE_TEST_SUITE_P(inside, datapath_section_bounds,
			 testing::Values(bounds{0x1000, 0x1000, 0x1000, 0x1000, true}, bounds{0x1000, 0x1000, 0x1000, 0, true},
					 bounds{0x1000, 0x1000, 0x1000, 1, true}, bounds{0x1000, 0x1000, 0x1FFF, 1, true},
					 bounds{0x1000, 0x1000, 0x1FFF, 0, true}, bounds{0x1000, 0x1000, 0x1001, 0xFFF, true},
					 bounds{0x1000, 0x1000, 0x1800, 0x800, true}, bounds{0, 1, 0, 1, true},
					 bounds{0, 0xFFFFFFFF, 0, 0xFFFFFFFF, true}, bounds{0, 0xFFFFFFFF, 0xFFFFFFFE, 1, true},
					 bounds{0xFFFFFFFE, 1, 0xFFFFFFFE, 1, true}, bounds{0x7FFFFFFF, 2, 0x80000000, 1, true},
					 bounds{0x80000000, 0x7FFFFFFF, 0x80000000, 0x7FFFFFFF, true}),
			 range_in_section);

INSTANTIATE_TEST_SUITE_P(outside, datapath_section_bounds,
			 testing::Values(bounds{0x1000, 0x1000, 0x1FFF, 2, false}, bounds{0x1000, 0x1000, 0x2000, 0, false},
					 bounds{0x1000, 0x1000, 0x2000, 1, false}, bounds{0x1000, 0x1000, 0xFFF, 0, false},
					 bounds{0x1000, 0x1000, 0xFFF, 1, false}, bounds{0x1000, 0x1000, 0xFFF, 0x1001, false},
					 bounds{0x1000, 0x1000, 0x1000, 0x1001, false}, bounds{0x1000, 0x1000, 0x1800, 0x801, false},
					 bounds{0x1000, 0x1000, 0, 0x2000, false}, bounds{0x1000, 0x1000, 0xFFFFFFFF, 0, false},
					 bounds{0x1000, 0x1000, 0x1000, 0xFFFFFFFF, false},
					 bounds{0x1000, 0x1000, 0x1001, 0xFFFFFFFF, false}, bounds{0x1000, 0, 0x1000, 0, false},
					 bounds{0, 0, 0, 0, false}, bounds{0, 0xFFFFFFFF, 0xFFFFFFFF, 0, false},
					 bounds{0, 0xFFFFFFFF, 0xFFFFFFFE, 2, false}, bounds{0xFFFFFFFF, 0, 0xFFFFFFFF, 0, false}),
			 range_in_section);

// The end of a section wraps around like everything else: then no address is below it and inside.
INSTANTIATE_TEST_SUITE_P(wrapping, datapath_section_bounds,
			 testing::Values(bounds{0xFFFFF000, 0x1000, 0xFFFFF000, 1, false}, bounds{0xFFFFF000, 0x1000, 0xFFFFFFFF, 0, false},
					 bounds{0xFFFFF000, 0x1000, 0, 0, false}, bounds{0xFFFFF000, 0x2000, 0xFFFFF000, 1, false},
					 bounds{0xFFFFF000, 0x2000, 0xFFFFFFFF, 1, false}, bounds{0xFFFFF000, 0x2000, 0, 1, false},
					 bounds{0xFFFFF000, 0x2000, 0xFFF, 1, false}, bounds{0xFFFFFFFF, 1, 0xFFFFFFFF, 0, false},
					 bounds{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 1, false}, bounds{1, 0xFFFFFFFF, 1, 1, false},
					 bounds{2, 0xFFFFFFFF, 2, 0, false}),
			 range_in_section);

// ---------------------------------------------------------------------------------------------------------------- several rows

struct choice {
	const char *label;
	std::vector<row> rows;
	uint32_t section, address, len;
	std::optional<uint32_t> chosen;
};

void PrintTo(const choice &choice, std::ostream *out)
{
	*out << choice.label;
}

class datapath_section_choice : public datapath_section_row, public testing::WithParamInterface<choice> {};

TEST_P(datapath_section_choice, is_the_first_row_that_fits)
{
	const choice &choice = GetParam();
	EXPECT_EQ(find(choice.rows, choice.section, choice.address, choice.len), choice.chosen);
}

const std::vector<row> three_sections = {{1, 0, 0x1000}, {2, 0, 0x1000}, {3, 0, 0x1000}};
const std::vector<row> alternatives = {{1, 0, 0x1000}, {1, 0x1000, 0x1000}, {1, 0x800, 0x1000}};

INSTANTIATE_TEST_SUITE_P(
	of, datapath_section_choice,
	testing::Values(
		choice{"first_section", three_sections, 1, 0, 1, 0}, choice{"second_section", three_sections, 2, 0, 1, 1},
		choice{"last_section", three_sections, 3, 0xFFF, 1, 2}, choice{"section_that_is_not_there", three_sections, 4, 0, 1, {}},
		choice{"section_0_that_is_not_there", three_sections, 0, 0, 1, {}},
		choice{"section_0", {{1, 0, 0x1000}, {0, 0, 0x1000}}, 0, 0, 1, 1},
		choice{"section_of_all_ones", {{0x7FFFFFFF, 0, 0x1000}, {0xFFFFFFFF, 0, 0x1000}}, 0xFFFFFFFF, 0, 1, 1},
		choice{"section_that_differs_in_its_high_half", {{0x10001, 0, 0x1000}}, 1, 0, 1, {}},
		choice{"first_of_two_that_fit", alternatives, 1, 0x800, 0x800, 0},
		choice{"second_because_of_the_address", alternatives, 1, 0x1000, 1, 1},
		choice{"third_because_of_the_length", alternatives, 1, 0x800, 0x801, 2},
		choice{"none_because_of_the_length", alternatives, 1, 0x800, 0x1001, {}},
		choice{"none_although_neighbours_cover_it", {{1, 0, 0x1000}, {1, 0x1000, 0x1000}}, 1, 0xFFF, 2, {}},
		choice{"second_of_two_equal_but_for_their_section", {{1, 0, 0x1000}, {2, 0, 0x1000}, {2, 0, 0x1000}}, 2, 0, 0x1000, 1},
		choice{"second_behind_one_that_wraps", {{1, 0xFFFFF000, 0x2000}, {1, 0xFFFFF000, 0xFFF}}, 1, 0xFFFFF000, 0xFFF, 1}),
	[](const auto &row) { return std::string(row.param.label); });

// ---------------------------------------------------------------------------------------------------------------- the count

TEST_F(datapath_section_row, of_no_rows_is_not_found)
{
	EXPECT_EQ(find(nullptr, 0, 1, 0, 0), std::nullopt);
}

TEST_F(datapath_section_row, of_no_rows_is_not_found_even_where_one_stands)
{
	bytes table = table_of(three_sections);
	EXPECT_EQ(find(&table, 0, 1, 0, 1), std::nullopt);
}

TEST_F(datapath_section_row, behind_the_count_is_not_looked_at)
{
	bytes table = table_of(three_sections);
	EXPECT_EQ(find(&table, 2, 3, 0, 1), std::nullopt);
	EXPECT_EQ(find(&table, 3, 3, 0, 1), std::optional(2u));
}

TEST_F(datapath_section_row, may_be_the_last_of_many)
{
	std::vector<row> rows(1000, {1, 0, 0x1000});
	rows.push_back({2, 0, 0x1000});
	EXPECT_EQ(find(rows, 2, 0, 1), std::optional(1000u));
}

TEST_F(datapath_section_row, is_found_whatever_its_name)
{
	bytes table = table_of({{1, 0, 0x1000}});
	std::fill_n(table.begin() + 4, 40, uint8_t{0});
	EXPECT_EQ(find(&table, 1, 1, 0, 1), std::optional(0u));
}

TEST_F(datapath_section_row, lookup_changes_no_row)
{
	const bytes before = table_of(three_sections);
	bytes table = before;
	find(&table, 3, 2, 0x10, 0x10);
	EXPECT_EQ(table, before);
}

} // namespace
} // namespace conformance
