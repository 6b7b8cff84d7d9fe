// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// NAND partitions: transfers through the platform's flash buffer service, at their offset or, where the board lists the partition, as a
// whole and under its lock.
#include "partition_words.hpp"

namespace conformance {
namespace {

struct range {
	uint32_t offset, len;
};

template <typename row> std::string name_of_range(const testing::TestParamInfo<row> &info)
{
	return hexadecimal(info.param.len) + "_at_" + hexadecimal(info.param.offset);
}

const auto statuses = testing::Values(1u, 5u, 0x811B0001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFBu, 0xFFFFFFFFu);

std::string name_of_status(const testing::TestParamInfo<uint32_t> &row)
{
	return hexadecimal(row.param);
}

log_line normal_read_trace(const std::string &name, uint32_t offset, uint32_t len)
{
	return own_log(trace, "mtd normal read: mtd " + name + " offset " + decimal(offset) + " len " + decimal(len));
}

log_line normal_write_note(const std::string &name, uint32_t offset, uint32_t len)
{
	return own_log(ordinary, "mtd normal write: mtd " + name + " offset " + decimal(offset) + " len " + decimal(len));
}

log_line total_read_trace(const std::string &path, uint32_t offset, uint32_t len)
{
	return own_log(trace, "mtd total read: mtd " + path + " offset " + decimal(offset) + " len " + decimal(len));
}

log_line total_read_failure(uint32_t total, uint32_t code)
{
	return own_log(ordinary, "mtd total read: total_len " + decimal(total) + " fail " + hexadecimal(code));
}

log_line total_write_note(const std::string &path, uint32_t offset, uint32_t len, uint32_t avail_size)
{
	return own_log(ordinary, "mtd total write: mtd " + path + " offset " + decimal(offset) + " len " + decimal(len) + " avail_size " +
					 decimal(avail_size));
}

log_line read_back_failure(uint32_t avail_size, uint32_t code)
{
	return own_log(serious, "mtd total write: read buf len " + decimal(avail_size) + " fail " + hexadecimal(code));
}

log_line patch_failure(uint32_t offset, uint32_t len, uint32_t code)
{
	return own_log(serious,
		       "mtd total write: memcpy offset " + decimal(offset) + " len " + decimal(len) + " fail " + hexadecimal(code));
}

log_line write_back_failure(uint32_t avail_size, uint32_t code)
{
	return own_log(serious, "mtd total write: write buf len " + decimal(avail_size) + " fail " + hexadecimal(code));
}

// The end of the calls seen, beginning with the last call of that name.
call_list names_from_last(std::string_view name)
{
	const call_list names = call_names();
	const auto last = std::find(names.rbegin(), names.rend(), name);
	return last == names.rend() ? call_list() : call_list(last.base() - 1, names.end());
}

// ---------------------------------------------------------------------------------------------------------------- the normal road

class datapath_normal : public on_nand {};

TEST_F(datapath_normal, read_asks_the_service_for_the_very_range)
{
	bytes buf(0x20);
	EXPECT_EQ(mtd_read("nand", 0x1234, &buf, 0x20), 0u);
	EXPECT_EQ(deeds(),
		  (call_list{"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)", "get_mtd_device_nm(\"nand\")", "put_mtd_device(-)",
			     "snprintf_s(-, 32, 31, \"/dev/mtd%d\")", "plat_mtd_read_buf(\"/dev/mtd1\", 4660, -, 32)"}));
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("nand", 0x1234, 0x20)});
}

TEST_F(datapath_normal, write_gives_the_service_the_very_range)
{
	EXPECT_EQ(mtd_write("nand", 0x1234, pattern(0x20), 0x20), 0u);
	EXPECT_EQ(deeds(), (call_list{"get_mtd_device_nm(\"nand\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtd%d\")",
				      "plat_mtd_update_buf(\"/dev/mtd1\", 4660, -, 32)"}));
	EXPECT_EQ(harness::log(), log_lines{normal_write_note("nand", 0x1234, 0x20)});
}

