// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board's flash as flashctl sees it: the module's statistics, completed from sysfs; the lock.
#include <gtest/gtest.h>

#include "fake_module.hpp"
#include "kernel_flash.hpp"
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
		sysfs.write("sys/class/mtd/" + entry + "/name", name + "\n");
		sysfs.write("sys/class/mtd/" + entry + "/type", type + "\n");
		sysfs.write("sys/class/mtd/" + entry + "/size", "1048576\n");
		sysfs.write("sys/class/mtd/" + entry + "/erasesize", "65536\n");
		sysfs.write("sys/class/mtd/" + entry + "/flags", "0x400\n");
		sysfs.write("sys/class/mtd/" + entry + "/bad_blocks", "3\n");
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

TEST_F(board, a_service_is_known_to_keep_equal_blocks_where_it_says_so)
{
	EXPECT_FALSE(flash.keeps_equal_blocks());
	sysfs.write("usr/share/flash_mng/flash-service", "changed-blocks\n");
	EXPECT_TRUE(flash.keeps_equal_blocks());
	sysfs.write("usr/share/flash_mng/flash-service", "whole-partition\n");
	EXPECT_FALSE(flash.keeps_equal_blocks());
}

TEST_F(board, the_reference_platform_is_known_to_keep_equal_blocks)
{
	sysfs.write("sys/module/log/parameters/printk_level", "2\n");
	EXPECT_FALSE(flash.keeps_equal_blocks());
	sysfs.write("sys/module/log/parameters/keep_level", "3\n");
	EXPECT_TRUE(flash.keeps_equal_blocks());
	sysfs.write("usr/share/flash_mng/flash-service", "whole-partition\n");
	EXPECT_FALSE(flash.keeps_equal_blocks()) << "its own word counts";
}

TEST_F(board, counts_come_from_sysfs_as_far_as_it_has_them)
{
	in_sysfs("mtd2", "usrdata", "nand");
	sysfs.write("sys/class/mtd/mtd2/corrected_bits", "17\n");
	sysfs.write("sys/class/mtd/mtd2/ecc_failures", "no number\n");
	sysfs.write("sys/class/mtd/mtd2/bbt_blocks", "2\n");
	sysfs.write("sys/class/mtd/mtd2/bitflip_threshold", "6\n");
	const flashctl::device_counts counts = flash.counts(usrdata);
	EXPECT_EQ(counts.bad_blocks, 3u);
	EXPECT_EQ(counts.reserved_blocks, 2u);
	EXPECT_EQ(counts.corrected_bits, 17u);
	EXPECT_EQ(counts.ecc_failures, std::nullopt);
	EXPECT_EQ(counts.bitflip_threshold, 6u);
	EXPECT_EQ(counts.ecc_strength, std::nullopt);
}

using states = std::vector<flashctl::block_state>;

TEST_F(board, bad_blocks_by_place_come_from_the_character_device)
{
	using enum flashctl::block_state;
	EXPECT_EQ(flash.blocks(usrdata, false).status().error(), ENOENT);
	states &there = module().flash.part("usrdata").blocks;
	there = {good, bad, good, good, good, good, good, bad};
	EXPECT_EQ(*flash.blocks(usrdata, false), there);
}

TEST_F(board, a_scan_tells_worn_and_unreadable_blocks_by_the_counters_of_ecc)
{
	using enum flashctl::block_state;
	module().flash.part("usrdata").blocks = {good, bad, good, good, good, good, good, good};
	module().flash.part("usrdata").content.resize(0x7000); // the last block gives an error
	module().ecc_stats = {{0, 0, 1, 0}, {2, 0, 1, 0}, {2, 0, 1, 0}, {2, 1, 1, 0}, {2, 1, 1, 0}};
	EXPECT_EQ(*flash.blocks(usrdata, true), (states{worn, bad, unreadable, good, good, good, good, unreadable}));
}

