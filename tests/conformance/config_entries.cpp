// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Flash config entries: made, found and removed by instance id.
#include "load_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t unconfigured = 99, no_nodes = 1, single = 3, single_empty = 4, variant_2 = 5, variant_none = 6, variant_missing = 7;

class config_entry : public on_loaded_module {
protected:
	void prepare() override { harness::configure("tables"); }

	static uint32_t init(uint32_t instance) { return harness::call("drv_flash_init", {instance}); }
	static uint32_t exit(uint32_t instance) { return harness::call("drv_flash_exit", {instance}); }

	static void make(std::initializer_list<uint32_t> instances)
	{
		for (uint32_t instance : instances)
			ASSERT_EQ(init(instance), 0u);
		harness::forget();
	}

	static log_line have_registered(uint32_t instance)
	{
		return common_log(ordinary, "flash_mng inst_id:" + hexadecimal(instance) + " have registered");
	}

	static bytes list_head() { return harness::global("g_flash_config_list", 16); }

	// The entries' links in the order of the list.
	static std::vector<uint64_t> links()
	{
		std::vector<uint64_t> all;
		for (uint64_t link = u64_at(list_head(), 0); all.size() < 100; link = u64_at(harness::memory(link, 16), 0)) {
			if (harness::memory(link, 16) == list_head())
				return all;
			all.push_back(link);
		}
		ADD_FAILURE() << "the list does not come back to its head";
		return all;
	}
};

// ------------------------------------------------------------------------------------ making

TEST_F(config_entry, is_made_from_the_instances_table)
{
	EXPECT_EQ(init(single), 0u);
	EXPECT_TRUE(has_entry(single));
	EXPECT_EQ(steps(), joined({usrdata_absent, configured_from_single_table(single, 3)}));
	EXPECT_EQ(harness::log(), log_lines{});
}

TEST_F(config_entry, is_made_from_the_variants_table)
{
	EXPECT_EQ(init(variant_2), 0u);
	EXPECT_TRUE(has_entry(variant_2));
	EXPECT_EQ(steps(), joined({usrdata_absent,
				   {node_count_of(variant_2), bom_value_of(variant_2), variant_name_formed, list_of(variant_2, "attr_2")},
				   rows_read(2),
				   entry_made}));
}

TEST_F(config_entry, starts_with_the_instance_id_and_the_number_of_sections)
{
	make({single});
	const bytes start = harness::memory(entry_of(single), 8);
	EXPECT_EQ(u32_at(start, 0), single);
	EXPECT_EQ(u32_at(start, 4), 3u);
}

TEST_F(config_entry, holds_itself_and_its_sections)
{
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 2});
}

TEST_F(config_entry, has_a_free_semaphore)
{
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(calls_of("linux_semaphore_init"), call_list{"linux_semaphore_init(-, 1)"});
	EXPECT_FALSE(called("down_killable"));
	EXPECT_FALSE(called("up"));
}

TEST_F(config_entry, goes_to_the_end_of_the_list)
{
	EXPECT_EQ(links().size(), 0u);
	make({variant_2});
	const std::vector<uint64_t> one = links();
	ASSERT_EQ(one.size(), 1u);
	make({single});
	const std::vector<uint64_t> two = links();
	ASSERT_EQ(two.size(), 2u);
	EXPECT_EQ(two[0], one[0]);
	make({variant_none});
	const std::vector<uint64_t> three = links();
	ASSERT_EQ(three.size(), 3u);
	EXPECT_EQ(three[0], one[0]);
	EXPECT_EQ(three[1], two[1]);
}

TEST_F(config_entry, exists_once_for_an_instance)
{
	make({single});
	const uint64_t entry = entry_of(single);
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(entry_of(single), entry);
	EXPECT_EQ(links().size(), 1u);
	EXPECT_EQ(exit(single), 0u);
	EXPECT_EQ(exit(single), failed);
}

TEST_F(config_entry, asked_for_again_is_only_said)
{
	make({single});
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::log(), log_lines{have_registered(single)});
	EXPECT_EQ(deeds(), call_list{});
}