TEST_F(datapath_normal, message_comes_before_the_service_is_called)
{
	bytes buf(4);
	EXPECT_EQ(mtd_read("nand", 0, &buf, 4), 0u);
	EXPECT_EQ(names_from_last("drv_log_record"), (call_list{"drv_log_record", "plat_mtd_read_buf"}));
	EXPECT_EQ(mtd_write("nand", 0, buf, 4), 0u);
	EXPECT_EQ(names_from_last("drv_log_record"), (call_list{"drv_log_record", "plat_mtd_update_buf"}));
}

TEST_F(datapath_normal, mlc_nand_takes_it_too)
{
	const int mlc = add({.name = "mlc", .size = nand_size, .type = harness::mtd_mlc_nand});
	bytes buf(16);
	EXPECT_EQ(mtd_read("mlc", 0x80, &buf, 16), 0u);
	EXPECT_EQ(buf, original(mlc, 0x80, 16));
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("mlc", 0x80, 16)});
	EXPECT_EQ(mtd_write("mlc", 0x80, pattern(16), 16), 0u);
	expect_changed(mlc, 0x80, pattern(16));
}

TEST_F(datapath_normal, offset_is_widened_without_its_sign)
{
	add({.name = "large", .size = 0xFFFF0000});
	harness::fail("plat_mtd_read_buf", 5);
	harness::fail("plat_mtd_update_buf", 5);
	bytes buf(16);
	EXPECT_EQ(mtd_read("large", 0xFFFEFFF0, &buf, 16), 5u);
	EXPECT_EQ(mtd_write("large", 0xFFFEFFF0, buf, 16), 5u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd3\", 4294901744, -, 16)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd3\", 4294901744, -, 16)"});
	EXPECT_EQ(harness::log(), (log_lines{normal_read_trace("large", 0xFFFEFFF0, 16), normal_write_note("large", 0xFFFEFFF0, 16)}));
}

TEST_F(datapath_normal, length_is_widened_without_its_sign)
{
	add({.name = "large", .size = 0xFFFF0000});
	harness::fail("plat_mtd_read_buf", 5);
	bytes buf(16);
	EXPECT_EQ(mtd_read("large", 0, &buf, 0xFFFF0000), 5u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd3\", 0, -, 4294901760)"});
}

TEST_F(datapath_normal, inner_transfers_pass_their_arguments_on_untested)
{
	harness::fail("plat_mtd_read_buf", 0);
	harness::fail("plat_mtd_update_buf", 0);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"anything", "/dev/mtd17", 0xFFFFFFFF, nullptr, 0xFFFFFFFE}), 0u);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"anything", "/dev/mtd17", 0xFFFFFFFF, nullptr, 0}), 0u);
	EXPECT_EQ(deeds(), (call_list{"plat_mtd_read_buf(\"/dev/mtd17\", 4294967295, -, 4294967294)",
				      "plat_mtd_update_buf(\"/dev/mtd17\", 4294967295, -, 0)"}));
	EXPECT_EQ(harness::log(),
		  (log_lines{normal_read_trace("anything", 0xFFFFFFFF, 0xFFFFFFFE), normal_write_note("anything", 0xFFFFFFFF, 0)}));
}

TEST_F(datapath_normal, unchanged_content_is_not_erased_on_a_read)
{
	const auto before = harness::mtd_count(nand);
	bytes buf(nand_size);
	EXPECT_EQ(mtd_read("nand", 0, &buf, nand_size), 0u);
	EXPECT_TRUE(buf == original(nand, 0, nand_size));
	EXPECT_EQ(harness::mtd_count(nand).erases, before.erases);
	EXPECT_EQ(harness::mtd_count(nand).writes, before.writes);
}

class datapath_normal_status : public on_nand, public testing::WithParamInterface<uint32_t> {};

