// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Writes to listed partitions: all usable bytes are read, patched and written back, under the partition's lock.
#include "listed_words.hpp"

namespace conformance {
namespace {

class datapath_total_write : public on_listed {};

TEST_F(datapath_total_write, reads_patches_and_writes_back_the_usable_bytes)
{
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(0x10), 0x10), 0u);
	EXPECT_EQ(deeds(), (call_list{"get_mtd_device_nm(\"listed\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtd%d\")",
				      "vzalloc(131072)", "linux_mutex_lock(-)", "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 131072)",
				      "memcpy_s(-, 130816, -, 16)", "plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 131072)", "mutex_unlock(-)",
				      "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0x100, 0x10)});
	expect_changed(listed, 0x100, pattern(0x10));
}

TEST_F(datapath_total_write, says_so_before_anything_else)
{
	EXPECT_EQ(mtd_write("listed", 0, pattern(4), 4), 0u);
	EXPECT_EQ(names_from_last("drv_log_record"), (call_list{"drv_log_record", "vzalloc", "linux_mutex_lock", "plat_mtd_read_buf",
								"memcpy_s", "plat_mtd_update_buf", "mutex_unlock", "vfree"}));
}

TEST_F(datapath_total_write, without_usable_bytes_is_refused_after_its_note)
{
	const int index = add({.name = "no_usable", .size = 0x10000});
	EXPECT_EQ(mtd_write("no_usable", 0x40, pattern(16), 16), empty_range);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0x40, 16, 0, "/dev/mtd3")});
	EXPECT_EQ(names_from_last("snprintf_s"), (call_list{"snprintf_s", "drv_log_record"}));
	expect_unchanged(index);
}

TEST_F(datapath_total_write, of_the_only_usable_byte)
{
	const int index = add({.name = "one_usable", .size = 0x10000});
	EXPECT_EQ(mtd_write("one_usable", 0, pattern(1, 9), 1), 0u);
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, 1, -, 1)"});
	expect_changed(index, 0, pattern(1, 9));
}

TEST_F(datapath_total_write, to_a_partition_that_is_usable_as_a_whole_reaches_its_last_byte)
{
	const int index = add({.name = "whole", .size = 0x40000});
	EXPECT_EQ(mtd_write("whole", 0x3FFFF, pattern(1, 9), 1), 0u);
	expect_changed(index, 0x3FFFF, pattern(1, 9));
	EXPECT_EQ(mtd_write("whole", 0, pattern(0x40000, 10), 0x40000), 0u);
	expect_changed(index, 0, pattern(0x40000, 10));
}

TEST_F(datapath_total_write, of_mlc_nand_is_the_same)
{
	const int index = add({.name = "listed_mlc", .size = 0x20000, .type = harness::mtd_mlc_nand});
	EXPECT_EQ(mtd_write("listed_mlc", 0x7FF0, pattern(16), 16), 0u);
	expect_changed(index, 0x7FF0, pattern(16));
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0x7FF0, 16, 0x8000, "/dev/mtd3")});
}

TEST_F(datapath_total_write, to_a_name_listed_twice_follows_the_first_entry)
{
	const int index = add({.name = "twice", .size = 0x20000});
	EXPECT_EQ(mtd_write("twice", 0xFFF0, pattern(16), 16), 0u);
	EXPECT_NE(mtd_write("twice", 0xFFF1, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log().front(), total_write_note(0xFFF0, 16, 0x10000, "/dev/mtd3"));
	EXPECT_EQ(calls_of("vzalloc"), (call_list{"vzalloc(65536)", "vzalloc(65536)"}));
	expect_changed(index, 0xFFF0, pattern(16));
}

TEST_F(datapath_total_write, without_memory_fails_without_a_further_message_and_without_the_lock)
{
	harness::fail("vzalloc", 0);
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0x100, 16)});
	EXPECT_EQ(deeds().back(), "vzalloc(131072)");
	expect_unchanged(listed);
}

TEST_F(datapath_total_write, of_more_usable_bytes_than_memory_fails_without_a_further_message)
{
	const harness::expected_report report("vmalloc: allocation failure");
	add({.name = "too_large", .size = 0x10000});
	EXPECT_EQ(mtd_write("too_large", 0, pattern(16), 16), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0, 16, 0xFFFFFFF0, "/dev/mtd3")});
	EXPECT_EQ(deeds().back(), "vzalloc(4294967280)");
}

