// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A table of listed partitions that cannot be read: attributes that fail, lists that lie, the k-th failure of every call.
#include "config_partition_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t one = 0x11, two = 0x12, three = 0x13;

// ------------------------------------------------------------------------------------ attributes that cannot be read

struct broken_entry {
	uint32_t entry;
	bool size; // else the name
};

void PrintTo(const broken_entry &broken, std::ostream *out)
{
	*out << "entry " << broken.entry << (broken.size ? " size" : " name");
}

class config_partitions_broken : public config_partitions, public testing::WithParamInterface<broken_entry> {
protected:
	static uint32_t instance() { return 0x100 + GetParam().entry * 0x10 + GetParam().size; }
	static uint32_t code() { return GetParam().size ? xml_attribute_unreadable : xml_name_unreadable; }

	static log_line said()
	{
		const std::string element = "item" + decimal(GetParam().entry);
		return GetParam().size ? number_missing(serious, element, "avail_size") : partition_name_missing(element);
	}
};

TEST_P(config_partitions_broken, gives_the_code_of_the_attribute)
{
	EXPECT_EQ(build(instance()), code());
}

TEST_P(config_partitions_broken, says_the_entries_before_and_the_attribute)
{
	build(instance());
	log_lines expected;
	for (uint32_t i = 0; i < GetParam().entry; ++i)
		expected.push_back(listed(instance(), i));
	expected.push_back(said());
	EXPECT_EQ(harness::log(), expected);
}

TEST_P(config_partitions_broken, ends_the_reading_there_and_frees_the_table)
{
	build(instance());
	const call_list read = GetParam().size ? call_list{name_attribute, number_attribute("avail_size")} : call_list{name_attribute};
	EXPECT_EQ(steps(), joined({{list_of(instance(), "mtd_info"), "linux_kcalloc(3, -)"},
				   repeated(partition_read, GetParam().entry),
				   read,
				   {freed}}));
}

TEST_P(config_partitions_broken, is_said_before_the_table_is_freed)
{
	build(instance());
	const char *const format = GetParam().size ? "xml_get_attr_value_u32<%s> get %s failed" : "xml get attr <%s> get %s failed";
	EXPECT_EQ(last(harness::calls(), 2), (call_list{message(common, serious, format), freed}));
}

TEST_P(config_partitions_broken, leaves_no_table)
{
	build(instance());
	expect_absent();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_P(config_partitions_broken, does_not_spoil_the_next_build)
{
	build(instance());
	harness::forget();
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::log(), all_listed(three, 3));
}

INSTANTIATE_TEST_SUITE_P(at, config_partitions_broken,
			 testing::Values(broken_entry{0, false}, broken_entry{0, true}, broken_entry{1, false}, broken_entry{1, true},
					 broken_entry{2, false}, broken_entry{2, true}),
			 [](const auto &row) { return "entry" + decimal(row.param.entry) + (row.param.size ? "_size" : "_name"); });

class config_partitions_malformed : public config_partitions, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_partitions_malformed, fails_the_build)
{
	EXPECT_EQ(build(0x200 + GetParam()), xml_attribute_unreadable);
	EXPECT_EQ(harness::log(), (log_lines{listed(0x200 + GetParam(), 0), number_missing(serious, "item1", "avail_size")}));
	expect_absent();
}

const char *const malformed_sizes[] = {"nothing",	  "prefix_alone",	 "letters_behind", "negative",
				       "decimal_33_bits", "hexadecimal_33_bits", "blank_before",   "a_word"};

INSTANTIATE_TEST_SUITE_P(size, config_partitions_malformed, testing::Range(0u, 8u),
			 [](const auto &row) { return malformed_sizes[row.param]; });

class config_usable_size : public config_partitions, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_usable_size, is_stored_and_said_in_hexadecimal)
{
	const uint32_t sizes[] = {0, 1, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
	const uint32_t size = sizes[GetParam()], instance = 0x400 + GetParam();
	EXPECT_EQ(build(instance), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(instance, 0, "part0", size), partitions_counted(instance, 1)}));
	EXPECT_EQ(u32_at(harness::memory(table() + 32, 4), 0), size);
}