TEST_P(datapath_normal_status, of_a_read_comes_back_unchanged)
{
	harness::fail("plat_mtd_read_buf", GetParam());
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("nand", 0, &buf, 16), GetParam());
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("nand", 0, 16)});
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_P(datapath_normal_status, of_a_write_comes_back_unchanged)
{
	harness::fail("plat_mtd_update_buf", GetParam());
	EXPECT_EQ(mtd_write("nand", 0, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), log_lines{normal_write_note("nand", 0, 16)});
	expect_unchanged(nand);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_normal_status, statuses, name_of_status);

class datapath_normal_range : public on_three_partitions, public testing::WithParamInterface<range> {};

TEST_P(datapath_normal_range, is_read)
{
	const auto [offset, len] = GetParam();
	bytes buf(len + 8, 0xEE);
	EXPECT_EQ(mtd_read("nand", offset, &buf, len), 0u);
	bytes expected = original(nand, offset, len);
	expected.insert(expected.end(), 8, 0xEE);
	EXPECT_TRUE(buf == expected);
}

TEST_P(datapath_normal_range, is_written_and_nothing_else)
{
	const auto [offset, len] = GetParam();
	EXPECT_EQ(mtd_write("nand", offset, pattern(len, 70), len), 0u);
	expect_changed(nand, offset, pattern(len, 70));
	expect_unchanged(listed);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_normal_range,
			 testing::Values(range{0, 1}, range{0, 0x40000}, range{0x3FFFF, 1}, range{0xFFFF, 2}, range{0x3F000, 0x1000},
					 range{0x123, 0x4567}),
			 name_of_range<range>);

// ---------------------------------------------------------------------------------------------------------------- the total road: reads

class datapath_total_read : public on_listed {};

TEST_F(datapath_total_read, fetches_everything_up_to_the_end_of_the_range)
{
	bytes buf(0x10);
	EXPECT_EQ(mtd_read("listed", 0x100, &buf, 0x10), 0u);
	EXPECT_EQ(deeds(),
		  (call_list{"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)", "get_mtd_device_nm(\"listed\")", "put_mtd_device(-)",
			     "snprintf_s(-, 32, 31, \"/dev/mtd%d\")", "vzalloc(272)", "linux_mutex_lock(-)",
			     "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 272)", "mutex_unlock(-)", "memcpy_s(-, 16, -, 16)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_read_trace("/dev/mtd2", 0x100, 0x10)});
	EXPECT_EQ(buf, original(listed, 0x100, 0x10));
}

TEST_F(datapath_total_read, says_so_before_anything_else)
{
	bytes buf(4);
	EXPECT_EQ(mtd_read("listed", 0, &buf, 4), 0u);
	EXPECT_EQ(names_from_last("drv_log_record"),
		  (call_list{"drv_log_record", "vzalloc", "linux_mutex_lock", "plat_mtd_read_buf", "mutex_unlock", "memcpy_s", "vfree"}));
}

TEST_F(datapath_total_read, is_not_bound_to_the_usable_bytes)
{
	bytes buf(0x30000);
	EXPECT_EQ(mtd_read("listed", 0x10000, &buf, 0x30000), 0u);
	EXPECT_TRUE(buf == original(listed, 0x10000, 0x30000));
}

TEST_F(datapath_total_read, of_a_partition_without_usable_bytes_succeeds)
{
	const int index = add({.name = "no_usable", .size = 0x10000});
	bytes buf(16);
	EXPECT_EQ(mtd_read("no_usable", 0x40, &buf, 16), 0u);
	EXPECT_EQ(buf, original(index, 0x40, 16));
}

TEST_F(datapath_total_read, of_mlc_nand_is_the_same)
{
	const int index = add({.name = "listed_mlc", .size = 0x20000, .type = harness::mtd_mlc_nand});
	bytes buf(16);
	EXPECT_EQ(mtd_read("listed_mlc", 0x1FFF0, &buf, 16), 0u);
	EXPECT_EQ(buf, original(index, 0x1FFF0, 16));
	EXPECT_EQ(harness::log(), log_lines{total_read_trace("/dev/mtd3", 0x1FFF0, 16)});
}

TEST_F(datapath_total_read, of_a_name_of_31_characters)
{
	const int index = add({.name = name_of_31, .size = 0x10000});
	bytes buf(16);
	EXPECT_EQ(mtd_read(name_of_31, 0x40, &buf, 16), 0u);
	EXPECT_EQ(buf, original(index, 0x40, 16));
	EXPECT_TRUE(called("linux_mutex_lock"));
}

TEST_F(datapath_total_read, leaves_the_flash_alone)
{
	const auto before = harness::mtd_count(listed);
	bytes buf(0x100);
	EXPECT_EQ(mtd_read("listed", 0x2000, &buf, 0x100), 0u);
	EXPECT_EQ(harness::mtd_count(listed).erases, before.erases);
	EXPECT_EQ(harness::mtd_count(listed).writes, before.writes);
}

TEST_F(datapath_total_read, without_memory_fails_without_a_message_and_without_the_lock)
{
	harness::fail("vzalloc", 0);
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("listed", 0x100, &buf, 16), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace("/dev/mtd2", 0x100, 16)});
	EXPECT_EQ(deeds().back(), "vzalloc(272)");
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_F(datapath_total_read, of_no_bytes_at_the_start_has_no_image)
{
	const harness::expected_report report("vmalloc: allocation failure");
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", 0, nullptr, 0}), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace("/dev/mtd2", 0, 0)});
	EXPECT_EQ(deeds(), call_list{"vzalloc(0)"});
}

TEST_F(datapath_total_read, of_4_gib_less_a_byte_asks_for_that_much)
{
	const harness::expected_report report("vmalloc: allocation failure");
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", 0xFFFFFFFE, nullptr, 1}), no_buffer);
	EXPECT_EQ(deeds(), call_list{"vzalloc(4294967295)"});
}

TEST_F(datapath_total_read, prints_and_uses_the_path_that_it_is_given)
{
	harness::fail("plat_mtd_read_buf", 9);
	bytes buf(4);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd99", 4, &buf, 4}), 9u);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace("/dev/mtd99", 4, 4), total_read_failure(8, 9)}));
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd99\", 0, -, 8)"});
}

