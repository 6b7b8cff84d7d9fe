// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Sections read and written: which bytes move, through which calls, and what is refused.
#include <atomic>
#include <thread>

#include "section_words.hpp"

namespace conformance {
namespace {

class datapath_section : public on_sections {};

// What holds for both directions.
class datapath_section_transfer : public on_sections, public testing::WithParamInterface<direction> {
protected:
	direction way() const { return GetParam(); }

	uint32_t transfer(uint32_t instance, uint32_t section, uint32_t offset, uint32_t len)
	{
		return section_transfer(way(), instance, section, offset, &buf_, len);
	}

	// A transfer that succeeds goes to this device and place.
	void expect_served_from(std::string_view partition, int index, uint32_t position, uint32_t len)
	{
		EXPECT_EQ(harness::calls(), section_transfer_calls(way(), partition, index, position, len));
		EXPECT_EQ(harness::log(), log_lines());
	}

	bytes buf_ = bytes(0x1000, 0xEE);
};

INSTANTIATE_TEST_SUITE_P(by, datapath_section_transfer, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- order of calls

TEST_P(datapath_section_transfer, makes_its_calls_in_order)
{
	EXPECT_EQ(transfer(default_instance, one, 0x1010, 0x30), 0u);
	expect_served_from("nor", nor, 0x10, 0x30);
}

TEST_P(datapath_section_transfer, asks_for_nothing_but_an_empty_transfer_when_the_length_is_0)
{
	EXPECT_EQ(transfer(default_instance, one, 0x1010, 0), 0u);
	expect_served_from("nor", nor, 0x10, 0);
	expect_unchanged(nor);
}

TEST_P(datapath_section_transfer, of_length_0_succeeds_at_the_end_of_the_partition)
{
	EXPECT_EQ(transfer(default_instance, longer_than_its_partition, 0x420000, 0), 0u);
	expect_served_from("nor", nor, 0x20000, 0);
}

TEST_P(datapath_section_transfer, forgets_the_device_after_each_call)
{
	EXPECT_EQ(transfer(default_instance, one, 0x1000, 4), 0u);
	EXPECT_EQ(harness::held().mtd_references, 0);
	EXPECT_EQ(harness::held().open_files, 0);
	harness::remove_mtd(nor);
	add({.name = "nor", .size = nor_size, .type = harness::mtd_nor, .index = 12});
	harness::forget();
	EXPECT_EQ(transfer(default_instance, one, 0x1000, 4), 0u);
	expect_served_from("nor", 12, 0, 4);
}

TEST_P(datapath_section_transfer, of_a_listed_partition_takes_neither_its_lock_nor_the_flash_service)
{
	add_listed();
	EXPECT_EQ(transfer(default_instance, on_listed, 0x3F000, 0x1000), 0u);
	expect_served_from("listed", listed, 0x3F000, 0x1000);
}

// The semaphore of the sections and the lock of the partition are two.
TEST_F(datapath_section, write_under_a_write_by_name_is_answered_0_and_lost)
{
	add_listed();
	const bytes by_name = pattern(16, 40), by_section = pattern(16, 50);
	stopped_call with_its_image("plat_mtd_update_buf", [&] { return mtd_write("listed", 0x8000, by_name, 16); });
	EXPECT_EQ(section_write(default_instance, on_listed, 0x100, by_section, 16), 0u);
	expect_changed(listed, 0x100, by_section);
	EXPECT_EQ(with_its_image.let_go(), 0u);
	expect_changed(listed, 0x8000, by_name);
}

// ---------------------------------------------------------------------------------------------------------------- rows and instances

TEST_P(datapath_section_transfer, takes_the_first_of_two_rows_when_it_contains_the_range)
{
	EXPECT_EQ(transfer(default_instance, alternatives, 0xFF0, 0x10), 0u);
	expect_served_from("nor", nor, 0xFF0, 0x10);
}

TEST_P(datapath_section_transfer, takes_the_second_of_two_rows_at_a_place_counted_from_its_own_start)
{
	add_nand();
	EXPECT_EQ(transfer(default_instance, alternatives, 0x100040, 0x10), 0u);
	expect_served_from("nand", nand, 0x40, 0x10);
}

TEST_P(datapath_section_transfer, takes_the_first_of_two_rows_that_both_contain_the_range)
{
	EXPECT_EQ(transfer(default_instance, overlapping, 0x900, 0x700), 0u);
	expect_served_from("nor", nor, 0x900, 0x700);
}

TEST_P(datapath_section_transfer, takes_the_second_of_two_rows_when_the_first_is_too_short)
{
	add_nand();
	EXPECT_EQ(transfer(default_instance, overlapping, 0x900, 0x701), 0u);
	expect_served_from("nand", nand, 0x100, 0x701);
}

TEST_P(datapath_section_transfer, takes_the_sections_of_its_own_instance)
{
	add_nand();
	ASSERT_EQ(harness::call("drv_flash_init", {5}), 0u);
	harness::forget();
	EXPECT_EQ(transfer(5, one, 0x2010, 0x20), 0u);
	expect_served_from("nand", nand, 0x1010, 0x20);
	harness::forget();
	EXPECT_EQ(transfer(default_instance, one, 0x2010, 0x20), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_section_said(way(), one, 0x2010, 0x20)});
}

TEST_P(datapath_section_transfer, serves_instance_0_and_section_0)
{
	ASSERT_EQ(harness::call("drv_flash_init", {0}), 0u);
	harness::forget();
	EXPECT_EQ(transfer(0, 0, 0, 1), 0u);
	expect_served_from("nor", nor, 0, 1);
}

TEST_P(datapath_section_transfer, serves_the_section_with_the_highest_id)
{
	EXPECT_EQ(transfer(default_instance, highest_id, 0x1000, 0x10), 0u);
	expect_served_from("nor", nor, 0, 0x10);
}

TEST_P(datapath_section_transfer, reaches_the_last_address_that_can_be_asked_for)
{
	EXPECT_EQ(transfer(default_instance, up_to_the_last_address, 0xFFFFFFF0, 0xF), 0u);
	expect_served_from("nor", nor, 0xFFF0, 0xF);
}

TEST_P(datapath_section_transfer, widens_the_position_without_its_sign)
{
	const int index = add({.name = "huge", .size = 0xFFFF0000, .type = harness::mtd_nor});
	EXPECT_EQ(transfer(default_instance, huge, 0x80000010, 0x10), 0u);
	expect_served_from("huge", index, 0x80000010, 0x10);
}

TEST_P(datapath_section_transfer, looks_up_a_name_of_39_characters_whole)
{
	const std::string name = "abcdefghijklmnopqrstuvwxyz0123456789ABC";
	const int index = add({.name = name, .size = 0x10000, .type = harness::mtd_nor});
	EXPECT_EQ(transfer(default_instance, long_name, 0x10, 0x10), 0u);
	expect_served_from(name, index, 0x10, 0x10);
}

// ---------------------------------------------------------------------------------------------------------------- what is refused

TEST_P(datapath_section_transfer, without_a_buffer_is_refused_in_silence)
{
	EXPECT_EQ(section_transfer(way(), default_instance, one, 0x1000, nullptr, 4), null_pointer);
	EXPECT_EQ(harness::calls(), call_list());
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(datapath_section_transfer, without_a_buffer_is_refused_before_all_else)
{
	EXPECT_EQ(section_transfer(way(), 77, 77, 0xFFFFFFFF, nullptr, 0xFFFFFFFF), null_pointer);
	EXPECT_EQ(section_transfer(way(), default_instance, one, 0x1000, nullptr, 0), null_pointer);
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_P(datapath_section_transfer, says_overflow_before_it_looks_for_the_instance)
{
	EXPECT_EQ(transfer(77, one, 0xFFFFFFFF, 1), range_overflow);
	EXPECT_EQ(harness::log(), log_lines{overflow_said(way())});
	EXPECT_EQ(deeds(), call_list());
}

TEST_P(datapath_section_transfer, of_an_unknown_instance_is_refused)
{
	EXPECT_EQ(transfer(0x4D, one, 0x1000, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_instance_said(0x4D)});
	EXPECT_EQ(deeds(), call_list());
}

TEST_P(datapath_section_transfer, of_an_instance_not_yet_configured_is_refused)
{
	EXPECT_EQ(transfer(5, one, 0x1000, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_instance_said(5)});
}

TEST_P(datapath_section_transfer, of_an_instance_without_sections_is_refused)
{
	ASSERT_EQ(harness::call("drv_flash_init", {6}), 0u);
	harness::forget();
	EXPECT_EQ(transfer(6, one, 0x1000, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_instance_said(6)});
}

TEST_P(datapath_section_transfer, of_an_instance_that_was_removed_is_refused)
{
	add_nand();
	ASSERT_EQ(harness::call("drv_flash_init", {5}), 0u);
	EXPECT_EQ(transfer(5, one, 0x1000, 4), 0u);
	ASSERT_EQ(harness::call("drv_flash_exit", {5}), 0u);
	harness::forget();
	EXPECT_EQ(transfer(5, one, 0x1000, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_instance_said(5)});
}

TEST_P(datapath_section_transfer, prints_the_highest_section_as_a_signed_number)
{
	EXPECT_EQ(transfer(default_instance, highest_id, 0xFFFFFFF0, 0xF), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_section_said(way(), 0xFFFFFFFF, 0xFFFFFFF0, 0xF)});
	EXPECT_EQ(harness::log().at(0).text,
		  std::string(by(way(), "drv flash read", "drv flash write")) + " section_id -1 offset 4294967280 len 15 error.");
}

TEST_P(datapath_section_transfer, of_an_absent_partition_is_refused)
{
	EXPECT_EQ(transfer(default_instance, absent, 0x10, 4), invalid);
	EXPECT_EQ(harness::calls(), (call_list{looked_up("absent"), message(own, ordinary,
									    by(way(), "Failed to find mtd index by mtd name:%s",
									       "Failed to find mtd index by mtd name"))}));
	EXPECT_EQ(harness::log(), log_lines{no_device_said(way(), "absent")});
}

TEST_P(datapath_section_transfer, of_a_partition_with_an_empty_name_is_refused)
{
	EXPECT_EQ(transfer(default_instance, nameless, 0x10, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_device_said(way(), "")});
	EXPECT_EQ(deeds(), call_list{looked_up("")});
}

TEST_P(datapath_section_transfer, of_a_name_of_39_characters_says_it_whole)
{
	EXPECT_EQ(transfer(default_instance, long_name, 0x10, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_device_said(way(), "abcdefghijklmnopqrstuvwxyz0123456789ABC")});
}

struct asked {
	const char *label;
	uint32_t section, offset, len;
};

class datapath_section_refused : public on_sections_alone, public testing::WithParamInterface<std::tuple<direction, asked>> {};

TEST_P(datapath_section_refused, has_no_section)
{
	const auto &[way, asked] = GetParam();
	bytes buf(16, 0xEE);
	EXPECT_EQ(section_transfer(way, default_instance, asked.section, asked.offset, &buf, asked.len), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_section_said(way, asked.section, asked.offset, asked.len)});
	EXPECT_EQ(deeds(), call_list());
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(
	of, datapath_section_refused,
	testing::Combine(testing::Values(direction::read, direction::write),
			 testing::Values(asked{"one_byte_behind_the_last", one, 0x1FFF, 2}, asked{"nothing_at_the_end", one, 0x2000, 0},
					 asked{"one_byte_before_the_first", one, 0xFFF, 1}, asked{"one_byte_too_many", one, 0x1000, 0x1001},
					 asked{"unknown_section", 14, 0x1000, 1}, asked{"section_0", 0, 0x1000, 1},
					 asked{"section_of_size_0", empty, 0x1000, 0},
					 asked{"section_that_wraps", beyond_4_gib, 0xFFFFF000, 1},
					 asked{"section_that_wraps_below_its_end", beyond_4_gib, 0x10, 1},
					 asked{"section_up_to_4_gib", up_to_4_gib, 0xFFFFF000, 1},
					 asked{"nothing_at_the_last_address", up_to_the_last_address, 0xFFFFFFFF, 0},
					 asked{"range_over_two_rows", overlapping, 0x700, 0x1000})),
	[](const auto &row) { return as_case_name(std::get<0>(row.param)) + "_" + std::get<1>(row.param).label; });

struct asked_range {
	uint32_t offset, len;
};

class datapath_section_overflow : public on_sections_alone, public testing::WithParamInterface<std::tuple<direction, asked_range>> {};

TEST_P(datapath_section_overflow, is_refused)
{
	const auto &[way, range] = GetParam();
	bytes buf(16, 0xEE);
	EXPECT_EQ(section_transfer(way, default_instance, up_to_the_last_address, range.offset, &buf, range.len), range_overflow);
	EXPECT_EQ(harness::log(), log_lines{overflow_said(way)});
	EXPECT_EQ(deeds(), call_list());
}

INSTANTIATE_TEST_SUITE_P(of, datapath_section_overflow,
			 testing::Combine(testing::Values(direction::read, direction::write),
					  testing::Values(asked_range{0xFFFFFFF0, 0x10}, asked_range{0xFFFFFFF0, 0x11},
							  asked_range{0xFFFFFFFF, 1}, asked_range{1, 0xFFFFFFFF},
							  asked_range{0xFFFFFFFF, 0xFFFFFFFF}, asked_range{0x80000000, 0x80000000})),
			 [](const auto &row) {
				 const asked_range &range = std::get<1>(row.param);
				 return as_case_name(std::get<0>(row.param)) + "_" + hexadecimal(range.len) + "_at_" +
					hexadecimal(range.offset);
			 });

// ---------------------------------------------------------------------------------------------------------------- content

struct placed {
	uint32_t section, offset, len;
	const char *partition;
	uint32_t position;
};

class datapath_section_range : public on_sections, public testing::WithParamInterface<placed> {
protected:
	void prepare() override
	{
		on_sections::prepare();
		add_nand();
	}

	int device() const { return std::string_view(GetParam().partition) == "nor" ? nor : nand; }
};

TEST_P(datapath_section_range, is_read)
{
	const placed &range = GetParam();
	bytes buf(range.len + 8, 0xEE);
	EXPECT_EQ(section_read(default_instance, range.section, range.offset, &buf, range.len), 0u);
	bytes expected = original(device(), range.position, range.len);
	expected.insert(expected.end(), 8, 0xEE);
	EXPECT_TRUE(buf == expected);
	expect_unchanged(nor);
	expect_unchanged(nand);
}

TEST_P(datapath_section_range, is_written_and_nothing_else)
{
	const placed &range = GetParam();
	EXPECT_EQ(section_write(default_instance, range.section, range.offset, pattern(range.len, 70), range.len), 0u);
	expect_changed(device(), range.position, pattern(range.len, 70));
	expect_unchanged(device() == nor ? nand : nor);
}

TEST_P(datapath_section_range, is_read_back_as_written)
{
	const placed &range = GetParam();
	EXPECT_EQ(section_write(default_instance, range.section, range.offset, pattern(range.len, 71), range.len), 0u);
	bytes buf(range.len);
	EXPECT_EQ(section_read(default_instance, range.section, range.offset, &buf, range.len), 0u);
	EXPECT_TRUE(buf == pattern(range.len, 71));
}

INSTANTIATE_TEST_SUITE_P(
	of, datapath_section_range,
	testing::Values(placed{one, 0x1000, 0x1000, "nor", 0}, placed{one, 0x1FFF, 1, "nor", 0xFFF},
			placed{one, 0x1123, 0x456, "nor", 0x123}, placed{alternatives, 0, 0x1000, "nor", 0},
			placed{alternatives, 0x100000, 0x20000, "nand", 0}, placed{alternatives, 0x10FFF0, 0x20, "nand", 0xFFF0},
			placed{overlapping, 0x17FF, 1, "nand", 0xFFF}, placed{up_to_the_last_address, 0xFFFFFFFE, 1, "nor", 0xFFFE}),
	[](const auto &row) {
		return decimal(row.param.section) + "_" + hexadecimal(row.param.len) + "_at_" + hexadecimal(row.param.offset);
	});

TEST_F(datapath_section, write_only_reads_its_buffer)
{
	bytes buf = pattern(0x40, 3);
	EXPECT_EQ(harness::call("drv_flash_write", {default_instance, one, 0x1000, &buf, 0x20}), 0u);
	EXPECT_EQ(buf, pattern(0x40, 3));
	expect_changed(nor, 0, pattern(0x20, 3));
}

TEST_F(datapath_section, write_is_on_the_flash_when_it_returns)
{
	const auto before = harness::mtd_count(nor);
	EXPECT_EQ(section_write(default_instance, one, 0x1010, pattern(16, 4), 16), 0u);
	EXPECT_GT(harness::mtd_count(nor).writes, before.writes);
	EXPECT_FALSE(called("vfs_fsync"));
	expect_changed(nor, 0x10, pattern(16, 4));
}

TEST_F(datapath_section, read_leaves_the_flash_alone)
{
	const auto before = harness::mtd_count(nor);
	bytes buf(0x1000);
	EXPECT_EQ(section_read(default_instance, one, 0x1000, &buf, 0x1000), 0u);
	EXPECT_EQ(harness::mtd_count(nor).writes, before.writes);
	EXPECT_EQ(harness::mtd_count(nor).erases, before.erases);
}

TEST_F(datapath_section, one_partition_shows_through_the_sections_of_two_rows)
{
	EXPECT_EQ(section_write(default_instance, one, 0x1100, pattern(16, 5), 16), 0u);
	bytes buf(16);
	EXPECT_EQ(section_read(default_instance, alternatives, 0x100, &buf, 16), 0u);
	EXPECT_EQ(buf, pattern(16, 5));
}

TEST_F(datapath_section, two_reads_start_at_their_own_places)
{
	bytes first(8), second(8);
	EXPECT_EQ(section_read(default_instance, one, 0x1100, &first, 8), 0u);
	EXPECT_EQ(section_read(default_instance, one, 0x1100, &second, 8), 0u);
	EXPECT_EQ(first, original(nor, 0x100, 8));
	EXPECT_EQ(second, first);
}

// ---------------------------------------------------------------------------------------------------------------- short partitions

TEST_F(datapath_section, read_over_the_end_of_the_partition_keeps_what_it_got)
{
	bytes buf(0x20, 0xEE);
	EXPECT_EQ(section_read(default_instance, longer_than_its_partition, 0x41FFF0, &buf, 0x20), short_read);
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(direction::read, "nor", 32, 16)});
	bytes expected = original(nor, 0x1FFF0, 0x10);
	expected.insert(expected.end(), 0x10, 0xEE);
	EXPECT_EQ(buf, expected);
}

TEST_F(datapath_section, read_at_the_end_of_the_partition_gets_nothing)
{
	bytes buf(0x20, 0xEE);
	EXPECT_EQ(section_read(default_instance, longer_than_its_partition, 0x420000, &buf, 0x20), short_read);
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(direction::read, "nor", 32, 0)});
	EXPECT_EQ(buf, bytes(0x20, 0xEE));
}

