// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// list, info, spi, explain, and what all commands have in common.
#include <gtest/gtest.h>

#include "simulated_console.hpp"

using namespace flashctl_tests;

namespace {

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

TEST(list, is_aligned_and_sorted_and_readable)
{
	host host;
	host.flash.part("rootfs").device.size = 255852544;
	host.flash.part("usrdata").device.usable = 0x6000;
	host.flash.part("config").device.writable = false;
	EXPECT_EQ(host.flashctl("list"), 0);
	EXPECT_EQ(host.console.out, "DEVICE  NAME     TYPE     SIZE  USABLE  ERASE BLOCK  FLAGS      PROGRAMS\n"
				    "mtd0    boot     nand   16 KiB       -        4 KiB  writeable  -\n"
				    "mtd1    config   nand   16 KiB       -        4 KiB  writeable  read\n"
				    "mtd2    usrdata  nand   32 KiB  24 KiB        4 KiB  writeable  read,write\n"
				    "mtd3    rootfs   nand  244 MiB       -        4 KiB  writeable  -\n"
				    "mtd4    nor      nor    32 KiB       -        4 KiB  writeable  -\n"
				    "mtd5    ram0     ram    16 KiB       -        4 KiB  writeable  -\n");
	EXPECT_EQ(host.console.err, "");
}

TEST(list, of_a_board_without_flash_is_a_title)
{
	host host;
	host.flash.parts.clear();
	EXPECT_EQ(host.flashctl("list"), 0);
	EXPECT_EQ(host.console.out, "DEVICE  NAME  TYPE  SIZE  USABLE  ERASE BLOCK  FLAGS  PROGRAMS\n");
}

TEST(list, shows_a_hostile_name_without_its_control_characters)
{
	host host;
	host.flash.parts[0].device.name = "a\033[2Jb";
	EXPECT_EQ(host.flashctl("list"), 0);
	EXPECT_FALSE(has(host.console.out, "\033"));
	EXPECT_EQ(host.flashctl("list", "--json"), 0);
	EXPECT_FALSE(has(host.console.out, "\033"));
}

TEST(list, has_colours_on_a_terminal_only)
{
	host host;
	host.flashctl("list");
	EXPECT_FALSE(has(host.console.out, "\033"));
	host.console.output_terminal = true;
	host.flashctl("list");
	EXPECT_TRUE(has(host.console.out, "\033[1mDEVICE"));
	host.console.out.clear();
	flashctl::run({"list"}, host.flash, host.console, true);
	EXPECT_FALSE(has(host.console.out, "\033"));
}

TEST(info, describes_nand_and_user_data)
{
	host host;
	host.flash.part("config").bad = 1;
	EXPECT_EQ(host.flashctl("info"), 0);
	EXPECT_EQ(host.console.out,
		  "DEVICE  NAME     TYPE    SIZE       BLOCKS  BAD  SPARE  CORRECTED  FAILED  THRESHOLD  STATE     PROGRAMS\n"
		  "mtd0    boot     nand  16 KiB   4 of 4 KiB    0      -          -       -          -  writable  -\n"
		  "mtd1    config   nand  16 KiB   4 of 4 KiB    1      -          -       -          -  writable  read,write\n"
		  "mtd2    usrdata  nand  32 KiB   8 of 4 KiB    0      -          -       -          -  writable  read,write\n"
		  "mtd3    rootfs   nand  64 KiB  16 of 4 KiB    0      -          -       -          -  writable  -\n"
		  "user data: 1 NAND partition of 32 KiB\n");
}

TEST(info, of_one_partition_of_any_type)
{
	host host;
	EXPECT_EQ(host.flashctl("info", "nor"), 0);
	EXPECT_TRUE(has(host.console.out, "mtd4"));
	EXPECT_FALSE(has(host.console.out, "boot"));
}

TEST(info, of_a_board_without_user_data_is_no_failure)
{
	host host;
	host.flash.user_data_exists = false;
	EXPECT_EQ(host.flashctl("info"), 0);
	EXPECT_TRUE(has(host.console.out, "user data: no NAND partition\n"));
}

TEST(spi, by_instance_and_by_name)
{
	host host;
	EXPECT_EQ(host.flashctl("spi", "--instance", "5"), 0);
	EXPECT_EQ(host.console.out,
		  "instance        5\nsettings of     instance 5\nchip            1\ncontroller      2\nchip select     3\n"
		  "hardware lock   none\n");
	EXPECT_EQ(host.flashctl("spi", "--name", "spi_a"), 0);
	EXPECT_TRUE(has(host.console.out, "instance        5"));
	host.flash.spi.hardlock_type = 2;
	host.flash.spi.hardlock_val = 7;
	EXPECT_EQ(host.flashctl("spi", "--name", "spi_a"), 0);
	EXPECT_TRUE(has(host.console.out, "type 2, taken with 7, released with 0"));
	host.flash.spi.inst_id = 0x21;
	EXPECT_EQ(host.flashctl("spi", "--instance", "0x21"), 0);
	EXPECT_TRUE(has(host.console.out, "instance        0x21 (33)\n")) << host.console.out;
}

TEST(spi, that_is_not_there)
{
	host host;
	EXPECT_EQ(host.flashctl("spi", "--instance", "6"), 3);
	EXPECT_TRUE(has(host.console.err, "instance 0x6"));
	EXPECT_TRUE(has(host.console.err, "FLASH_MNG_NOT_FOUND"));
	EXPECT_EQ(host.flashctl("spi", "--name", "spi_b"), 3);
}

TEST(spi, an_answer_that_was_not_written_whole)
{
	host host;
	host.flash.fail_call(2, status::from_code(34));
	EXPECT_EQ(host.flashctl("spi", "--instance", "5"), 6);
	EXPECT_TRUE(has(host.console.err, "34 bytes of the answer could not be written")) << host.console.err;
	EXPECT_FALSE(has(host.console.err, "BOUNDED"));
}

TEST(explain, tells_both_meanings_of_a_small_code)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "34"), 0);
	EXPECT_TRUE(has(host.console.out, "; after a lookup of an SPI flash")) << host.console.out;
	EXPECT_EQ(host.flashctl("explain", "56"), 0);
	EXPECT_TRUE(has(host.console.out, "after a lookup")) << host.console.out;
	EXPECT_EQ(host.flashctl("explain", "57"), 0);
	EXPECT_FALSE(has(host.console.out, "after a lookup")) << host.console.out;
}