TEST_F(board, flags_are_those_of_the_device)
{
	in_sysfs("mtd1", "config", "nand");
	in_sysfs("mtd2", "usrdata", "nand");
	sysfs.write("sys/class/mtd/mtd2/flags", "0x800\n");
	const auto devices = flash.devices();
	EXPECT_TRUE((*devices)[0].writable) << "nobody says that it is not";
	EXPECT_TRUE((*devices)[1].writable);
	EXPECT_FALSE((*devices)[2].writable);
	EXPECT_EQ((*devices)[2].flags, 0x800u) << "the statistics have those of the partition's making";
}

TEST_F(board, usable_bytes_come_from_the_log_of_the_last_load)
{
	sysfs.write("sys/kernel/debug/log/records",
		    "1 10 27 2 0 inst 0xffffffff mtd info entry0 mtd_name config avail_size 0x1000 init success\n"
		    "2 10 0 2 0 flash_mng MODULE INIT BEGIN\n"
		    "3 10 27 2 0 inst 0xffffffff mtd info entry0 mtd_name usrdata avail_size 0x6000 init success\n"
		    "4 10 27 2 0 inst 0xffffffff mtd info entry1 mtd_name usrdata avail_size 0x1 init success\n"
		    "5 10 27 2 0 inst 0xffffffff mtd info entry2 mtd_name boot avail_size 0x2000 init success\n");
	const auto devices = flash.devices();
	EXPECT_EQ((*devices)[2].usable, 0x6000u);
	EXPECT_EQ((*devices)[1].usable, std::nullopt) << "of an earlier load";
	EXPECT_EQ((*devices)[0].usable, std::nullopt) << "not listed";
}

TEST_F(board, the_log_of_the_last_load)
{
	EXPECT_TRUE(flash.load_log().empty());
	sysfs.write("sys/kernel/debug/log/records",
		    "1 10 0 2 0 flash_mng MODULE INIT BEGIN\n2 10 0 2 0 flash_mng MODULE INIT BEGIN\n"
		    "3 11 0 1 0 xml is bad\n4 12 0 2 1 flash_mng MODULE INIT END result 0x80000001 in 0 ms\n"
		    "5 13 0 1 0 of somebody else\n");
	EXPECT_EQ(flash.load_log(), (std::vector<std::string>{"xml is bad", "flash_mng MODULE INIT END result 0x80000001 in 0 ms"}));
}

TEST_F(board, the_codes_are_those_of_its_platform)
{
	EXPECT_TRUE(flash.platform_codes().codes.empty());
	sysfs.write("sys/module/log/parameters/printk_level", "2\n");
	EXPECT_TRUE(flash.platform_codes().codes.empty()) << "another platform's log may have a parameter of that name";
	sysfs.write("sys/module/log/parameters/keep_level", "3\n");
	EXPECT_EQ(flash.platform_codes().source, "reference platform");
	sysfs.write("usr/share/flash_mng/platform-codes", "# codes\n34 write range TOO_LONG the range is too long\n"
							  "0x77 any failure BROKEN the chip is broken\nrubbish\n5 any\n");
	const auto table = flash.platform_codes();
	ASSERT_EQ(table.codes.size(), 2u);
	EXPECT_EQ(table.codes[0].name, "TOO_LONG");
	EXPECT_TRUE(table.codes[0].is_range);
	EXPECT_EQ(table.codes[1].code, 0x77u);
	EXPECT_EQ(table.codes[1].meaning, "the chip is broken");
}

// ---- who uses a partition

struct used_board : board {
	static constexpr char nothing[] = "22 1 0:5 / /proc rw - proc proc rw\n";

	used_board() { mounts(nothing); }
	void mounts(const std::string &table) { sysfs.write("proc/self/mountinfo", table); }
	std::string words() const
	{
		std::string all;
		for (const auto &use : const_cast<kernel_flash &>(flash).uses(usrdata))
			all += std::string(all.empty() ? "" : "; ") + word_of(use.kind) + ": " + use.words;
		return all;
	}
};

