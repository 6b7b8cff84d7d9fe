// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// list --health and info: figures, and what they give cause to warn of.
#include <gtest/gtest.h>

#include "health.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;

namespace {

constexpr std::uint32_t block = 0x20000;

// A NAND partition of 100 blocks, 80 of which the usable bytes need.
flashctl::mtd_device device(std::optional<std::uint32_t> usable = 80 * block)
{
	return {2, "usrdata", 4, std::uint64_t{100} * block, block, 0x400, true, true, usable};
}

flashctl::device_counts bad(std::uint64_t blocks)
{
	flashctl::device_counts counts;
	counts.bad_blocks = blocks;
	return counts;
}

std::string kinds(const flashctl::mtd_device &device, const flashctl::device_counts &counts)
{
	std::string text;
	for (const auto &warning : flashctl::examine(device, counts).warnings)
		text += std::string(warning.kind) + " ";
	return text;
}

TEST(health, counts_spare_blocks_beyond_the_usable_bytes)
{
	EXPECT_EQ(flashctl::examine(device(), bad(0)).spare_blocks, 20);
	flashctl::device_counts with_table = bad(3);
	with_table.reserved_blocks = 4;
	EXPECT_EQ(flashctl::examine(device(), with_table).spare_blocks, 13);
	EXPECT_EQ(flashctl::examine(device(79 * block + 1), bad(0)).spare_blocks, 20) << "a part of a block takes all of it";
	EXPECT_EQ(flashctl::examine(device(), bad(25)).spare_blocks, -5);
	EXPECT_EQ(flashctl::examine(device(), {}).spare_blocks, std::nullopt) << "nobody tells its bad blocks";
	EXPECT_EQ(flashctl::examine(device(std::nullopt), bad(1)).spare_blocks, std::nullopt);
	auto nor = device();
	nor.type = 3;
	EXPECT_EQ(flashctl::examine(nor, bad(0)).spare_blocks, std::nullopt) << "its blocks do not go bad";
}

TEST(health, warns_when_a_partition_nears_its_end)
{
	EXPECT_EQ(kinds(device(), bad(15)), "") << "a quarter of 20";
	EXPECT_EQ(kinds(device(), bad(16)), "few_spare_blocks ");
	EXPECT_EQ(kinds(device(), bad(19)), "few_spare_blocks ");
	EXPECT_EQ(kinds(device(), bad(20)), "no_spare_block ");
	EXPECT_EQ(kinds(device(), bad(21)), "too_few_blocks ");
	EXPECT_EQ(kinds(device(), bad(1000)), "too_few_blocks ");
	EXPECT_EQ(kinds(device(100 * block), bad(0)), "no_spare_block ");
}

TEST(health, goes_by_the_number_of_bad_blocks_where_the_usable_bytes_are_not_known)
{
	EXPECT_EQ(kinds(device(std::nullopt), bad(1)), "");
	EXPECT_EQ(kinds(device(std::nullopt), bad(2)), "many_bad_blocks ");
	auto tiny = device(std::nullopt);
	tiny.erase_size = 0;
	EXPECT_EQ(kinds(tiny, bad(2)), "");
}

TEST(health, warns_of_bytes_that_are_lost)
{
	flashctl::device_counts counts = bad(0);
	counts.corrected_bits = 999;
	counts.ecc_failures = 0;
	EXPECT_EQ(kinds(device(), counts), "") << "corrected is corrected";
	counts.ecc_failures = 1;
	EXPECT_EQ(kinds(device(), counts), "ecc_failures ");
}

TEST(health, is_listed_for_every_device)
{
	host host;
	partition &part = host.flash.part("usrdata");
	part.device.usable = 0x6000;
	part.counts = bad(2);
	part.counts.corrected_bits = 12;
	part.counts.ecc_failures = 0;
	part.counts.bitflip_threshold = 6;
	host.flash.part("config").device.writable = false;
	host.flash.part("nor").device.flags = 0x2400;
	EXPECT_EQ(host.flashctl("list", "--health"), 0);
	EXPECT_EQ(host.console.out, "DEVICE  NAME     TYPE  BLOCKS  BAD  SPARE  CORRECTED  FAILED  THRESHOLD  STATE\n"
				    "mtd0    boot     nand       4    -      -          -       -          -  writable\n"
				    "mtd1    config   nand       4    -      -          -       -          -  read-only\n"
				    "mtd2    usrdata  nand       8    2      0         12       0          6  writable\n"
				    "mtd3    rootfs   nand      16    -      -          -       -          -  writable\n"
				    "mtd4    nor      nor        8    -      -          -       -          -  writable,locks at power-on\n"
				    "mtd5    ram0     ram        4    -      -          -       -          -  writable\n"
				    "warning: usrdata has no spare block: the next one that goes bad takes usable bytes\n");
}

TEST(health, is_part_of_info)
{
	host host;
	partition &part = host.flash.part("usrdata");
	part.device.usable = 0x7000;
	part.counts = bad(2);
	part.counts.ecc_failures = 1;
	EXPECT_EQ(host.flashctl("info", "usrdata"), 0);
	EXPECT_NE(host.console.out.find("warning: usrdata has 6 good blocks, and its usable bytes need 7: the last ones cannot be read or "
					"written\nwarning: usrdata could not be corrected by ECC in 1 read since the board was started: "
					"bytes of it are lost\nuser data: "),
		  std::string::npos)
		<< host.console.out;
}

} // namespace