TEST_F(datapath_total_read, beyond_the_device_gives_the_status_of_the_service)
{
	bytes buf(16, 0xEE);
	const uint32_t status = harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", nand_size, &buf, 16});
	EXPECT_NE(status, 0u);
	EXPECT_NE(status, no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace("/dev/mtd2", nand_size, 16), total_read_failure(nand_size + 16, status)}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

class datapath_total_read_wrap : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(datapath_total_read_wrap, has_no_image)
{
	const auto [offset, len] = GetParam();
	bytes buf(16, 0xEE);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", offset, &buf, len}), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace("/dev/mtd2", offset, len)});
	EXPECT_EQ(calls_of("linux_mutex_lock"), call_list());
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list());
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_read_wrap,
			 testing::Values(range{0xFFFFFFFF, 1}, range{0xFFFFFFFF, 2}, range{0xFFFFFFF0, 0x10}, range{0xFFFFFFF0, 0x11},
					 range{1, 0xFFFFFFFF}, range{0x80000000, 0x80000000}, range{0xFFFFFFFF, 0xFFFFFFFF}),
			 name_of_range<range>);

class datapath_total_read_range : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(datapath_total_read_range, is_read_and_nothing_else)
{
	const auto [offset, len] = GetParam();
	bytes buf(len + 8, 0xEE);
	EXPECT_EQ(mtd_read("listed", offset, &buf, len), 0u);
	bytes expected = original(listed, offset, len);
	expected.insert(expected.end(), 8, 0xEE);
	EXPECT_TRUE(buf == expected);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, " + decimal(offset + len) + ")"});
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_read_range,
			 testing::Values(range{0, 1}, range{0, 0x40000}, range{0x3FFFF, 1}, range{0x1FFFF, 2}, range{0x20000, 1},
					 range{0xFFF, 0x1002}, range{0x3FF00, 0x100}),
			 name_of_range<range>);

class datapath_total_read_status : public on_listed, public testing::WithParamInterface<uint32_t> {};

