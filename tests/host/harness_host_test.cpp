// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Tests of the host board itself: the suite may rely on it to show what the module did, and to be fresh after reset().
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

#include "harness.hpp"
#include "uapi/flash_mng.h"

namespace {

using harness::bytes;

class harness_host_test : public testing::Test {
protected:
	harness_host_test() { harness::reset(); }
	~harness_host_test() override { harness::reset(); }

	static flash_mtd_io_arg *io_record(std::uint32_t offset, bytes &buffer_content)
	{
		auto *buffer = harness::user_memory(buffer_content.size());
		auto *record = reinterpret_cast<flash_mtd_io_arg *>(harness::user_memory(sizeof(flash_mtd_io_arg)));

		std::copy(buffer_content.begin(), buffer_content.end(), buffer);
		*record = {"usrdata", offset, static_cast<std::uint32_t>(buffer_content.size()), harness::user_address(buffer)};
		return record;
	}
};

using board_host_death_test = harness_host_test;

TEST_F(harness_host_test, starts_unloaded_and_empty)
{
	EXPECT_EQ(harness::world(), harness::world_kind::host);
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
	EXPECT_EQ(harness::held(), harness::holdings{});
	EXPECT_TRUE(harness::log().empty());
	EXPECT_TRUE(harness::calls().empty());
}

TEST_F(harness_host_test, loads_and_unloads)
{
	EXPECT_EQ(harness::load(), 0u);
	EXPECT_TRUE(harness::loaded());
	EXPECT_TRUE(harness::device_registered());
	ASSERT_TRUE(harness::load_report());
	EXPECT_EQ(harness::load_report()->name, "flash_mng");
	EXPECT_GT(harness::held().heap, 0);
	harness::unload();
	EXPECT_EQ(harness::held(), harness::holdings{});
	EXPECT_EQ(harness::log().back(), (harness::log_line{0, 2, "flash_module_exit"}));
}

TEST_F(harness_host_test, a_negative_load_result_is_no_load)
{
	harness::fail("misc_register", -16);
	EXPECT_EQ(harness::load(), static_cast<std::uint32_t>(-16));
	EXPECT_FALSE(harness::loaded());
	EXPECT_EQ(harness::faults_hit(), 1u);
}

TEST_F(harness_host_test, a_positive_load_result_keeps_the_module)
{
	harness::fail("drv_log_register", 5);
	EXPECT_EQ(harness::load(), 5u);
	EXPECT_TRUE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
}

TEST_F(harness_host_test, a_load_starts_with_fresh_globals)
{
	const bytes seen{'u', 's', 'r', 'd', 'a', 't', 'a', 0};

	harness::add_mtd({.name = "usrdata"});
	harness::load();
	EXPECT_EQ(harness::global("g_usrdata_mtd_name", 8), seen);
	harness::reset();
	harness::load();
	EXPECT_EQ(harness::global("g_usrdata_mtd_name", 40), bytes(40, 0));
}

TEST_F(harness_host_test, calls_with_numbers_texts_and_buffers)
{
	harness::add_mtd({.name = "boot", .size = 0x30000});
	harness::load();
	bytes size(8, 0xee);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"boot", &size}), 0u);
	EXPECT_EQ(size, (bytes{0, 0, 3, 0, 0, 0, 0, 0}));
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"boot", nullptr}), FLASH_MNG_INVALID);
	EXPECT_EQ(harness::call("drv_flash_mtd_is_nand", {8}), 1u);
	EXPECT_TRUE(harness::call_finds("drv_flash_mtd_info_find", {"usrdata"}));
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {std::string("nothing")}));
}

TEST_F(harness_host_test, ioctl_results_are_those_of_the_system_call)
{
	const auto closed = harness::ioctl(FLASH_MNG_GET_PART_NUM, 0);
	EXPECT_EQ(closed.value, -1);
	EXPECT_EQ(closed.errno_value, ENOENT);

	harness::load();
	EXPECT_EQ(harness::ioctl(0, 0).value, 420);
	const auto none = harness::ioctl(FLASH_MNG_GET_PART_NUM, harness::user_address(harness::user_memory(4)));
	EXPECT_EQ(none.value, -1);
	EXPECT_EQ(none.errno_value, EPERM);
	EXPECT_EQ(none.code(), FLASH_MNG_FAILED);
	bytes byte(1);
	const auto refused = harness::ioctl(FLASH_MNG_MTD_READ, harness::kernel_address());
	EXPECT_EQ(refused.value, static_cast<int>(FLASH_MNG_USER_UNREADABLE));
	EXPECT_EQ(refused.code(), FLASH_MNG_USER_UNREADABLE);
}

TEST_F(harness_host_test, a_program_writes_and_reads_back)
{
	const int number = harness::add_mtd({.name = "usrdata", .size = 0x100000});
	bytes data{1, 2, 3, 4, 5}, empty(5);

	harness::load();
	EXPECT_EQ(harness::ioctl(FLASH_MNG_MTD_WRITE, harness::user_address(io_record(0x1fffe, data))).code(), 0u);
	EXPECT_EQ(harness::mtd_content(number, 0x1fffd, 7), (bytes{0xff, 1, 2, 3, 4, 5, 0xff}));
	EXPECT_EQ(harness::mtd_count(number).erases, 2u);
	auto *record = io_record(0x1fffe, empty);
	EXPECT_EQ(harness::ioctl(FLASH_MNG_MTD_READ, harness::user_address(record)).code(), 0u);
	EXPECT_EQ(std::memcmp(reinterpret_cast<void *>(record->buffer), data.data(), 5), 0);
	EXPECT_EQ(harness::mtd_use_count(number), 0);
}

TEST_F(harness_host_test, programs_run_side_by_side)
{
	const int number = harness::add_mtd({.name = "usrdata", .size = 0x100000});
	auto write = [](std::uint32_t offset, std::uint8_t value) {
		bytes data(16, value);
		auto *record = io_record(offset, data);
		for (int i = 0; i < 50; ++i)
			EXPECT_EQ(harness::ioctl(FLASH_MNG_MTD_WRITE, harness::user_address(record)).code(), 0u);
	};

	harness::load();
	std::thread one(write, 0, 1), two(write, 16, 2);
	one.join();
	two.join();
	bytes expected(16, 1);
	expected.resize(32, 2);
	EXPECT_EQ(harness::mtd_content(number, 0, 32), expected);
	EXPECT_EQ(harness::held().locks, 0);
}

TEST_F(harness_host_test, kept_memory_shows)
{
	harness::load();
	const auto before = harness::held();
	harness::fail("kfree", 0);
	harness::unload();
	EXPECT_EQ(harness::held().heap, 1);
	EXPECT_GT(before.heap, 1);
}

TEST_F(board_host_death_test, refuses_what_a_board_cannot_do)
{
	EXPECT_DEATH(harness::unload(), "not loaded");
	EXPECT_DEATH(harness::call("flash_mng_drv_patch_func1", {}), "not loaded");
	harness::load();
	EXPECT_DEATH(harness::load(), "loaded already");
	EXPECT_DEATH(harness::call("no_such_function", {}), "nothing named no_such_function");
	EXPECT_DEATH(harness::call("drv_flash_exit", {}), "takes 1 arguments");
}

} // namespace
