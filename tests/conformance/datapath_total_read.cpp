// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Reads of listed partitions: everything up to the end of the range, under the partition's lock.
#include "listed_words.hpp"

namespace conformance {
namespace {

class datapath_total_read : public on_listed {};

TEST_F(datapath_total_read, fetches_everything_up_to_the_end_of_the_range)
{
	bytes buf(0x10);
	EXPECT_EQ(mtd_read("listed", 0x100, &buf, 0x10), 0u);
	EXPECT_EQ(deeds(),
		  (call_list{"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)", "get_mtd_device_nm(\"listed\")", "put_mtd_device(-)",
			     "snprintf_s(-, 32, 31, \"/dev/mtd%d\")", "vzalloc(272)", "linux_mutex_lock(-)",
			     "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 272)", "mutex_unlock(-)", "memcpy_s(-, 16, -, 16)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0x100, 0x10)});
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
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0x1FFF0, 16, "/dev/mtd3")});
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
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0x100, 16)});
	EXPECT_EQ(deeds().back(), "vzalloc(272)");
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_F(datapath_total_read, of_no_bytes_at_the_start_has_no_image)
{
	const harness::expected_report report("vmalloc: allocation failure");
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", 0, nullptr, 0}), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0, 0)});
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
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(4, 4, "/dev/mtd99"), total_read_failure(8, 9)}));
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd99\", 0, -, 8)"});
}

TEST_F(datapath_total_read, beyond_the_device_gives_the_status_of_the_service)
{
	bytes buf(16, 0xEE);
	const uint32_t status = harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", nand_size, &buf, 16});
	EXPECT_NE(status, 0u);
	EXPECT_NE(status, no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(nand_size, 16), total_read_failure(nand_size + 16, status)}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

class datapath_total_read_wrap : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(datapath_total_read_wrap, has_no_image)
{
	const auto [offset, len] = GetParam();
	bytes buf(16, 0xEE);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"listed", "/dev/mtd2", offset, &buf, len}), no_buffer);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(offset, len)});
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
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), total_read_failure(272, GetParam())}));
	EXPECT_EQ(names_from_last("linux_mutex_lock"),
		  (call_list{"linux_mutex_lock", "plat_mtd_read_buf", "mutex_unlock", "vfree", "drv_log_record"}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_P(datapath_total_read_status, of_the_copy_comes_back_after_free_and_message)
{
	harness::fail("memcpy_s", GetParam());
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("listed", 0x100, &buf, 16), GetParam());
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), total_read_failure(272, GetParam())}));
	EXPECT_EQ(names_from_last("mutex_unlock"), (call_list{"mutex_unlock", "memcpy_s", "vfree", "drv_log_record"}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_total_read_status, statuses, name_of_status);

} // namespace
} // namespace conformance