TEST(explain, says_name_meaning_and_advice_and_needs_no_board)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "0x811B04AA"), 0);
	EXPECT_EQ(host.console.out,
		  "FLASH_MNG_NO_BUFFER, 0x811B04AA\n  the kernel had no memory for the data, or the range ends beyond 4 GiB\n"
		  "  ask for a smaller range, or free memory and try again\n");
	EXPECT_TRUE(host.flash.calls.empty());
	EXPECT_EQ(host.flashctl("explain"), 0);
	EXPECT_TRUE(has(host.console.out, "FLASH_MNG_XML_NAME") && has(host.console.out, "FLASH_BUFFER_NO_MEMORY"));
}

TEST(failures, go_to_standard_error_with_what_to_do)
{
	host host;
	EXPECT_EQ(host.flashctl("read", "usrdta"), 3);
	EXPECT_EQ(host.console.out, "");
	EXPECT_EQ(host.console.err, "flashctl: read: there is no partition \"usrdta\"\nflashctl: did you mean \"usrdata\"?\n");
	EXPECT_EQ(host.flashctl("info", "xyzzy"), 3);
	EXPECT_TRUE(has(host.console.err, "flashctl list"));
}

TEST(failures, of_the_command_line_come_before_the_device)
{
	host host;
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "4GiB"), 2);
	EXPECT_EQ(host.flashctl("write", "usrdata", "/no/such/file", "--offset", "0xffffffff", "--length", "2"), 2);
	EXPECT_TRUE(host.flash.calls.empty());
}

TEST(failures, are_coloured_on_a_terminal_only)
{
	host host;
	host.flashctl("info", "xyzzy");
	EXPECT_FALSE(has(host.console.err, "\033"));
	host.console.errors_terminal = true;
	host.flashctl("info", "xyzzy");
	EXPECT_TRUE(has(host.console.err, "\033[31m"));
}

struct open_case {
	int error;
	int exit;
	const char *hint;
};

class opening : public testing::TestWithParam<open_case> {};

TEST_P(opening, that_fails_has_its_own_status)
{
	host host;
	host.flash.fail_call(1, status::from_errno(GetParam().error));
	EXPECT_EQ(host.flashctl("list"), GetParam().exit);
	EXPECT_TRUE(has(host.console.err, GetParam().hint)) << host.console.err;
	EXPECT_EQ(host.console.out, "");
}

INSTANTIATE_TEST_SUITE_P(all, opening,
			 testing::Values(open_case{ENOENT, 5, "load the module"}, open_case{ENODEV, 5, "load the module"},
					 open_case{ENXIO, 5, "load"}, open_case{EACCES, 4, "root"}, open_case{EPERM, 4, "root"},
					 open_case{EBUSY, 8, "busy"}, open_case{ENOMEM, 11, "memory"}, open_case{EIO, 6, "Input/output"}));

// A load that failed may have been told as a success by modprobe or insmod.
TEST(without_a_device, what_the_log_says_of_the_last_load_is_told)
{
	host host;
	host.flash.log = {"mtd info init fail", "flash_mng MODULE INIT END result 0x811b0da2 in 3 ms"};
	host.flash.fail_call(1, status::from_errno(ENOENT));
	EXPECT_EQ(host.flashctl("list"), 5);
	EXPECT_TRUE(has(host.console.err, "; the log says of the last load:\n  mtd info init fail\n"
					  "  flash_mng MODULE INIT END result 0x811b0da2 in 3 ms\n"))
		<< host.console.err;

	host.flash.log.clear();
	host.flash.fail_call(1, status::from_errno(ENODEV));
	EXPECT_EQ(host.flashctl("list"), 5);
	EXPECT_TRUE(has(host.console.err, "the log tells nothing of a load that this user may read")) << host.console.err;
}

TEST(output, that_does_not_arrive_is_no_success)
{
	host host;
	host.console.output_breaks = true;
	EXPECT_EQ(host.flashctl("list"), 1);
	EXPECT_EQ(host.flashctl("--help"), 1);
	EXPECT_EQ(host.flashctl("read", "usrdata"), 1);
	EXPECT_EQ(host.flashctl("info", "xyzzy"), 3) << "the first failure counts";
}

} // namespace