TEST_F(config_entry, asked_for_again_is_said_each_time)
{
	make({single, variant_2});
	for (int i = 0; i < 3; ++i)
		EXPECT_EQ(init(variant_2), 0u);
	EXPECT_EQ(harness::log(), log_lines(3, have_registered(variant_2)));
}

struct without_entry {
	const char *name;
	uint32_t instance;
	log_lines said;
};

void PrintTo(const without_entry &row, std::ostream *out)
{
	*out << row.name;
}

class config_no_entry : public config_entry, public testing::WithParamInterface<without_entry> {};

TEST_P(config_no_entry, is_no_failure)
{
	EXPECT_EQ(init(GetParam().instance), 0u);
	EXPECT_FALSE(has_entry(GetParam().instance));
	EXPECT_EQ(harness::log(), GetParam().said);
	EXPECT_EQ(links().size(), 0u);
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_P(config_no_entry, is_not_remembered)
{
	EXPECT_EQ(init(GetParam().instance), 0u);
	const call_list first = harness::calls();
	harness::forget();
	EXPECT_EQ(init(GetParam().instance), 0u);
	EXPECT_EQ(harness::calls(), first);
}

TEST_P(config_no_entry, has_nothing_to_remove)
{
	EXPECT_EQ(init(GetParam().instance), 0u);
	EXPECT_EQ(exit(GetParam().instance), failed);
}

INSTANTIATE_TEST_SUITE_P(for_instance, config_no_entry,
			 testing::Values(without_entry{"unknown", unconfigured, {no_node_count}},
					 without_entry{"without_table", no_nodes, {no_section_table}},
					 without_entry{"with_empty_table", single_empty, {}},
					 without_entry{"of_missing_variant", variant_missing, {variant_unreadable(7, 3)}}),
			 [](const auto &row) { return std::string(row.param.name); });

// ------------------------------------------------------------------------------------ looking up

class config_entry_of : public config_entry, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_entry_of, is_found_by_its_whole_id)
{
	make({GetParam()});
	const uint64_t entry = entry_of(GetParam());
	ASSERT_NE(entry, 0u);
	EXPECT_EQ(u32_at(harness::memory(entry, 4), 0), GetParam());
	for (uint32_t other : {GetParam() + 1, GetParam() - 1, GetParam() ^ 0x80000000, default_instance})
		EXPECT_FALSE(has_entry(other)) << hexadecimal(other);
}

INSTANTIATE_TEST_SUITE_P(id, config_entry_of, testing::Values(0, 3, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE),
			 [](const auto &row) { return hexadecimal(row.param); });

TEST_F(config_entry, lookup_tells_entries_apart)
{
	make({single, variant_2, variant_none});
	EXPECT_NE(entry_of(single), entry_of(variant_2));
	EXPECT_NE(entry_of(variant_2), entry_of(variant_none));
	for (uint32_t instance : {single, variant_2, variant_none})
		EXPECT_EQ(u32_at(harness::memory(entry_of(instance), 4), 0), instance);
}

