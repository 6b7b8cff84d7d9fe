// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// read and verify.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "failure.hpp"
#include "partition.hpp"
#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;

namespace {

std::string text_of(const bytes &data)
{
	return {reinterpret_cast<const char *>(data.data()), data.size()};
}

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

TEST(read, the_whole_partition_to_standard_output)
{
	desk desk;
	EXPECT_EQ(desk.flashctl("read", "usrdata"), 0);
	EXPECT_EQ(desk.console.out, text_of(desk.flash.part("usrdata").content));
	EXPECT_EQ(desk.console.err, "");
}

TEST(read, a_range)
{
	desk desk;
	const std::string all = text_of(desk.flash.part("usrdata").content);
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "4KiB", "--length", "3"), 0);
	EXPECT_EQ(desk.console.out, all.substr(4096, 3));
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "0x7fff"), 0);
	EXPECT_EQ(desk.console.out, all.substr(0x7fff));
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "0x7ff0", "--length", "16"), 0) << "up to the very end";
}

TEST(read, beyond_the_end_is_refused_without_reading)
{
	desk desk;
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "0x7ff0", "--length", "17"), 2);
	EXPECT_TRUE(has(desk.console.err, "at most 16 bytes fit there")) << desk.console.err;
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "32KiB"), 2);
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "32KiB", "--length", "1"), 2);
	EXPECT_TRUE(has(desk.console.err, "1 byte at 0x8000 ends beyond \"usrdata\"")) << desk.console.err;
	desk.console.err.clear();
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "0x7fff", "--length", "2"), 2);
	EXPECT_TRUE(has(desk.console.err, "2 bytes at 0x7fff end beyond \"usrdata\"")) << desk.console.err;
	EXPECT_TRUE(has(desk.console.err, "at most 1 byte fits there")) << desk.console.err;
	EXPECT_EQ(std::count(desk.flash.calls.begin(), desk.flash.calls.end(), "read"), 0);
}

// The module counts the bytes of a partition in 32 bits.
TEST(read, of_a_partition_of_more_than_4_gib_ends_below_them)
{
	const flashctl::mtd_device large = {9, "large", 4, std::uint64_t(5) << 30, 0x20000, 0, true};
	const flashctl::range_request from = {"large", 0xfffffff0, std::nullopt};
	EXPECT_EQ(range_within(large, from, 15).length, 15u);
	EXPECT_THROW(range_within(large, from, 16), flashctl::failure);
	EXPECT_THROW(range_within(large, from, 17), flashctl::failure);
	EXPECT_THROW(range_within(large, {"large", 0, std::nullopt}, std::uint64_t(1) << 32), flashctl::failure);
}

TEST(read, the_rest_ends_before_the_blocks_that_bad_ones_cost)
{
	desk desk;
	desk.flash.part("usrdata").bad = 2;
	EXPECT_EQ(desk.flashctl("read", "usrdata"), 0);
	EXPECT_EQ(desk.console.out.size(), 0x6000u);
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--offset", "0x6000"), 2) << "nothing is left";
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--length", "0x6001"), 2) << "the flash service refuses";
	EXPECT_TRUE(has(desk.console.err, "FLASH_BUFFER_BEYOND_END"));
}

TEST(read, of_a_partition_that_programs_may_not_read)
{
	desk desk;
	EXPECT_EQ(desk.flashctl("read", "boot"), 9);
	EXPECT_TRUE(has(desk.console.err, "mtd_info")) << desk.console.err;
}

TEST(read, puts_no_binary_on_a_terminal)
{
	desk desk;
	desk.console.output_terminal = true;
	EXPECT_EQ(desk.flashctl("read", "usrdata"), 2);
	EXPECT_EQ(desk.console.out, "");
	EXPECT_TRUE(desk.flash.calls.empty());
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--hex", "--length", "1", "--offset", "16"), 0);
	EXPECT_EQ(desk.console.out, "00000010  ae                                                |.|\n00000011\n");
}