TEST_F(datapath_section, read_behind_the_partition_cannot_seek)
{
	bytes buf(0x20, 0xEE);
	EXPECT_EQ(section_read(default_instance, longer_than_its_partition, 0x420001, &buf, 0x20), invalid);
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(ordinary, "[drv flash Read] lseek to 0x420001(0x20001) fail, ret = 0xffffffffffffffea.")});
	EXPECT_EQ(buf, bytes(0x20, 0xEE));
}

TEST_F(datapath_section, write_over_the_end_of_the_partition_writes_what_fits)
{
	EXPECT_EQ(section_write(default_instance, longer_than_its_partition, 0x41FFF0, pattern(0x20, 6), 0x20), short_write);
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(direction::write, "nor", 32, 16)});
	const bytes written = pattern(0x20, 6);
	expect_changed(nor, 0x1FFF0, {written.begin(), written.begin() + 0x10});
}

TEST_F(datapath_section, write_at_the_end_of_the_partition_finds_no_room)
{
	EXPECT_EQ(section_write(default_instance, longer_than_its_partition, 0x420000, pattern(0x20, 6), 0x20), short_write);
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(direction::write, "nor", 32, -28)});
	expect_unchanged(nor);
}

TEST_F(datapath_section, write_behind_the_partition_cannot_seek)
{
	EXPECT_EQ(section_write(default_instance, longer_than_its_partition, 0x420001, pattern(0x20, 6), 0x20), invalid);
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(ordinary, "[drv flash write] lseek to 0x420001(0x20001) fail, ret = 0xffffffffffffffea.")});
	expect_unchanged(nor);
}