TEST_F(config_entry, lookup_makes_no_call_and_says_nothing)
{
	make({single});
	EXPECT_TRUE(has_entry(single));
	EXPECT_FALSE(has_entry(variant_2));
	EXPECT_EQ(harness::calls(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{});
}

TEST_F(config_entry, lookup_in_an_empty_list_finds_nothing)
{
	EXPECT_FALSE(has_entry(default_instance));
	EXPECT_FALSE(has_entry(0));
}

// ------------------------------------------------------------------------------------ removing

TEST_F(config_entry, is_removed_with_its_sections)
{
	make({single});
	EXPECT_EQ(exit(single), 0u);
	EXPECT_EQ(deeds(), entry_removed);
	EXPECT_EQ(harness::log(), log_lines{});
	EXPECT_FALSE(has_entry(single));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(config_entry, of_an_unknown_instance_cannot_be_removed)
{
	make({single});
	for (uint32_t instance : {variant_2, 0u, default_instance})
		EXPECT_EQ(exit(instance), failed);
	EXPECT_EQ(harness::calls(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{});
	EXPECT_TRUE(has_entry(single));
}

TEST_F(config_entry, of_an_empty_list_cannot_be_removed)
{
	EXPECT_EQ(exit(default_instance), failed);
	EXPECT_EQ(harness::calls(), call_list{});
}

TEST_F(config_entry, can_be_made_again_after_its_removal)
{
	make({single});
	EXPECT_EQ(exit(single), 0u);
	harness::forget();
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::log(), log_lines{});
	EXPECT_TRUE(has_entry(single));
}

class config_entry_removal : public config_entry, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_entry_removal, leaves_the_others)
{
	make({single, variant_2, variant_none});
	EXPECT_EQ(exit(GetParam()), 0u);
	EXPECT_EQ(links().size(), 2u);
	for (uint32_t instance : {single, variant_2, variant_none})
		EXPECT_EQ(has_entry(instance), instance != GetParam()) << instance;
}

const char *const places[] = {"first", "middle", "last"};

INSTANTIATE_TEST_SUITE_P(of_entry, config_entry_removal, testing::Values(single, variant_2, variant_none),
			 [](const auto &row) { return places[row.index]; });

TEST_F(config_entry, of_the_default_instance_is_removed_like_any_other)
{
	harness::unload();
	harness::configure("plain");
	ASSERT_EQ(harness::load(), 0u);
	harness::forget();
	EXPECT_EQ(exit(default_instance), 0u);
	EXPECT_EQ(deeds(), entry_removed);
	EXPECT_FALSE(has_entry(default_instance));
}

// ------------------------------------------------------------------------------------ memory

TEST_F(config_entry, without_memory_keeps_the_sections_just_read)
{
	expect_leak({.heap = 1});
	harness::fail("linux_kzalloc", 0);
	EXPECT_EQ(init(single), failed);
	EXPECT_EQ(harness::log(), log_lines{entry_without_memory(single)});
	EXPECT_EQ(steps(), joined({usrdata_absent, {node_count_of(single), list_of(single, "attr")}, rows_read(3), {"linux_kzalloc(-)"}}));
	EXPECT_FALSE(has_entry(single));
	EXPECT_EQ(links().size(), 0u);
}

TEST_F(config_entry, without_memory_can_be_made_later)
{
	expect_leak({.heap = 1});
	harness::fail("linux_kzalloc", 0);
	EXPECT_EQ(init(single), failed);
	EXPECT_EQ(init(single), 0u);
	EXPECT_TRUE(has_entry(single));
}

TEST_F(config_entry, without_memory_for_its_sections_is_not_made)
{
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::log(), log_lines{rows_without_memory(156)});
	EXPECT_EQ(steps(), joined({usrdata_absent, {node_count_of(single), list_of(single, "attr"), "linux_kcalloc(3, 52)"}}));
	EXPECT_FALSE(has_entry(single));
}

TEST_F(config_entry, table_without_memory_gives_its_code_and_leaves_the_outputs)
{
	const bytes untouched(8, 0xA5);
	bytes sections = untouched, count(4, 0xA5);
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(harness::call("get_xml_flash_cfg", {single, &sections, &count}), no_buffer);
	EXPECT_EQ(sections, untouched);
	EXPECT_EQ(count, bytes(4, 0xA5));
}

TEST_F(config_entry, table_without_entries_has_a_count_of_0)
{
	for (uint32_t instance : {no_nodes, single_empty}) {
		bytes sections(8, 0xA5), count(4, 0xA5);
		EXPECT_EQ(harness::call("get_xml_flash_cfg", {instance, &sections, &count}), 0u);
		EXPECT_EQ(count, bytes(4, 0));
	}
}

// ------------------------------------------------------------------------------------ lists that lie

struct lie {
	const char *name;
	uint32_t reported; // of 3 entries
	uint32_t sections; // in the entry
};

void PrintTo(const lie &row, std::ostream *out)
{
	*out << row.name;
}

class config_entry_lie : public config_entry, public testing::WithParamInterface<lie> {};