TEST_P(datapath_total_read_status, of_the_service_comes_back_after_unlock_free_and_message)
{
	harness::fail("plat_mtd_read_buf", GetParam());
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("listed", 0x100, &buf, 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace("/dev/mtd2", 0x100, 16), total_read_failure(272, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"),
		  (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "mutex_unlock", "vfree", "drv_log_record"}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_P(datapath_total_read_status, of_the_copy_comes_back_after_free_and_message)
{
	harness::fail("memcpy_s", GetParam());
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("listed", 0x100, &buf, 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace("/dev/mtd2", 0x100, 16), total_read_failure(272, GetParam())}));
	EXPECT_EQ(names_from_last("mutex_unlock"), (call_list{"mutex_unlock", "memcpy_s", "vfree", "drv_log_record"}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_read_status, statuses, name_of_status);

// ---------------------------------------------------------------------------------------------------------------- the total road: writes

constexpr uint32_t avail = 0x20000;

class datapath_total_write : public on_listed {};

TEST_F(datapath_total_write, reads_patches_and_writes_back_the_usable_bytes)
{
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(0x10), 0x10), 0u);
	EXPECT_EQ(deeds(), (call_list{"get_mtd_device_nm(\"listed\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtd%d\")",
				      "vzalloc(131072)", "linux_mutex_lock(-)", "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 131072)",
				      "memcpy_s(-, 130816, -, 16)", "plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 131072)", "mutex_unlock(-)",
				      "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd2", 0x100, 0x10, avail)});
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
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd3", 0x40, 16, 0)});
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
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd3", 0x7FF0, 16, 0x8000)});
}

TEST_F(datapath_total_write, to_a_name_listed_twice_follows_the_first_entry)
{
	const int index = add({.name = "twice", .size = 0x20000});
	EXPECT_EQ(mtd_write("twice", 0xFFF0, pattern(16), 16), 0u);
	EXPECT_NE(mtd_write("twice", 0xFFF1, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log().front(), total_write_note("/dev/mtd3", 0xFFF0, 16, 0x10000));
	EXPECT_EQ(calls_of("vzalloc"), (call_list{"vzalloc(65536)", "vzalloc(65536)"}));
	expect_changed(index, 0xFFF0, pattern(16));
}

TEST_F(datapath_total_write, without_memory_fails_without_a_further_message_and_without_the_lock)
{
	harness::fail("vzalloc", 0);
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd2", 0x100, 16, avail)});
	EXPECT_EQ(deeds().back(), "vzalloc(131072)");
	expect_unchanged(listed);
}

TEST_F(datapath_total_write, of_more_usable_bytes_than_memory_fails_without_a_further_message)
{
	const harness::expected_report report("vmalloc: allocation failure");
	add({.name = "too_large", .size = 0x10000});
	EXPECT_EQ(mtd_write("too_large", 0, pattern(16), 16), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd3", 0, 16, 0xFFFFFFF0)});
	EXPECT_EQ(deeds().back(), "vzalloc(4294967280)");
}

TEST_F(datapath_total_write, of_more_usable_bytes_than_the_partition_has_fails_in_the_read)
{
	const int index = add({.name = "too_usable", .size = 0x40000});
	const uint32_t status = mtd_write("too_usable", 0, pattern(16), 16);
	EXPECT_NE(status, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd3", 0, 16, 0x80000), read_back_failure(0x80000, status)}));
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
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd2", offset, len, avail)});
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, " + decimal(avail - offset) + ", -, " + decimal(len) + ")"});
	expect_changed(listed, offset, pattern(len, 80));
	expect_unchanged(nand);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_write_range,
			 testing::Values(range{0, 1}, range{0, avail}, range{avail - 1, 1}, range{avail - 16, 16}, range{1, avail - 1},
					 range{0xFFFF, 2}, range{0x123, 0x4567}),
			 name_of_range<range>);

struct refused_range {
	uint32_t offset, len;
	uint32_t limit; // of the copy that refuses it
};

class datapath_total_write_beyond : public on_listed, public testing::WithParamInterface<refused_range> {};

TEST_P(datapath_total_write_beyond, the_usable_bytes_fails_in_the_copy)
{
	const auto [offset, len, limit] = GetParam();
	const auto before = harness::mtd_count(listed);
	const uint32_t code = mtd_write("listed", offset, pattern(len), len);
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", offset, len, avail), patch_failure(offset, len, code)}));
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
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", offset, len, avail), patch_failure(offset, len, code)}));
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
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", 0x100, 16, avail), read_back_failure(avail, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"),
		  (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "mutex_unlock", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
}

TEST_P(datapath_total_write_status, of_the_copy_comes_back_after_unlock_free_and_message)
{
	harness::fail("memcpy_s", GetParam());
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", 0x100, 16, avail), patch_failure(0x100, 16, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"),
		  (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "memcpy_s", "mutex_unlock", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
}

TEST_P(datapath_total_write_status, of_the_update_comes_back_after_unlock_free_and_message)
{
	harness::fail("plat_mtd_update_buf", GetParam());
	EXPECT_EQ(mtd_write("listed", 0x100, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", 0x100, 16, avail), write_back_failure(avail, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"), (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "memcpy_s",
								  "plat_mtd_update_buf", "mutex_unlock", "vfree", "drv_log_record"}));
	EXPECT_EQ(times_called("plat_mtd_update_buf"), 1) << "a failed update is not tried again";
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_write_status, statuses, name_of_status);

// ---------------------------------------------------------------------------------------------------------------- usable bytes that change

// The first entry of the table is that of "listed". Its usable size, 32 bytes into the entry, is replaced by letting a read deliver it
// there.
class datapath_usable_size : public on_listed {
protected:
	static uint64_t entry() { return u64_at(harness::global("g_flash_mtd_info_list", 8), 0); }
	static uint64_t size_in_entry() { return entry() + 32; }

	static bytes in_memory(uint32_t size)
	{
		bytes raw(4);
		for (std::size_t i = 0; i < raw.size(); ++i)
			raw[i] = static_cast<uint8_t>(size >> (8 * i));
		return raw;
	}

	void set_usable_size(uint32_t size)
	{
		harness::set_mtd_content(listed, 0, in_memory(size));
		ASSERT_EQ(harness::call("drv_nand_flash_mtd_total_read", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 0u);
		harness::set_mtd_content(listed, 0, original(listed, 0, 4));
		harness::forget();
	}
};

TEST_F(datapath_usable_size, is_read_at_each_write)
{
	set_usable_size(0x1000);
	EXPECT_EQ(mtd_write("listed", 0xFF0, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd2", 0xFF0, 16, 0x1000)});
	EXPECT_EQ(calls_of("vzalloc"), call_list{"vzalloc(4096)"});
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 4096)"});
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, 16, -, 16)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 4096)"});
	expect_changed(listed, 0xFF0, pattern(16));
}

TEST_F(datapath_usable_size, that_shrank_refuses_what_it_took_before)
{
	EXPECT_EQ(mtd_write("listed", 0x1000, pattern(16), 16), 0u);
	set_usable_size(0x1000);
	const uint32_t code = mtd_write("listed", 0x1000, pattern(16, 2), 16);
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", 0x1000, 16, 0x1000), patch_failure(0x1000, 16, code)}));
	expect_changed(listed, 0x1000, pattern(16));
}

TEST_F(datapath_usable_size, that_became_0_refuses_every_write)
{
	set_usable_size(0);
	EXPECT_EQ(mtd_write("listed", 0, pattern(16), 16), empty_range);
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd2", 0, 16, 0)});
	expect_unchanged(listed);
}

TEST_F(datapath_usable_size, that_grew_lets_a_write_reach_further)
{
	set_usable_size(nand_size);
	EXPECT_EQ(mtd_write("listed", nand_size - 16, pattern(16), 16), 0u);
	expect_changed(listed, nand_size - 16, pattern(16));
}

TEST_F(datapath_usable_size, that_shrinks_before_the_read_bounds_it)
{
	const bytes data = pattern(16);
	stopped_call write("linux_mutex_lock", [&] { return mtd_write("listed", 0, data, 16); });
	set_usable_size(0x1000);
	EXPECT_EQ(write.let_go(), 0u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 4096)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 4096)"});
	expect_changed(listed, 0, data);
}

// In these the read, or the copy, does nothing but store a new usable size: where its path, or its data, is said to be.
TEST_F(datapath_usable_size, that_shrinks_during_the_read_bounds_the_copy)
{
	harness::forge("plat_mtd_read_buf", 0, 0, in_memory(0x1000));
	harness::fail("plat_mtd_update_buf", 0);
	bytes data = pattern(16);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), size_in_entry(), 0x800, &data, 16}), 0u);
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, 2048, -, 16)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"\", 0, -, 4096)"});
}

