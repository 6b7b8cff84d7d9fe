// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// map: the picture of the running board.
#include <gtest/gtest.h>

#include <sstream>

#include "simulated_console.hpp"

using namespace flashctl_tests;
using enum flashctl::block_state;

namespace {

struct map : testing::Test, host {
	map()
	{
		partition &part = flash.part("usrdata");
		part.device.usable = 0x4000;
		part.blocks = {good, bad, good, good, good, good, good, bad};
	}

	std::string drawn(const std::vector<std::string> &arguments = {"map", "usrdata"})
	{
		EXPECT_EQ(run(arguments), 0) << console.err;
		return console.out;
	}
};

TEST_F(map, shows_usable_spare_and_bad_blocks_by_their_places)
{
	EXPECT_EQ(drawn(), "mtd2 usrdata: nand, 32 KiB, 8 blocks of 4 KiB, 16 KiB usable\n"
			   "  0x00000000 #X###..X\n"
			   ". spare: beyond the usable bytes\n"
			   "# with usable bytes\n"
			   "X bad\n");
}

TEST_F(map, shows_worn_and_unreadable_blocks_after_a_scan)
{
	flash.part("usrdata").blocks = {worn, bad, unreadable, good, good, good, good, bad};
	flash.part("usrdata").counts.corrected_bits = 1;
	const std::string picture = drawn({"map", "usrdata", "--scan"});
	EXPECT_NE(picture.find("  0x00000000 wX!##..X\n  1 bit corrected since the board was started\n"), std::string::npos) << picture;
	EXPECT_NE(picture.find("w worn: has corrected bits\n! unreadable: cannot be corrected\n"), std::string::npos) << picture;
}

TEST_F(map, is_drawn_with_blocks_where_utf8_is_shown)
{
	console.utf8 = true;
	const std::string full = "\xe2\x96\x88", light = "\xe2\x96\x91", cross = "\xe2\x95\xb3";
	EXPECT_NE(drawn().find("  0x00000000 " + full + cross + full + full + full + light + light + cross + "\n"), std::string::npos)
		<< console.out;
}

TEST_F(map, is_plain_ascii_otherwise)
{
	for (const unsigned char letter : drawn({"map"}))
		EXPECT_LT(letter, 0x80u);
}

TEST_F(map, says_so_where_nobody_tells_usable_bytes_or_places)
{
	flash.part("usrdata").device.usable = std::nullopt;
	flash.part("boot").counts.bad_blocks = 3;
	const std::string picture = drawn({"map"});
	EXPECT_NE(picture.find("  0x00000000 -X-----X\n"), std::string::npos) << picture;
	EXPECT_NE(picture.find("4 blocks of 4 KiB\n  3 bad blocks; where they are only the character device tells"), std::string::npos)
		<< picture;
	EXPECT_NE(picture.find("  unknown bad blocks;"), std::string::npos) << picture;
}

// Columns of its widest row.
std::size_t width_of(const std::string &picture)
{
	std::istringstream lines(picture);
	std::size_t widest = 0;
	for (std::string line; std::getline(lines, line);)
		if (line.starts_with("  0x"))
			widest = std::max(widest, line.size());
	return widest;
}

TEST_F(map, fits_the_terminal)
{
	flash.part("usrdata").blocks.assign(300, good);
	for (const std::size_t columns : {0u, 1u, 20u, 21u, 22u, 40u, 77u, 80u, 200u}) {
		console.columns = columns;
		EXPECT_EQ(width_of(drawn()), std::clamp<std::size_t>(columns, 21, 77)) << columns;
	}
}

TEST_F(map, merges_blocks_of_large_devices_and_shows_the_worst)
{
	partition &part = flash.part("usrdata");
	part.blocks.assign(2048, good);
	part.blocks[2047] = bad;
	part.blocks[5] = worn;
	const std::string picture = drawn();
	EXPECT_NE(picture.find("  each letter is 4 blocks\n"), std::string::npos) << picture;
	EXPECT_NE(picture.find("  0x00000000 #w......"), std::string::npos) << picture;
	EXPECT_NE(picture.find("......X\n"), std::string::npos) << picture;
	EXPECT_EQ(std::count(picture.begin(), picture.end(), '\n'), 1 + 8 + 1 + 4);
}

TEST_F(map, of_devices_without_blocks)
{
	flash.part("ram0").device.erase_size = 0;
	EXPECT_EQ(drawn({"map", "ram0"}).substr(0, 23), "mtd5 ram0: ram, 16 KiB\n");
}

TEST_F(map, fails_where_it_cannot_scan_or_find)
{
	EXPECT_EQ(flashctl("map", "none"), 3);
	flash.fail_call(3, status::from_errno(EACCES));
	EXPECT_EQ(flashctl("map", "usrdata", "--scan"), 4);
	EXPECT_NE(console.err.find("the blocks of \"usrdata\" cannot be read"), std::string::npos) << console.err;
	flash.fail_call(3, status::from_errno(EACCES));
	EXPECT_EQ(flashctl("map", "usrdata"), 0) << "a picture without places is one too";
}

TEST_F(map, shows_hostile_names_without_their_control_characters)
{
	flash.part("usrdata").device.name = "a\033[2Jb";
	EXPECT_EQ(drawn({"map"}).find('\033'), std::string::npos);
}

} // namespace