INSTANTIATE_TEST_SUITE_P(number, config_usable_size, testing::Range(0u, 6u));

// ------------------------------------------------------------------------------------ lists that lie

class config_partitions_lie : public config_partitions, public testing::WithParamInterface<uint32_t> {
protected:
	static constexpr uint32_t real = 3;

	static uint32_t read() { return std::min(GetParam(), real); }
};

TEST_P(config_partitions_lie, reads_no_more_entries_than_there_are_or_were_reported)
{
	harness::lie_about_count(GetParam());
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(times_called("xml_get_attr_string"), read());
	EXPECT_EQ(times_called("xml_get_attr_value_u32"), read());
	log_lines expected = all_listed(three, read());
	expected.back() = partitions_counted(three, GetParam());
	EXPECT_EQ(harness::log(), expected);
}

TEST_P(config_partitions_lie, prepares_the_lock_of_every_reported_entry)
{
	harness::lie_about_count(GetParam());
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(calls_of("linux_mutex_init"), repeated({init_of_mutex}, GetParam()));
}

TEST_P(config_partitions_lie, keeps_the_reported_count)
{
	harness::lie_about_count(GetParam());
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(count(), GetParam());
	for (uint32_t i = 0; i < real; ++i)
		EXPECT_EQ(finds("part" + decimal(i)), i < read()) << i;
	EXPECT_FALSE(finds("part3"));
	release();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

INSTANTIATE_TEST_SUITE_P(reporting, config_partitions_lie, testing::Values(1, 2, 4, 100),
			 [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, from_a_list_that_reports_nothing_are_not_built)
{
	harness::lie_about_count(0);
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_listed_partitions});
	EXPECT_EQ(deeds(), call_list{list_of(three, "mtd_info")});
	expect_absent();
}

TEST_F(config_partitions, from_a_list_that_is_not_there_have_locks_but_no_names)
{
	harness::lie_with_null_list();
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(harness::log(), log_lines{partitions_counted(two, 2)});
	EXPECT_EQ(steps(), (call_list{list_of(two, "mtd_info"), "linux_kcalloc(2, -)", init_of_mutex, init_of_mutex}));
	EXPECT_EQ(count(), 2u);
	EXPECT_FALSE(finds("part0"));
}

TEST_F(config_partitions, from_a_list_that_was_not_written_are_not_built)
{
	harness::fail("xml_get_entry_list", 0);
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_listed_partitions});
	expect_absent();
}

TEST_F(config_partitions, hold_zeros_where_the_reader_wrote_nothing)
{
	harness::fail("xml_get_attr_string", 0);
	harness::fail("xml_get_attr_value_u32", 0);
	EXPECT_EQ(build(one), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(one, 0, "", 0), partitions_counted(one, 1)}));
	EXPECT_EQ(harness::memory(table(), 40), bytes(40, 0));
}

TEST_F(config_partitions, from_a_list_of_absurd_length_have_no_memory)
{
	harness::lie_about_count(0xFFFFFFFF);
	EXPECT_EQ(build(three), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{partitions_without_memory});
	expect_absent();
}

// ------------------------------------------------------------------------------------ the k-th failure of every call

struct swept {
	const char *function;
	long long result;
};

void PrintTo(const swept &row, std::ostream *out)
{
	*out << row.function;
}

class config_partitions_sweep : public config_partitions, public testing::WithParamInterface<swept> {};

TEST_P(config_partitions_sweep, leaves_no_half_built_table)
{
	sweep_failures(
		GetParam().function, GetParam().result,
		[] {
			const uint32_t code = build(three);
			if (code == 0) {
				EXPECT_EQ(count(), 3u);
				release();
			}
			return code;
		},
		[](bool) { expect_absent(); });
}

INSTANTIATE_TEST_SUITE_P(fails, config_partitions_sweep,
			 testing::Values(swept{"linux_kcalloc", 0}, swept{"xml_get_attr_string", 1}, swept{"xml_get_attr_value_u32", 1}),
			 [](const auto &row) { return row.param.function; });

} // namespace
} // namespace conformance