TEST_F(datapath_usable_size, that_shrinks_during_the_read_is_what_a_failed_read_says)
{
	harness::forge("plat_mtd_read_buf", 5, 0, in_memory(0x1000));
	bytes data = pattern(16);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), size_in_entry(), 0x800, &data, 16}), 5u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("", 0x800, 16, avail), read_back_failure(0x1000, 5)}));
}

TEST_F(datapath_usable_size, that_shrinks_during_the_copy_bounds_what_is_written_back)
{
	harness::forge("memcpy_s", 0, 2, in_memory(0x1000));
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 0u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 131072)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 4096)"});
	expect_unchanged(listed);
}

TEST_F(datapath_usable_size, that_grows_during_the_copy_writes_no_more_than_was_read)
{
	harness::forge("memcpy_s", 0, 2, in_memory(nand_size));
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 0u);
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 131072)"});
	expect_unchanged(listed);
}

TEST_F(datapath_usable_size, that_shrinks_during_the_copy_is_what_a_failed_write_back_says)
{
	harness::forge("memcpy_s", 0, 2, in_memory(0x1000));
	harness::fail("plat_mtd_update_buf", 5);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 5u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note("/dev/mtd2", 0, 4, avail), write_back_failure(0x1000, 5)}));
}

// ---------------------------------------------------------------------------------------------------------------- other tables