TEST_F(used_board, nobody)
{
	EXPECT_EQ(words(), "");
	mounts("30 1 31:3 / /a rw - jffs2 mtd:rootfs rw\n31 1 31:22 / /b rw - jffs2 mtd22 rw\n32 1 8:2 / /c rw - ext4 /dev/mtdblock22 rw\n"
	       "33 1 131:2 / /d rw - jffs2 mtd:usrdata2 rw\nrubbish - \n");
	EXPECT_EQ(words(), "");
}

TEST_F(used_board, mounts_by_number_name_and_path)
{
	for (const char *const device_and_source :
	     {"31:2 / /data rw,noatime shared:1 - jffs2 anything", "0:30 / /data rw - jffs2 mtd:usrdata", "0:30 / /data rw - jffs2 mtd2",
	      "0:30 / /data rw - ext4 /dev/mtdblock2", "0:30 / /data ro - squashfs /dev/mtdblock2"}) {
		mounts(std::string(nothing) + "30 1 " + device_and_source + " rw\n");
		EXPECT_TRUE(words().starts_with("mounted: is mounted on /data (")) << device_and_source << ": " << words();
	}
}

TEST_F(used_board, blanks_in_mounts_are_written_as_numbers)
{
	mounts("30 1 31:2 / /my\\040data rw - jffs2 mtd:usrdata rw\n");
	EXPECT_EQ(words(), "mounted: is mounted on /my data (jffs2)");
	mounts("30 1 0:9 / /x rw - jffs2 mtd:usr\\040data rw\n");
	EXPECT_EQ(words(), "");
	flashctl::mtd_device blank = usrdata;
	blank.name = "usr data";
	EXPECT_EQ(flash.uses(blank).size(), 1u);
}

TEST_F(used_board, mounts_of_other_processes_count)
{
	sysfs.write("proc/17/mountinfo", "30 1 31:2 / /inside rw - jffs2 mtd:usrdata rw\n");
	sysfs.write("proc/18/mountinfo", "30 1 31:2 / /inside rw - jffs2 mtd:usrdata rw\n");
	EXPECT_EQ(words(), "mounted: is mounted on /inside (jffs2)");
}

TEST_F(used_board, that_does_not_tell_its_mounts)
{
	std::filesystem::remove(sysfs.path("proc/self/mountinfo"));
	EXPECT_TRUE(words().starts_with("unknown: may be mounted")) << words();
}

TEST_F(used_board, ubi)
{
	sysfs.write("sys/class/ubi/version", "1\n");
	sysfs.write("sys/class/ubi/ubi0/mtd_num", "1\n");
	sysfs.write("sys/class/ubi/ubi1/mtd_num", "22\n");
	EXPECT_EQ(words(), "");
	sysfs.write("sys/class/ubi/ubi2/mtd_num", "2\n");
	EXPECT_EQ(words(), "ubi: is attached to UBI as ubi2");
}

TEST_F(used_board, swap_and_holders)
{
	sysfs.write("proc/swaps", "Filename\t\t\t\tType\t\tSize\tUsed\tPriority\n/dev/mtdblock2   partition\t28\t0\t-2\n");
	EXPECT_EQ(words(), "swap: is swapped to");
	sysfs.write("proc/swaps", "Filename\n/dev/mtdblock22   partition\t28\t0\t-2\n");
	EXPECT_EQ(words(), "");
	sysfs.write("sys/block/mtdblock2/holders/dm-0", "");
	EXPECT_EQ(words(), "claimed: is used by the block device dm-0");
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
	module().claim_error = EACCES;
	EXPECT_EQ(flash.lock(usrdata), flash_mng::status::from_errno(EACCES)) << "the kernel has one, but not for this user";
	module().claim_error = 0;
	EXPECT_TRUE(flash.lock(usrdata).ok()) << "without file locks";
}

TEST(kernel_flash_open, that_fails_keeps_the_error)
{
	EXPECT_EQ(kernel_flash().open("/no/such/node"), flash_mng::status::from_errno(ENOENT));
}

} // namespace