TEST(read, to_a_file)
{
	desk desk;
	scratch folder;
	const std::string file = folder.path("out");
	EXPECT_EQ(desk.flashctl("read", "usrdata", "--length", "3", "-o", file), 0);
	EXPECT_EQ(desk.console.out, "usrdata: 3 bytes at 0x0 read to " + file + "\n  sha256    " +
					    flashctl::sha256({desk.flash.part("usrdata").content.data(), 3}) + "\n");
	EXPECT_EQ(folder.content("out"), text_of(desk.flash.part("usrdata").content).substr(0, 3));
	EXPECT_FALSE(std::filesystem::exists(file + ".part"));
	EXPECT_EQ(desk.flashctl("read", "usrdata", "-q", "-o", file), 0);
	EXPECT_EQ(desk.console.out, "");
}

TEST(read, that_fails_leaves_the_old_file)
{
	desk desk;
	scratch folder;
	folder.write("out", "old");
	desk.flash.fail_call(3, status::from_code(0x70050008));
	EXPECT_EQ(desk.flashctl("read", "usrdata", "-o", folder.path("out")), 6);
	EXPECT_TRUE(has(desk.console.err, "error correction"));
	EXPECT_EQ(folder.content("out"), "old");
}

TEST(read, to_a_place_that_cannot_be_written)
{
	desk desk;
	scratch folder;
	EXPECT_EQ(desk.flashctl("read", "usrdata", "-o", folder.path("none/out")), 1);
	EXPECT_TRUE(has(desk.console.err, "cannot be written"));
	EXPECT_EQ(desk.flashctl("read", "usrdata", "-o", "/dev/full"), 1);
	EXPECT_EQ(desk.flashctl("read", "usrdata", "-o", "/dev/null"), 0);
}

TEST(verify, equal_data)
{
	desk desk;
	scratch folder;
	folder.write("image", text_of(desk.flash.part("usrdata").content));
	EXPECT_EQ(desk.flashctl("verify", "usrdata", folder.path("image")), 0);
	EXPECT_TRUE(has(desk.console.out, "usrdata: 32768 bytes at 0x0 verified\n")) << desk.console.out;
	EXPECT_EQ(desk.flashctl("verify", "usrdata", folder.path("image"), "--length", "10", "-q"), 0);
	EXPECT_EQ(desk.console.out, "");
}

TEST(verify, different_data_is_told_by_place_and_number)
{
	desk desk;
	scratch folder;
	std::string image = text_of(desk.flash.part("usrdata").content).substr(0x1000, 64);
	image[5] = '?';
	image[63] = '?';
	folder.write("image", image);
	EXPECT_EQ(desk.flashctl("verify", "usrdata", folder.path("image"), "--offset", "4KiB"), 7);
	EXPECT_TRUE(has(desk.console.out, "2 bytes differ, the first at 0x1005: expected 0x3f, found 0x")) << desk.console.out;
	EXPECT_TRUE(has(desk.console.err, "does not hold the expected data"));
}

TEST(verify, by_hash)
{
	desk desk;
	const std::string hash = flashctl::sha256(desk.flash.part("usrdata").content);
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "--sha256", hash), 0);
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "--sha256", hash, "--length", "10"), 7);
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "--sha256", std::string(64, '0')), 7);
}

TEST(verify, standard_input)
{
	desk desk;
	desk.console.input = desk.flash.part("config").content;
	EXPECT_EQ(desk.flashctl("verify", "config", "-"), 0);
	desk.console.input.pop_back();
	desk.console.input.push_back(std::byte{0});
	EXPECT_EQ(desk.flashctl("verify", "config", "-"), 7);
}

TEST(verify, does_not_take_an_answer_without_data_for_equal)
{
	desk desk;
	desk.console.input = bytes(64);
	desk.flash.reads_leave_buffer = true;
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "-"), 7);
}

TEST(verify, data_that_is_not_there)
{
	desk desk;
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "/no/such/file"), 1);
	EXPECT_TRUE(has(desk.console.err, "/no/such/file: cannot be opened: No such file"));
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "-"), 2) << "empty input";
	EXPECT_EQ(desk.flashctl("verify", "usrdata", "/"), 1) << "a folder";
}

} // namespace