class datapath_without_table : public on_listed {
protected:
	const char *configuration() const override { return "no_lists"; }
};

TEST_F(datapath_without_table, every_nand_partition_takes_the_normal_road)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("listed", 0x80, &buf, 16), 0u);
	EXPECT_EQ(mtd_write("listed", 0x90, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log(), (log_lines{normal_read_trace("listed", 0x80, 16), normal_write_note("listed", 0x90, 16)}));
	EXPECT_EQ(buf, original(listed, 0x80, 16));
	expect_changed(listed, 0x90, pattern(16));
}

class datapath_table_of_long_names : public on_listed {
protected:
	const char *configuration() const override { return "long_names"; }
};

TEST_F(datapath_table_of_long_names, finds_its_short_name)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("listed", 0x80, &buf, 16), 0u);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace("/dev/mtd2", 0x80, 16)});
}

TEST_F(datapath_table_of_long_names, does_not_find_the_first_31_characters_of_a_long_one)
{
	add({.name = "ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", .size = 0x10000});
	bytes buf(16);
	EXPECT_EQ(mtd_read("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", 0x80, &buf, 16), 0u);
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", 0x80, 16)});
}

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	const char *name;
	const char *function;
	long long result;
};

std::string name_of_sweep(const testing::TestParamInfo<swept> &row)
{
	return row.param.name + std::string("_") + row.param.function;
}

class datapath_nand_read_failure : public on_three_partitions, public testing::WithParamInterface<swept> {
protected:
	int index() const { return GetParam().name == std::string("nand") ? nand : listed; }
};

TEST_P(datapath_nand_read_failure, holds_nothing_and_the_next_read_succeeds)
{
	bytes buf(0x40);
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return mtd_read(GetParam().name, 0x123, &buf, 0x40); },
		[&](bool succeeded) {
			if (succeeded) {
				EXPECT_EQ(buf, original(index(), 0x123, 0x40));
			}
			expect_unchanged(index());
		});
}

