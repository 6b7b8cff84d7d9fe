// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The table of listed partitions: built, looked up by name, released.
#include "load_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t no_nodes = 1, no_entries = 2, one = 0x11, two = 0x12, three = 0x13, unconfigured = 0xFFFF;
constexpr uint32_t spelled_size = 0x44434241; // the bytes "ABCD"

const log_line already_built = common_log(ordinary, "flash mtd info already init");

// A loaded module without the table; the cases build it from the instances of one board.
class config_partitions : public on_loaded_module {
protected:
	void prepare() override { harness::configure("partitions"); }

	static uint32_t build(uint32_t instance) { return harness::call("drv_flash_mtd_info_init", {instance}); }

	static void build_well(uint32_t instance)
	{
		ASSERT_EQ(build(instance), 0u);
		harness::forget();
	}

	static void release() { harness::call("drv_flash_mtd_info_deinit", {}); }
	static bool finds(const std::string &name) { return harness::call_finds("drv_flash_mtd_info_find", {name}); }
	static uint64_t table() { return u64_at(harness::global("g_flash_mtd_info_list", 8), 0); }
	static uint32_t count() { return u32_at(harness::global("g_flash_mtd_info_list_num", 4), 0); }

	static void expect_absent()
	{
		EXPECT_EQ(table(), 0u);
		EXPECT_EQ(count(), 0u);
		for (const char *name : {"part0", "part1", "part2", ""})
			EXPECT_FALSE(finds(name)) << name;
	}

	static log_line listed(uint32_t instance, uint32_t number)
	{
		return partition_listed(instance, number, "part" + decimal(number), (number + 1) * 0x10000);
	}

	// Messages of a whole build.
	static log_lines all_listed(uint32_t instance, uint32_t partitions)
	{
		log_lines all;
		for (uint32_t i = 0; i < partitions; ++i)
			all.push_back(listed(instance, i));
		all.push_back(partitions_counted(instance, partitions));
		return all;
	}
};

// ------------------------------------------------------------------------------------ building

class config_partitions_of : public config_partitions, public testing::WithParamInterface<uint32_t> {
protected:
	static uint32_t instance() { return 0x10 + GetParam(); }
};

TEST_P(config_partitions_of, are_read_one_by_one)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(steps(), partitions_listed(instance(), GetParam()));
}

TEST_P(config_partitions_of, are_each_said_and_then_counted)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(harness::log(), all_listed(instance(), GetParam()));
}

TEST_P(config_partitions_of, are_all_found)
{
	build_well(instance());
	EXPECT_EQ(count(), GetParam());
	EXPECT_NE(table(), 0u);
	for (uint32_t i = 0; i < 4; ++i)
		EXPECT_EQ(finds("part" + decimal(i)), i < GetParam()) << i;
}

TEST_P(config_partitions_of, are_one_allocation)
{
	build_well(instance());
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 1});
	release();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

INSTANTIATE_TEST_SUITE_P(number, config_partitions_of, testing::Values(1, 2, 3), [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, are_said_after_their_lock_was_prepared)
{
	EXPECT_EQ(build(one), 0u);
	EXPECT_EQ(last(harness::calls(), 3),
		  (call_list{init_of_mutex, message(own, ordinary, "inst 0x%x mtd info entry%u mtd_name %s avail_size 0x%x init success"),
			     message(own, ordinary, "inst 0x%x mtd info entry num %u init success")}));
}

TEST_F(config_partitions, start_with_their_name_and_usable_size)
{
	build_well(one);
	bytes expected(36, 0);
	std::copy_n("part0", 5, expected.begin());
	expected[34] = 1; // 0x10000
	EXPECT_EQ(harness::memory(table(), 36), expected);
}

TEST_F(config_partitions, are_not_built_twice)
{
	build_well(two);
	const uint64_t before = table();
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::log(), log_lines{already_built});
	EXPECT_EQ(deeds(), call_list{});
	EXPECT_EQ(table(), before);
	EXPECT_EQ(count(), 2u);
	EXPECT_FALSE(finds("part2"));
}

TEST_F(config_partitions, built_at_load_are_not_built_again)
{
	harness::unload();
	harness::configure("plain");
	ASSERT_EQ(harness::load(), 0u);
	harness::forget();
	EXPECT_EQ(build(default_instance), 0u);
	EXPECT_EQ(harness::log(), log_lines{already_built});
	EXPECT_EQ(deeds(), call_list{});
	EXPECT_TRUE(finds("usrdata"));
}

struct without_partitions {
	const char *name;
	uint32_t instance;
};

void PrintTo(const without_partitions &row, std::ostream *out)
{
	*out << row.name;
}

class config_partitions_missing : public config_partitions, public testing::WithParamInterface<without_partitions> {};