// ---------------------------------------------------------------------------------------------------------------- several callers

// The most files that were open at any one time.
int most_files_at_once()
{
	int open = 0, most = 0;
	for (const std::string &name : call_names()) {
		if (name == "filp_open")
			most = std::max(most, ++open);
		if (name == "filp_close")
			--open;
	}
	return most;
}

class datapath_section_callers : public on_sections {
protected:
	void prepare() override
	{
		on_sections::prepare();
		add_nand();
	}

	static constexpr int rounds = 3;

	// Each thread writes a range of its own and reads it back, again and again; gives the number of results that it did not expect.
	static int write_and_read(uint32_t instance, uint32_t section, uint32_t offset)
	{
		int unexpected = 0;
		for (int round = 1; round <= rounds; ++round) {
			const bytes data(0x80, static_cast<uint8_t>(round));
			bytes back(0x80);
			unexpected += section_write(instance, section, offset, data, 0x80) != 0;
			unexpected += section_read(instance, section, offset, &back, 0x80) != 0;
			unexpected += back != data;
		}
		return unexpected;
	}

	static void run(const std::vector<std::function<int()>> &jobs)
	{
		std::atomic<int> unexpected = 0;
		std::vector<std::thread> threads;
		for (const auto &job : jobs)
			threads.emplace_back([&unexpected, &job] { unexpected += job(); });
		for (std::thread &thread : threads)
			thread.join();
		EXPECT_EQ(unexpected, 0);
	}
};

