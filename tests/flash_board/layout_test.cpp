// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Reading partitions, numbers and sizes, and guessing what was meant.
#include <gtest/gtest.h>

#include "mtd_layout.hpp"
#include "number.hpp"
#include "suggestion.hpp"

namespace {

using namespace flash_board;

TEST(proc_mtd, lists_name_size_and_erase_size)
{
	const auto layout =
		read_proc_mtd("dev:    size   erasesize  name\nmtd0: 00100000 00020000 \"boot\"\nmtd1: 100000000 00010000 \"two words\"\n");

	ASSERT_EQ(layout.size(), 2u);
	EXPECT_EQ(layout[0].name, "boot");
	EXPECT_EQ(layout[0].size, 0x100000u);
	EXPECT_EQ(layout[0].erase_size, 0x20000u);
	EXPECT_EQ(layout[1].name, "two words");
	EXPECT_EQ(layout[1].size, 0x100000000u);
}

TEST(proc_mtd, of_a_device_without_erase_blocks_has_no_erase_size)
{
	EXPECT_FALSE(read_proc_mtd("mtd0: 00100000 00000000 \"ram\"\n")[0].erase_size);
}

TEST(proc_mtd, is_refused_when_it_is_something_else)
{
	for (const auto *text : {"", "dev:    size   erasesize  name\n", "mtd0: 00100000 00020000 boot", "mtd0: 00100000 \"boot\"",
				 "mtd0 00100000 00020000 \"boot\"", "<board/>", "mtd0: 0010000g 00020000 \"boot\"",
				 "mtd0: 11111111111111111 00020000 \"boot\""})
		EXPECT_THROW(read_proc_mtd(text), layout_error) << text;
}

TEST(mtdparts, lists_partitions_of_all_devices)
{
	const auto layout = read_mtdparts("mtdparts=NAND 256MiB 1,8V 8-bit:1M(boot),512k@4m(config)ro,-(rootfs);0.flash:0x1000(nor)lk");

	ASSERT_EQ(layout.size(), 4u);
	EXPECT_EQ(layout[0].name, "boot");
	EXPECT_EQ(layout[0].device, "NAND 256MiB 1,8V 8-bit");
	EXPECT_EQ(layout[0].offset, 0u);
	EXPECT_EQ(layout[0].size, 0x100000u);
	EXPECT_EQ(layout[1].offset, 0x400000u);
	EXPECT_EQ(layout[1].size, 0x80000u);
	EXPECT_EQ(layout[2].name, "rootfs");
	EXPECT_EQ(layout[2].offset, 0x480000u);
	EXPECT_FALSE(layout[2].size);
	EXPECT_EQ(layout[3].device, "0.flash");
	EXPECT_EQ(layout[3].offset, 0u);
}

TEST(mtdparts, names_partitions_without_a_name_by_number)
{
	const auto layout = read_mtdparts("a:1M,2M(x),3M");

	EXPECT_EQ(layout[0].name, "Partition_000");
	EXPECT_EQ(layout[2].name, "Partition_002");
}

TEST(mtdparts, a_name_may_have_commas)
{
	const auto layout = read_mtdparts("a:1M(b,c),2M(d)");

	ASSERT_EQ(layout.size(), 2u);
	EXPECT_EQ(layout[0].name, "b,c");
}

TEST(mtdparts, is_refused_when_it_is_something_else)
{
	for (const auto *text : {"", "mtdparts=", "boot", "a:", "a:x(boot)", "a:1M(boot", "a:1M(boot)rw", "a:0(boot)", "a:1M@(boot)",
				 "a:99999999999g(b)", "a:1M,,2M"})
		EXPECT_THROW(read_mtdparts(text), layout_error) << text;
}

TEST(layout, finds_the_first_of_a_name)
{
	const auto layout = read_mtdparts("a:1M(x),2M(x)");

	EXPECT_EQ(partition_named(layout, "x"), &layout[0]);
	EXPECT_EQ(partition_named(layout, "y"), nullptr);
}

TEST(numbers, are_decimal_or_hexadecimal_of_32_bits)
{
	EXPECT_EQ(number_in("0"), 0u);
	EXPECT_EQ(number_in("007"), 7u);
	EXPECT_EQ(number_in("4294967295"), 0xFFFFFFFFu);
	EXPECT_EQ(number_in("0XfF"), 0xFFu);
	for (const auto *text : {"", "0x", "4294967296", "0x100000000", "-1", "+1", " 1", "1 ", "1k", "0x0x1"})
		EXPECT_FALSE(number_in(text)) << text;
}

TEST(sizes, are_said_exactly)
{
	EXPECT_EQ(human_size(0), "0 bytes");
	EXPECT_EQ(human_size(1), "1 byte");
	EXPECT_EQ(human_size(1023), "1023 bytes");
	EXPECT_EQ(human_size(1024), "1 KiB");
	EXPECT_EQ(human_size(0x180000), "1536 KiB");
	EXPECT_EQ(human_size(0x180001), "1572865 bytes");
	EXPECT_EQ(human_size(0x40000000), "1 GiB");
	EXPECT_EQ(hexadecimal(0xFFFFFFFFFFFFFFFF), "0xffffffffffffffff");
}

TEST(suggestions, are_near)
{
	constexpr std::array<std::string_view, 2> words = {"mtd_info", "attr"};

	EXPECT_EQ(nearest("mtdinfo", words), "mtd_info");
	EXPECT_EQ(nearest("atr", words), "attr");
	EXPECT_EQ(nearest("something", words), "");
	EXPECT_EQ(nearest("", words), "");
	EXPECT_EQ(nearest(std::string(100000, 'a'), words), "");
	EXPECT_EQ(did_you_mean("atr", words), "did you mean \"attr\"?");
	EXPECT_EQ(did_you_mean("xyz", words), "");
}

} // namespace