TEST_P(config_entry_lie, never_reads_more_rows_than_there_are_or_were_reported)
{
	harness::lie_about_count(GetParam().reported);
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(steps(),
		  joined({usrdata_absent,
			  {node_count_of(single), list_of(single, "attr"), "linux_kcalloc(" + decimal(GetParam().reported) + ", 52)"},
			  repeated(row_read, GetParam().sections),
			  entry_made}));
	EXPECT_EQ(harness::log(), log_lines{});
	const uint64_t entry = entry_of(single);
	ASSERT_NE(entry, 0u);
	EXPECT_EQ(u32_at(harness::memory(entry + 4, 4), 0), GetParam().sections);
	EXPECT_EQ(exit(single), 0u);
	EXPECT_EQ(harness::held(), harness::holdings{});
}

INSTANTIATE_TEST_SUITE_P(reporting, config_entry_lie,
			 testing::Values(lie{"one", 1, 1}, lie{"one_less", 2, 2}, lie{"one_more", 4, 3}, lie{"many_more", 1000, 3}),
			 [](const auto &row) { return std::string(row.param.name); });

TEST_F(config_entry, from_a_list_that_reports_nothing_is_not_made)
{
	harness::lie_about_count(0);
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(steps(), joined({usrdata_absent, {node_count_of(single), list_of(single, "attr")}}));
	EXPECT_FALSE(has_entry(single));
}

TEST_F(config_entry, from_a_list_that_is_not_there_is_not_made)
{
	harness::lie_with_null_list();
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(steps(), joined({usrdata_absent, {node_count_of(single), list_of(single, "attr"), "linux_kcalloc(3, 52)", freed}}));
	EXPECT_EQ(harness::log(), log_lines{});
	EXPECT_FALSE(has_entry(single));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(config_entry, from_a_list_that_is_not_there_has_a_count_of_0)
{
	bytes sections(8, 0xA5), count(4, 0xA5);
	harness::lie_with_null_list();
	EXPECT_EQ(harness::call("get_xml_flash_cfg", {single, &sections, &count}), 0u);
	EXPECT_EQ(count, bytes(4, 0));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(config_entry, from_a_list_of_absurd_length_has_no_memory)
{
	harness::lie_about_count(0xFFFFFFFF);
	EXPECT_EQ(init(single), 0u);
	EXPECT_EQ(harness::log(), log_lines{rows_without_memory(uint64_t{0xFFFFFFFF} * section_row_size)});
	EXPECT_FALSE(has_entry(single));
}

// ------------------------------------------------------------------------------------ the k-th failure of every call

struct swept {
	const char *function;
	long long result;
	uint32_t instance;
};

void PrintTo(const swept &row, std::ostream *out)
{
	*out << row.function;
}

class config_entry_sweep : public config_entry, public testing::WithParamInterface<swept> {};

TEST_P(config_entry_sweep, leaves_no_half_made_entry)
{
	const uint32_t instance = GetParam().instance;
	for (unsigned nth = 1;; ++nth) {
		SCOPED_TRACE(testing::Message() << "call " << nth);
		ASSERT_LT(nth, 100u);
		const unsigned hit = harness::faults_hit();
		harness::fail(GetParam().function, GetParam().result, nth);
		EXPECT_EQ(init(instance), 0u);
		if (harness::faults_hit() == hit) {
			EXPECT_GT(nth, 1u) << "an entry is made without this call";
			return;
		}
		EXPECT_FALSE(has_entry(instance));
		EXPECT_EQ(harness::held(), harness::holdings{});
		EXPECT_EQ(init(instance), 0u);
		EXPECT_TRUE(has_entry(instance));
		EXPECT_EQ(exit(instance), 0u);
		EXPECT_EQ(harness::held(), harness::holdings{});
	}
}

INSTANTIATE_TEST_SUITE_P(fails, config_entry_sweep,
			 testing::Values(swept{"xml_get_specified_node_num", 1, single}, swept{"xml_get_entry_list", 1, single},
					 swept{"linux_kcalloc", 0, single}, swept{"xml_get_attr_value_u32", 1, single},
					 swept{"xml_get_attr_string", 1, single}, swept{"drv_board_get_bom_value", 1, variant_2},
					 swept{"sprintf_s", -1, variant_2}, swept{"xml_get_attr_value_u32", 1, variant_2}),
			 [](const auto &row) { return row.param.function + std::string("_of_instance_") + decimal(row.param.instance); });

} // namespace
} // namespace conformance