TEST_P(datapath_nand_read_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	bytes buf(0x40);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(mtd_read(GetParam().name, 0x123, &buf, 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(in, datapath_nand_read_failure,
			 testing::Values(swept{"nand", "memset_s", 22}, swept{"nand", "get_mtd_device_nm", 0},
					 swept{"nand", "snprintf_s", -1}, swept{"nand", "plat_mtd_read_buf", 5},
					 swept{"listed", "memset_s", 22}, swept{"listed", "get_mtd_device_nm", error_no_device},
					 swept{"listed", "snprintf_s", -1}, swept{"listed", "vzalloc", 0},
					 swept{"listed", "plat_mtd_read_buf", 5}, swept{"listed", "memcpy_s", 34}),
			 name_of_sweep);

class datapath_nand_write_failure : public on_three_partitions, public testing::WithParamInterface<swept> {
protected:
	int index() const { return GetParam().name == std::string("nand") ? nand : listed; }
};

TEST_P(datapath_nand_write_failure, changes_nothing_and_the_next_write_succeeds)
{
	const bytes data = pattern(0x40, 60);
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return mtd_write(GetParam().name, 0x123, data, 0x40); },
		[&](bool succeeded) {
			if (succeeded)
				expect_changed(index(), 0x123, data);
			else
				expect_unchanged(index());
			harness::set_mtd_content(index(), 0x123, original(index(), 0x123, 0x40));
		});
}

TEST_P(datapath_nand_write_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(mtd_write(GetParam().name, 0x123, pattern(0x40), 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
	expect_unchanged(index());
}

INSTANTIATE_TEST_SUITE_P(in, datapath_nand_write_failure,
			 testing::Values(swept{"nand", "get_mtd_device_nm", 0}, swept{"nand", "snprintf_s", -1},
					 swept{"nand", "plat_mtd_update_buf", 5}, swept{"listed", "get_mtd_device_nm", error_no_device},
					 swept{"listed", "snprintf_s", -1}, swept{"listed", "vzalloc", 0},
					 swept{"listed", "plat_mtd_read_buf", 5}, swept{"listed", "memcpy_s", 34},
					 swept{"listed", "plat_mtd_update_buf", 5}),
			 name_of_sweep);

// ---------------------------------------------------------------------------------------------------------------- the total road by itself

class datapath_total_road : public on_listed {
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

TEST_F(datapath_total_road, reads)
{
	bytes buf(16);
	EXPECT_EQ(total_read(0x100, &buf), 0u);
	EXPECT_EQ(buf, original(listed, 0x100, 16));
}

TEST_F(datapath_total_road, reads_nothing_without_an_image)
{
	bytes buf(16, 0xEE);
	harness::fail("vzalloc", 0);
	EXPECT_EQ(total_read(0x100, &buf), no_buffer);
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_F(datapath_total_road, writes)
{
	EXPECT_EQ(total_write("listed", 0x100, pattern(16)), 0u);
	expect_changed(listed, 0x100, pattern(16));
}

TEST_F(datapath_total_road, writes_nothing_without_an_image)
{
	harness::fail("vzalloc", 0);
	EXPECT_EQ(total_write("listed", 0x100, pattern(16)), no_buffer);
	expect_unchanged(listed);
}

TEST_F(datapath_total_road, writes_nothing_where_no_bytes_are_usable)
{
	EXPECT_EQ(total_write("no_usable", 0, pattern(1)), empty_range);
	EXPECT_EQ(harness::log(), log_lines{total_write_note("/dev/mtd2", 0, 1, 0)});
	EXPECT_FALSE(called("vzalloc"));
	expect_unchanged(listed);
}

TEST_F(datapath_total_road, is_taken_by_writes_without_an_image_too)
{
	bytes data = pattern(16);
	harness::fail("vzalloc", 0);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"listed", "/dev/mtd2", 0x100, &data, 16}), no_buffer);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"no_usable", "/dev/mtd2", 0, &data, 1}), empty_range);
	expect_unchanged(listed);
}

} // namespace
} // namespace conformance
