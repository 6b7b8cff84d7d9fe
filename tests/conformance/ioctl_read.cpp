// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The command that reads a listed partition for a program.
#include "ioctl_transfer_words.hpp"

namespace conformance {
namespace {

const log_line not_copied = own_log(ordinary, "Flash get nand part info fail, copy to user fail");

class ioctl_read : public on_listed {};

TEST_F(ioctl_read, makes_its_calls_in_order)
{
	user_bytes data(0x10);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 48)", "vzalloc(16)", "get_mtd_device_nm(\"listed\")", "put_mtd_device(-)",
				      "snprintf_s(-, 32, 31, \"/dev/mtd%d\")", "vzalloc(272)", "linux_mutex_lock(-)",
				      "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 272)", "mutex_unlock(-)", "memcpy_s(-, 16, -, 16)",
				      "vfree(-)", "linux_copy_to_user(-, -, 16)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0x100, 0x10)});
	EXPECT_EQ(data.content(), original(listed, 0x100, 0x10));
}

TEST_F(ioctl_read, leaves_the_flash_alone)
{
	const auto before = harness::mtd_count(listed);
	user_bytes data(0x1000);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 0x1000, data.address()).code(), 0u);
	EXPECT_EQ(harness::mtd_count(listed).erases, before.erases);
	EXPECT_EQ(harness::mtd_count(listed).writes, before.writes);
	expect_unchanged(listed);
}

TEST_F(ioctl_read, of_a_partition_without_usable_bytes_succeeds)
{
	const int index = add({.name = "no_usable", .size = 0x10000});
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "no_usable", 0x30, 16, data.address()).code(), 0u);
	EXPECT_EQ(data.content(), original(index, 0x30, 16));
}

TEST_F(ioctl_read, may_write_over_its_own_record)
{
	user_bytes memory(io_record_size);
	const bytes record = io_record("listed", 0x200, io_record_size, memory.address());
	std::memcpy(reinterpret_cast<void *>(memory.address()), record.data(), record.size());
	EXPECT_EQ(harness::ioctl(mtd_read_command, memory.address()).code(), 0u);
	EXPECT_EQ(memory.content(), original(listed, 0x200, io_record_size));
}

TEST_F(ioctl_read, writes_to_any_alignment_and_not_a_byte_around)
{
	user_bytes memory(0x40);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x33, 0x11, memory.address(5)).code(), 0u);
	bytes expected(0x40, 0xEE);
	const bytes data = original(listed, 0x33, 0x11);
	std::copy(data.begin(), data.end(), expected.begin() + 5);
	EXPECT_EQ(memory.content(), expected);
}

TEST_F(ioctl_read, beyond_the_partition_gives_the_status_of_the_service_and_two_messages)
{
	user_bytes data(16);
	const uint32_t status = io_command(mtd_read_command, "listed", nand_size - 15, 16, data.address()).code();
	EXPECT_NE(status, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(nand_size - 15, 16), total_read_failure(nand_size + 1, status),
					     command_failure(direction::read, nand_size - 15, 16, status)}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
}

TEST_F(ioctl_read, without_memory_for_the_image_says_so_at_the_end_alone)
{
	harness::fail("vzalloc", 0, 2);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x100, 16, data.address()).code(), no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), command_failure(direction::read, 0x100, 16, no_buffer)}));
	EXPECT_EQ(names_from_last("vzalloc"), (call_list{"vzalloc", "drv_log_record", "vfree"}));
	EXPECT_FALSE(called("linux_mutex_lock"));
}

TEST_F(ioctl_read, says_that_the_transfer_failed_before_it_frees_the_data)
{
	harness::fail("plat_mtd_read_buf", 5);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 16, data.address()).code(), 5u);
	EXPECT_EQ(names_from_last("mutex_unlock"), (call_list{"mutex_unlock", "vfree", "drv_log_record", "drv_log_record", "vfree"}));
}

TEST_F(ioctl_read, says_that_the_copy_failed_before_it_frees_the_data)
{
	harness::fail("linux_copy_to_user", 1);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 16, data.address()).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0, 16), not_copied}));
	EXPECT_EQ(names_from_last("linux_copy_to_user"), (call_list{"linux_copy_to_user", "drv_log_record", "vfree"}));
}

TEST_F(ioctl_read, to_memory_one_byte_short_fails)
{
	user_bytes data(15);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 16, data.address()).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0, 16), not_copied}));
}

TEST_F(ioctl_read, of_too_many_bytes_for_one_copy_fails_after_the_read)
{
	const harness::expected_report report("at linux_copy_to_user");
	constexpr uint32_t len = 0x80000000;
	harness::fail_always("vzalloc", 0x1000);
	harness::fail_always("vfree", 0);
	harness::fail("plat_mtd_read_buf", 0);
	harness::fail("memcpy_s", 0);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, len, data.address()).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0, len), not_copied}));
	EXPECT_EQ(times_called("plat_mtd_read_buf"), 1);
	EXPECT_EQ(times_called("vfree"), 2);
}

class ioctl_read_address : public on_listed, public testing::WithParamInterface<bad_address> {};

TEST_P(ioctl_read_address, of_the_data_fails_after_the_partition_was_read)
{
	const harness::holdings before = harness::held();
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x40, 16, make_bad_address(GetParam(), 16)).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x40, 16), not_copied}));
	EXPECT_EQ(times_called("plat_mtd_read_buf"), 1);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_read_address, unwritable_addresses, name_of_address);

class ioctl_read_wrap : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(ioctl_read_wrap, of_the_range_fails_for_want_of_an_image)
{
	const auto [offset, len] = GetParam();
	user_bytes data(0x20);
	EXPECT_EQ(io_command(mtd_read_command, "listed", offset, len, data.address()).code(), no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(offset, len), command_failure(direction::read, offset, len, no_buffer)}));
	EXPECT_FALSE(called("linux_mutex_lock"));
	EXPECT_FALSE(called("plat_mtd_read_buf"));
	EXPECT_FALSE(called("memcpy_s"));
	EXPECT_FALSE(called("linux_copy_to_user"));
	EXPECT_EQ(data.content(), bytes(0x20, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_read_wrap,
			 testing::Values(range{0xFFFFFFFF, 1}, range{0xFFFFFFFF, 2}, range{0xFFFFFFF0, 0x10}, range{0xFFFFFFF0, 0x11},
					 range{0xFFFFFFE0, 0x20}, range{0xFFFFFFFE, 0x20}),
			 name_of_range<range>);

class ioctl_read_range : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(ioctl_read_range, is_delivered)
{
	const auto [offset, len] = GetParam();
	user_bytes data(len);
	EXPECT_EQ(io_command(mtd_read_command, "listed", offset, len, data.address()).code(), 0u);
	EXPECT_TRUE(data.content() == original(listed, offset, len));
}

TEST_P(ioctl_read_range, is_fetched_from_the_start_of_the_partition)
{
	const auto [offset, len] = GetParam();
	user_bytes data(len);
	EXPECT_EQ(io_command(mtd_read_command, "listed", offset, len, data.address()).code(), 0u);
	EXPECT_EQ(calls_of("vzalloc"), (call_list{"vzalloc(" + decimal(len) + ")", "vzalloc(" + decimal(offset + len) + ")"}));
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, " + decimal(offset + len) + ")"});
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_read_range,
			 testing::Values(range{0, 1}, range{0, 0x40000}, range{0x3FFFF, 1}, range{0x1FFFF, 2}, range{0x20000, 0x1000},
					 range{0x101, 0xFFF}, range{0xFFFF, 2}),
			 name_of_range<range>);

} // namespace
} // namespace conformance
