// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The command that writes a listed partition for a program.
#include "ioctl_transfer_words.hpp"

namespace conformance {
namespace {

class ioctl_write : public on_listed {};

TEST_F(ioctl_write, makes_its_calls_in_order)
{
	user_bytes data(pattern(0x10));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(16)", "linux_copy_from_user(-, -, 16)",
				      "get_mtd_device_nm(\"listed\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtd%d\")",
				      "vzalloc(131072)", "linux_mutex_lock(-)", "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 131072)",
				      "memcpy_s(-, 130816, -, 16)", "plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 131072)", "mutex_unlock(-)",
				      "vfree(-)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0x100, 0x10)});
	expect_changed(listed, 0x100, pattern(0x10));
}

TEST_F(ioctl_write, leaves_the_data_of_the_program_alone)
{
	user_bytes data(pattern(0x10));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	EXPECT_EQ(data.content(), pattern(0x10));
	EXPECT_FALSE(called("linux_copy_to_user"));
}

TEST_F(ioctl_write, takes_its_data_from_read_only_memory)
{
	user_bytes data(pattern(0x10));
	data.allow(access::read_only);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	expect_changed(listed, 0x100, pattern(0x10));
}

TEST_F(ioctl_write, takes_its_data_from_any_alignment)
{
	user_bytes data(pattern(0x18));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x101, 0x10, data.address(3)).code(), 0u);
	const bytes all = pattern(0x18);
	expect_changed(listed, 0x101, bytes(all.begin() + 3, all.begin() + 0x13));
}

TEST_F(ioctl_write, may_write_its_own_record_to_the_flash)
{
	user_bytes memory(io_record_size);
	const bytes record = io_record("listed", 0x200, io_record_size, memory.address());
	std::memcpy(reinterpret_cast<void *>(memory.address()), record.data(), record.size());
	EXPECT_EQ(harness::ioctl(mtd_write_command, memory.address()).code(), 0u);
	expect_changed(listed, 0x200, record);
}

TEST_F(ioctl_write, is_read_back_by_a_kernel_caller_and_by_a_program)
{
	user_bytes data(pattern(0x345, 8));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x1234, 0x345, data.address()).code(), 0u);
	bytes seen_in_kernel(0x345);
	EXPECT_EQ(mtd_read("listed", 0x1234, &seen_in_kernel, 0x345), 0u);
	EXPECT_EQ(seen_in_kernel, pattern(0x345, 8));
	user_bytes seen(0x345);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x1234, 0x345, seen.address()).code(), 0u);
	EXPECT_EQ(seen.content(), pattern(0x345, 8));
}

TEST_F(ioctl_write, fetches_the_data_before_the_device_is_looked_for)
{
	EXPECT_EQ(io_command(mtd_write_command, "absent", 0, 16, 0).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_FALSE(called("get_mtd_device_nm"));
}

TEST_F(ioctl_write, with_one_byte_of_the_data_uncopied_fails_silently)
{
	harness::fail("linux_copy_from_user", 1, 2);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 16, data.address()).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(16)", "linux_copy_from_user(-, -, 16)", "vfree(-)"}));
	expect_unchanged(listed);
}

TEST_F(ioctl_write, of_data_one_byte_short_fails_silently)
{
	user_bytes data(15);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 16, data.address()).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	expect_unchanged(listed);
}

TEST_F(ioctl_write, of_too_many_bytes_for_one_copy_fails_before_any_copy)
{
	const harness::expected_report report("at linux_copy_from_user");
	harness::fail("vmalloc", 0x1000);
	harness::fail("vfree", 0);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 0x80000000, data.address()).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(call_names().back(), "vfree");
	EXPECT_FALSE(called("get_mtd_device_nm"));
}

TEST_F(ioctl_write, to_a_partition_without_usable_bytes_fails)
{
	const int index = add({.name = "no_usable", .size = 0x10000});
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "no_usable", 0, 16, data.address()).code(), empty_range);
	EXPECT_EQ(harness::log(),
		  (log_lines{total_write_note(0, 16, 0, "/dev/mtd3"), command_failure(direction::write, 0, 16, empty_range, "/dev/mtd3")}));
	EXPECT_EQ(call_names().back(), "drv_log_record");
	expect_unchanged(index);
}

TEST_F(ioctl_write, without_memory_for_the_image_says_so_at_the_end_alone)
{
	harness::fail("vzalloc", 0);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 16, data.address()).code(), no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), command_failure(direction::write, 0x100, 16, no_buffer)}));
	EXPECT_EQ(names_from_last("vzalloc"), (call_list{"vzalloc", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
}

TEST_F(ioctl_write, frees_the_data_before_it_says_that_the_transfer_failed)
{
	harness::fail("plat_mtd_update_buf", 5);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 16, data.address()).code(), 5u);
	EXPECT_EQ(names_from_last("mutex_unlock"), (call_list{"mutex_unlock", "vfree", "drv_log_record", "vfree", "drv_log_record"}));
}

class ioctl_write_address : public on_listed, public testing::WithParamInterface<bad_address> {};

TEST_P(ioctl_write_address, of_the_data_fails_silently_without_touching_the_partition)
{
	const harness::holdings before = harness::held();
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x40, 16, make_bad_address(GetParam(), 16)).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(16)", "linux_copy_from_user(-, -, 16)", "vfree(-)"}));
	expect_unchanged(listed);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_write_address, unreadable_addresses, name_of_address);

class ioctl_write_beyond : public on_listed, public testing::WithParamInterface<refused_range> {};

TEST_P(ioctl_write_beyond, the_usable_bytes_fails_in_the_copy)
{
	const auto [offset, len, limit] = GetParam();
	user_bytes data(len);
	const uint32_t code = io_command(mtd_write_command, "listed", offset, len, data.address()).code();
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(offset, len), patch_failure(offset, len, code),
					     command_failure(direction::write, offset, len, code)}));
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, " + decimal(limit) + ", -, " + decimal(len) + ")"});
	EXPECT_FALSE(called("plat_mtd_update_buf"));
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_write_beyond,
			 testing::Values(refused_range{avail - 1, 2, 1}, refused_range{avail, 1, 0}, refused_range{avail + 1, 0x10, 0},
					 refused_range{0, avail + 1, avail}, refused_range{0x3FFFF, 1, 0}, refused_range{0x40000, 1, 0},
					 refused_range{0x80000000, 0x10, 0}, refused_range{0xFFFFFFFF, 1, 0},
					 refused_range{0xFFFFFFF0, 0x10, 0}, refused_range{0xFFFFFFF0, 0x20, 0}),
			 name_of_range<refused_range>);

class ioctl_write_range : public on_three_partitions, public testing::WithParamInterface<range> {};

TEST_P(ioctl_write_range, is_on_the_flash_and_nothing_else_changed)
{
	const auto [offset, len] = GetParam();
	user_bytes data(pattern(len, 90));
	EXPECT_EQ(io_command(mtd_write_command, "listed", offset, len, data.address()).code(), 0u);
	expect_changed(listed, offset, pattern(len, 90));
	expect_unchanged(nand);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_write_range,
			 testing::Values(range{0, 1}, range{0, avail}, range{avail - 1, 1}, range{avail - 0x1000, 0x1000}, range{0xFFFF, 2},
					 range{0x101, 0xFFF}, range{1, avail - 1}),
			 name_of_range<range>);

} // namespace
} // namespace conformance
