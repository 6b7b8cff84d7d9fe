// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board's flash as flashctl sees it: the module's statistics, completed from sysfs; the lock.
#include "kernel_flash.hpp"

#include <gtest/gtest.h>

#include "fake_module.hpp"
#include "scratch.hpp"

using namespace flashctl_tests;
using flashctl::kernel_flash;

namespace {

const flashctl::mtd_device usrdata = {2, "usrdata", 4, 0x8000, 0x1000, 0x400, true};

struct board : testing::Test {
	board()
	{
		module() = fake_module();
		EXPECT_TRUE(flash.open(FLASH_MNG_DEVICE).ok());
	}
	~board() override { module() = fake_module(); }

	void in_sysfs(const std::string &entry, const std::string &name, const std::string &type)
	{
		sysfs.write(entry + "/name", name + "\n");
		sysfs.write(entry + "/type", type + "\n");
		sysfs.write(entry + "/size", "1048576\n");
		sysfs.write(entry + "/erasesize", "65536\n");
		sysfs.write(entry + "/flags", "0x400\n");
		sysfs.write(entry + "/bad_blocks", "3\n");
	}

	scratch sysfs;
	kernel_flash flash{sysfs.path()};
};

TEST_F(board, devices_are_those_of_the_statistics)
{
	const auto devices = flash.devices();
	ASSERT_TRUE(devices);
	ASSERT_EQ(devices->size(), 6u);
	EXPECT_EQ((*devices)[1].name, "config");
	EXPECT_EQ((*devices)[1].size, 0x4000u);
	EXPECT_EQ((*devices)[1].flags, 0x400u);
	EXPECT_TRUE((*devices)[1].listed);
	EXPECT_FALSE((*devices)[0].listed);
}

TEST_F(board, devices_behind_a_gap_come_from_sysfs)
{
	module().reported = 4;
	in_sysfs("mtd0", "not this", "nor");
	in_sysfs("mtd9", "late", "mlc-nand");
	in_sysfs("mtd9ro", "never", "nand");
	in_sysfs("mtdblock9", "never", "nand");
	const auto devices = flash.devices();
	ASSERT_EQ(devices->size(), 5u);
	EXPECT_EQ((*devices)[0].name, "boot") << "the module's word counts";
	EXPECT_EQ((*devices)[4].name, "late");
	EXPECT_EQ((*devices)[4].number, 9u);
	EXPECT_EQ((*devices)[4].type, 8u);
	EXPECT_EQ((*devices)[4].size, 1048576u);
	EXPECT_EQ((*devices)[4].erase_size, 65536u);
	EXPECT_EQ((*devices)[4].flags, 0x400u);
}

TEST_F(board, a_name_too_long_for_the_statistics_does_not_hide_the_others)
{
	module().flash.parts[0].device.name = std::string(32, 'n');
	EXPECT_TRUE(flash.devices().status().is(FLASH_MNG_COPY_FAILED)) << "without sysfs there is nothing to tell";
	in_sysfs("mtd0", std::string(32, 'n'), "nand");
	in_sysfs("mtd1", "config", "nand");
	const auto devices = flash.devices();
	ASSERT_TRUE(devices);
	ASSERT_EQ(devices->size(), 2u);
	EXPECT_TRUE((*devices)[1].listed);
	EXPECT_FALSE((*devices)[0].listed);
}

TEST_F(board, other_failures_of_the_statistics_are_told)
{
	in_sysfs("mtd0", "boot", "nand");
	module().answer = FLASH_MNG_NO_MEMORY;
	EXPECT_TRUE(flash.devices().status().is(FLASH_MNG_NO_MEMORY));
}

TEST_F(board, bad_blocks_come_from_sysfs)
{
	in_sysfs("mtd2", "usrdata", "nand");
	EXPECT_EQ(flash.bad_blocks({2, "usrdata", 4, 0, 0, 0, true}), 3u);
	EXPECT_EQ(flash.bad_blocks({3, "rootfs", 4, 0, 0, 0, true}), 0u);
}

TEST_F(board, reads_and_writes)
{
	bytes data(4, std::byte{'x'}), found(4);
	EXPECT_TRUE(flash.write("usrdata", 8, data).ok());
	EXPECT_TRUE(flash.read("usrdata", 8, found).ok());
	EXPECT_EQ(found, data);
	EXPECT_EQ(flash.read(std::string(32, 'n'), 0, found).origin(), flash_mng::origin::request);
	EXPECT_EQ(flash.write("", 0, found).origin(), flash_mng::origin::request);
}

TEST_F(board, questions_reach_the_module)
{
	EXPECT_TRUE(*flash.has_user_data());
	EXPECT_EQ(flash.user_data()->size, 0x8000u);
	EXPECT_EQ(flash.find_spi_flash(flash_mng::instance_id{5})->sfc_cs, 3u);
	EXPECT_EQ(flash.find_spi_flash(std::string("spi_a"))->sfc_cs, 3u);
}

TEST(kernel_flash_lock, is_for_one_at_a_time)
{
	const scratch folder;
	folder.write("node", "");
	kernel_flash second;
	{
		kernel_flash first;
		ASSERT_TRUE(first.open(folder.path("node")).ok());
		ASSERT_TRUE(second.open(folder.path("node")).ok());
		EXPECT_TRUE(first.lock(usrdata).ok());
		EXPECT_EQ(second.lock(usrdata), flash_mng::status::from_errno(EWOULDBLOCK));
	}
	EXPECT_TRUE(second.lock(usrdata).ok());
}

TEST_F(board, is_not_locked_while_its_block_device_is_claimed)
{
	module().claim_error = EBUSY;
	EXPECT_EQ(flash.lock(usrdata), flash_mng::status::from_errno(EBUSY));
	module().no_file_locks = true;
	EXPECT_EQ(flash.lock(usrdata), flash_mng::status::from_errno(EBUSY));
}

TEST_F(board, is_locked_by_one_of_the_means)
{
	module().claim_error = ENOENT;
	EXPECT_TRUE(flash.lock(usrdata).ok()) << "without mtdblock";
	module().no_file_locks = true;
	EXPECT_EQ(flash.lock(usrdata), flash_mng::status::from_errno(ENOSYS)) << "without both";
	module().claim_error = 0;
	EXPECT_TRUE(flash.lock(usrdata).ok()) << "without file locks";
}

TEST(kernel_flash_open, that_fails_keeps_the_error)
{
	EXPECT_EQ(kernel_flash().open("/no/such/node"), flash_mng::status::from_errno(ENOENT));
}

} // namespace