TEST_P(config_partitions_missing, are_no_failure)
{
	EXPECT_EQ(build(GetParam().instance), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_listed_partitions});
	EXPECT_EQ(deeds(), call_list{list_of(GetParam().instance, "mtd_info")});
	expect_absent();
}

TEST_P(config_partitions_missing, can_come_from_elsewhere_later)
{
	EXPECT_EQ(build(GetParam().instance), 0u);
	harness::forget();
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(harness::log(), all_listed(two, 2));
}

INSTANTIATE_TEST_SUITE_P(from_instance, config_partitions_missing,
			 testing::Values(without_partitions{"without_node", no_nodes}, without_partitions{"with_empty_node", no_entries},
					 without_partitions{"unknown", unconfigured}),
			 [](const auto &row) { return std::string(row.param.name); });

class config_partitions_unreadable : public config_partitions, public testing::WithParamInterface<uint32_t> {};

TEST_P(config_partitions_unreadable, are_no_failure)
{
	harness::fail("xml_get_entry_list", GetParam());
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_listed_partitions});
	EXPECT_EQ(deeds(), call_list{list_of(two, "mtd_info")});
	expect_absent();
}

INSTANTIATE_TEST_SUITE_P(with, config_partitions_unreadable, testing::Values(1, 3489, 0x80000000, 0xFFFFFFFF),
			 [](const auto &row) { return hexadecimal(row.param); });

TEST_F(config_partitions, without_memory)
{
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(build(two), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{partitions_without_memory});
	EXPECT_EQ(steps(), (call_list{list_of(two, "mtd_info"), "linux_kcalloc(2, -)"}));
	expect_absent();
}

TEST_F(config_partitions, without_memory_can_be_built_later)
{
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(build(two), no_buffer);
	EXPECT_EQ(build(two), 0u);
	EXPECT_EQ(count(), 2u);
}

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

// ------------------------------------------------------------------------------------ names

class config_partition_name : public config_partitions, public testing::WithParamInterface<uint32_t> {
protected:
	static uint32_t instance() { return 0x300 + GetParam(); }
	static std::string name() { return name_of_length(GetParam()); }
};

using config_partition_good_name = config_partition_name;

TEST_P(config_partition_good_name, is_stored_and_found)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(instance(), 0, name(), spelled_size), partitions_counted(instance(), 1)}));
	EXPECT_TRUE(finds(name()));
	EXPECT_EQ(u32_at(harness::memory(table() + 32, 4), 0), spelled_size);
}

INSTANTIATE_TEST_SUITE_P(of_length, config_partition_good_name, testing::Values(0, 1, 30, 31),
			 [](const auto &row) { return decimal(row.param); });

// 32 to 39 characters run on into the usable size and are overwritten there.
class config_partition_long_name : public config_partition_name {
protected:
	static std::string stored() { return name_of_length(32) + "ABCD" + (GetParam() > 36 ? name().substr(36) : ""); }
};

TEST_P(config_partition_long_name, is_said_as_it_is_stored)
{
	EXPECT_EQ(build(instance()), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(instance(), 0, stored(), spelled_size), partitions_counted(instance(), 1)}));
}

TEST_P(config_partition_long_name, is_not_found)
{
	build_well(instance());
	EXPECT_FALSE(finds(name()));
	EXPECT_FALSE(finds(name_of_length(31)));
	EXPECT_FALSE(finds(name_of_length(32)));
}

TEST_P(config_partition_long_name, does_not_touch_the_usable_size)
{
	build_well(instance());
	EXPECT_EQ(u32_at(harness::memory(table() + 32, 4), 0), spelled_size);
}

INSTANTIATE_TEST_SUITE_P(of_length, config_partition_long_name, testing::Values(32, 33, 35, 36, 37, 38, 39),
			 [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, end_a_name_that_the_reader_left_without_an_end)
{
	harness::forge("xml_get_attr_string", 0, 2, bytes(40, 'n'));
	EXPECT_EQ(build(0x300 + 31), 0u);
	const std::string stored = std::string(32, 'n') + "ABCDnnn";
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(0x300 + 31, 0, stored, spelled_size), partitions_counted(0x300 + 31, 1)}));
}

class config_partition_too_long_name : public config_partition_name {};

TEST_P(config_partition_too_long_name, fails_the_build)
{
	EXPECT_EQ(build(instance()), xml_name_unreadable);
	EXPECT_EQ(harness::log(), log_lines{partition_name_missing("item0")});
	expect_absent();
}

INSTANTIATE_TEST_SUITE_P(of_length, config_partition_too_long_name, testing::Values(40, 62),
			 [](const auto &row) { return decimal(row.param); });