TEST_F(datapath_section_callers, of_one_instance_follow_one_another)
{
	run({[] { return write_and_read(default_instance, one, 0x1000); }, [] { return write_and_read(default_instance, one, 0x1080); },
	     [] { return write_and_read(default_instance, alternatives, 0x100000); }});
	EXPECT_EQ(most_files_at_once(), 1);
	expect_changed(nor, 0, bytes(0x100, rounds));
	expect_changed(nand, 0, bytes(0x80, rounds));
	EXPECT_EQ(times_called("down_killable"), times_called("up"));
	EXPECT_EQ(harness::held().locks, 0);
}

TEST_F(datapath_section_callers, of_one_instance_wait_for_the_one_that_is_at_work)
{
	bytes first(0x10), second(0x10);
	stopped_call reader("kernel_read", [&] { return section_read(default_instance, one, 0x1000, &first, 0x10); });
	call_beside waiter([&] { return section_read(default_instance, alternatives, 0x100000, &second, 0x10); });
	EXPECT_TRUE(comes_to_call("down_killable", 2));
	std::this_thread::sleep_for(std::chrono::milliseconds(20));
	EXPECT_EQ(times_called("filp_open"), 1);
	EXPECT_EQ(reader.let_go(), 0u);
	EXPECT_EQ(waiter.code(), 0u);
	EXPECT_EQ(first, original(nor, 0, 0x10));
	EXPECT_EQ(second, original(nand, 0, 0x10));
}

TEST_F(datapath_section_callers, of_two_instances_work_side_by_side)
{
	ASSERT_EQ(harness::call("drv_flash_init", {5}), 0u);
	bytes first(0x10), second(0x20);
	stopped_call reader("kernel_read", [&] { return section_read(default_instance, alternatives, 0x100000, &first, 0x10); });
	EXPECT_EQ(section_read(5, one, 0x2010, &second, 0x20), 0u);
	EXPECT_EQ(second, original(nand, 0x1010, 0x20));
	EXPECT_EQ(reader.let_go(), 0u);
	EXPECT_EQ(first, original(nand, 0, 0x10));
}

TEST_F(datapath_section_callers, of_two_instances_do_not_disturb_one_another)
{
	ASSERT_EQ(harness::call("drv_flash_init", {5}), 0u);
	harness::forget();
	run({[] { return write_and_read(default_instance, one, 0x1000); }, [] { return write_and_read(5, one, 0x1000); }});
	expect_changed(nor, 0, bytes(0x80, rounds));
	expect_changed(nand, 0, bytes(0x80, rounds));
	EXPECT_EQ(harness::held().open_files, 0);
	EXPECT_EQ(harness::held().mtd_references, 0);
}

} // namespace
} // namespace conformance