TEST_F(datapath_total_write, of_more_usable_bytes_than_the_partition_has_fails_in_the_read)
{
	const int index = add({.name = "too_usable", .size = 0x40000});
	const uint32_t status = mtd_write("too_usable", 0, pattern(16), 16);
	EXPECT_NE(status, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0, 16, 0x80000, "/dev/mtd3"), read_back_failure(0x80000, status)}));
	EXPECT_FALSE(called("plat_mtd_update_buf"));
	expect_unchanged(index);
}

TEST_F(datapath_total_write, of_no_bytes_rewrites_the_partition_as_it_is)
{
	bytes none(1);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"listed", "/dev/mtd2", 0x100, &none, 0}), 0u);
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, 130816, -, 0)"});
	EXPECT_EQ(times_called("plat_mtd_update_buf"), 1);
	expect_unchanged(listed);
}

TEST_F(datapath_total_write, that_uses_part_of_its_buffer_writes_no_more)
{
	EXPECT_EQ(mtd_write("listed", 0x400, pattern(64, 3), 32), 0u);
	expect_changed(listed, 0x400, pattern(32, 3));
}

TEST_F(datapath_total_write, leaves_the_bytes_beyond_the_usable_ones_alone_even_when_they_change)
{
	harness::set_mtd_content(listed, avail, bytes(16, 0x5A));
	EXPECT_EQ(mtd_write("listed", avail - 16, pattern(16), 16), 0u);
	EXPECT_EQ(harness::mtd_content(listed, avail, 16), bytes(16, 0x5A));
	EXPECT_EQ(harness::mtd_content(listed, avail - 16, 16), pattern(16));
}

class datapath_total_write_range : public on_three_partitions, public testing::WithParamInterface<range> {};

TEST_P(datapath_total_write_range, within_the_usable_bytes_is_written_and_nothing_else)
{
	const auto [offset, len] = GetParam();
	EXPECT_EQ(mtd_write("listed", offset, pattern(len, 80), len), 0u);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(offset, len)});
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, " + decimal(avail - offset) + ", -, " + decimal(len) + ")"});
	expect_changed(listed, offset, pattern(len, 80));
	expect_unchanged(nand);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_write_range,
			 testing::Values(range{0, 1}, range{0, avail}, range{avail - 1, 1}, range{avail - 16, 16}, range{1, avail - 1},
					 range{0xFFFF, 2}, range{0x123, 0x4567}),
			 name_of_range<range>);

class datapath_total_write_beyond : public on_listed, public testing::WithParamInterface<refused_range> {};

TEST_P(datapath_total_write_beyond, the_usable_bytes_fails_in_the_copy)
{
	const auto [offset, len, limit] = GetParam();
	const auto before = harness::mtd_count(listed);
	const uint32_t code = mtd_write("listed", offset, pattern(len), len);
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(offset, len), patch_failure(offset, len, code)}));
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, " + decimal(limit) + ", -, " + decimal(len) + ")"});
	EXPECT_EQ(names_from_last("memcpy_s"), (call_list{"memcpy_s", "mutex_unlock", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
	EXPECT_EQ(harness::mtd_count(listed).erases, before.erases);
	EXPECT_EQ(harness::mtd_count(listed).writes, before.writes);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_write_beyond,
			 testing::Values(refused_range{avail - 1, 2, 1}, refused_range{avail, 1, 0}, refused_range{avail + 1, 1, 0},
					 refused_range{0, avail + 1, avail}, refused_range{0x10000, 0x20000, 0x10000},
					 refused_range{0x3FFFF, 1, 0}, refused_range{0x20001, 0x10, 0}, refused_range{1, avail, avail - 1}),
			 name_of_range<refused_range>);

// Only a direct call can ask for these.
class datapath_total_write_far_beyond : public on_listed, public testing::WithParamInterface<refused_range> {};

TEST_P(datapath_total_write_far_beyond, the_usable_bytes_fails_in_the_copy)
{
	const auto [offset, len, limit] = GetParam();
	bytes data = pattern(64);
	const uint32_t code = harness::call("drv_nand_flash_mtd_write", {"listed", "/dev/mtd2", offset, &data, len});
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(offset, len), patch_failure(offset, len, code)}));
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, " + decimal(limit) + ", -, " + decimal(len) + ")"});
	EXPECT_FALSE(called("plat_mtd_update_buf"));
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_write_far_beyond,
			 testing::Values(refused_range{0xFFFFFFFF, 1, 0}, refused_range{0xFFFFFFFF, 2, 0},
					 refused_range{0xFFFFFFF0, 0x10, 0}, refused_range{0x80000000, 0x40, 0},
					 refused_range{0, 0xFFFFFFFF, avail}, refused_range{avail, 0xFFFFFFFF, 0}),
			 name_of_range<refused_range>);