TEST_F(config_partitions, say_a_long_name_up_to_the_first_zero_of_the_size)
{
	EXPECT_EQ(build(0x502), 0u);
	EXPECT_EQ(harness::log(), (log_lines{partition_listed(0x502, 0, name_of_length(32), 0x20000), partitions_counted(0x502, 1)}));
	EXPECT_FALSE(finds(name_of_length(39)));
}

TEST_F(config_partitions, behind_a_name_that_is_too_long_are_sound)
{
	build_well(0x503);
	EXPECT_TRUE(finds("part1"));
	EXPECT_EQ(count(), 2u);
}

// ------------------------------------------------------------------------------------ looking up

TEST_F(config_partitions, of_one_name_are_found_by_the_first)
{
	build_well(0x500);
	const uint32_t first = harness::call("drv_flash_mtd_info_find", {"part0"});
	const uint32_t second = harness::call("drv_flash_mtd_info_find", {"twice"});
	const uint32_t fourth = harness::call("drv_flash_mtd_info_find", {"part3"});
	EXPECT_EQ(first, static_cast<uint32_t>(table()));
	EXPECT_EQ(3 * (second - first), fourth - first);
}

class config_partition_lookup : public config_partitions, public testing::WithParamInterface<const char *> {};

TEST_P(config_partition_lookup, does_not_find)
{
	build_well(0x501);
	EXPECT_FALSE(finds(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(of, config_partition_lookup,
			 testing::Values("config", "Confi", "config22", "CONFIG2", "CONF", "con", "", " conf", "conf "));

TEST_F(config_partitions, are_found_by_their_exact_names)
{
	build_well(0x501);
	for (const char *name : {"Config", "config2", "conf"})
		EXPECT_TRUE(finds(name)) << name;
}

TEST_F(config_partitions, are_not_found_without_a_name)
{
	build_well(two);
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {nullptr}));
}

TEST_F(config_partitions, are_not_found_before_they_are_built)
{
	expect_absent();
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {nullptr}));
}

TEST_F(config_partitions, are_looked_up_without_a_call_or_a_word)
{
	build_well(two);
	EXPECT_TRUE(finds("part1"));
	EXPECT_FALSE(finds("part2"));
	EXPECT_EQ(harness::calls(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{});
}

// ------------------------------------------------------------------------------------ releasing

TEST_F(config_partitions, are_released_at_once)
{
	build_well(three);
	release();
	EXPECT_EQ(harness::calls(), call_list{freed});
	EXPECT_EQ(harness::log(), log_lines{});
	expect_absent();
}

TEST_F(config_partitions, that_were_never_built_are_released_without_a_call)
{
	release();
	EXPECT_EQ(harness::calls(), call_list{});
	expect_absent();
}

TEST_F(config_partitions, are_released_once_however_often_that_is_asked)
{
	build_well(two);
	for (int i = 0; i < 3; ++i)
		release();
	EXPECT_EQ(harness::calls(), call_list{freed});
	expect_absent();
}

TEST_F(config_partitions, can_be_built_again_after_their_release)
{
	build_well(two);
	release();
	harness::forget();
	EXPECT_EQ(build(three), 0u);
	EXPECT_EQ(harness::log(), all_listed(three, 3));
	EXPECT_TRUE(finds("part2"));
}

// ------------------------------------------------------------------------------------ what a lookup meets meanwhile

class config_partitions_in_the_making : public config_partitions, public testing::WithParamInterface<unsigned> {};

TEST_P(config_partitions_in_the_making, are_not_found_before_the_last_is_ready)
{
	harness::forget();
	harness::stop_at("linux_mutex_init", GetParam());
	call_beside building([] { return build(three); });
	ASSERT_TRUE(comes_to_call("linux_mutex_init", GetParam()));
	EXPECT_EQ(count(), 0u);
	EXPECT_FALSE(finds("part0"));
	harness::go_on();
	EXPECT_EQ(building.code(), 0u);
	EXPECT_EQ(count(), 3u);
	EXPECT_TRUE(finds("part0"));
}

INSTANTIATE_TEST_SUITE_P(at, config_partitions_in_the_making, testing::Values(1u, 2u, 3u));

TEST_F(config_partitions, are_not_found_once_their_memory_goes)
{
	build_well(two);
	stopped_call releasing("kfree", [] {
		release();
		return 0u;
	});
	expect_absent();
	releasing.let_go();
}

TEST_F(config_partitions, of_a_table_that_cannot_be_read_are_never_found)
{
	harness::fail("xml_get_attr_string", 1, 3);
	stopped_call building("kfree", [] { return build(three); });
	expect_absent();
	EXPECT_NE(building.let_go(), 0u);
	expect_absent();
}

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