class datapath_total_write_status : public on_listed, public testing::WithParamInterface<uint32_t> {};

TEST_P(datapath_total_write_status, of_the_read_comes_back_after_unlock_free_and_message)
{
	harness::fail("plat_mtd_read_buf", GetParam());
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), read_back_failure(avail, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"),
		  (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "mutex_unlock", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
}

TEST_P(datapath_total_write_status, of_the_copy_comes_back_after_unlock_free_and_message)
{
	harness::fail("memcpy_s", GetParam());
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), patch_failure(0x100, 16, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"),
		  (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "memcpy_s", "mutex_unlock", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
}

TEST_P(datapath_total_write_status, of_the_update_comes_back_after_unlock_free_and_message)
{
	harness::fail("plat_mtd_update_buf", GetParam());
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), write_back_failure(avail, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"), (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "memcpy_s",
								  "plat_mtd_update_buf", "mutex_unlock", "vfree", "drv_log_record"}));
	EXPECT_EQ(times_called("plat_mtd_update_buf"), 1) << "a failed update is not tried again";
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_write_status, statuses, name_of_status);

// ---------------------------------------------------------------------------------------------------------------- the total path by itself

class datapath_total_path : public on_listed {
protected:
	static uint64_t entry_of(const char *name) { return harness::call_address("drv_flash_mtd_info_find", {name}); }

	static uint32_t total_read(uint32_t offset, bytes *buf)
	{
		return harness::call("drv_nand_flash_mtd_total_read",
				     {entry_of("listed"), "/dev/mtd2", offset, buf, static_cast<uint32_t>(buf->size())});
	}

	static uint32_t total_write(const char *name, uint32_t offset, bytes data)
	{
		return harness::call("drv_nand_flash_mtd_total_write",
				     {entry_of(name), "/dev/mtd2", offset, &data, static_cast<uint32_t>(data.size())});
	}
};

TEST_F(datapath_total_path, reads)
{
	bytes buf(16);
	EXPECT_EQ(total_read(0x100, &buf), 0u);
	EXPECT_EQ(buf, original(listed, 0x100, 16));
}

TEST_F(datapath_total_path, reads_nothing_without_an_image)
{
	bytes buf(16, 0xEE);
	harness::fail("vzalloc", 0);
	EXPECT_EQ(total_read(0x100, &buf), no_buffer);
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_F(datapath_total_path, writes)
{
	EXPECT_EQ(total_write("listed", 0x100, pattern(16)), 0u);
	expect_changed(listed, 0x100, pattern(16));
}

TEST_F(datapath_total_path, writes_nothing_without_an_image)
{
	harness::fail("vzalloc", 0);
	EXPECT_EQ(total_write("listed", 0x100, pattern(16)), no_buffer);
	expect_unchanged(listed);
}

TEST_F(datapath_total_path, writes_nothing_where_no_bytes_are_usable)
{
	EXPECT_EQ(total_write("no_usable", 0, pattern(1)), empty_range);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0, 1, 0)});
	EXPECT_FALSE(called("vzalloc"));
	expect_unchanged(listed);
}

TEST_F(datapath_total_path, is_taken_by_writes_without_an_image_too)
{
	bytes data = pattern(16);
	harness::fail("vzalloc", 0);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"listed", "/dev/mtd2", 0x100, &data, 16}), no_buffer);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"no_usable", "/dev/mtd2", 0, &data, 1}), empty_range);
	expect_unchanged(listed);
}

} // namespace
} // namespace conformance
