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
	host host;
	EXPECT_EQ(host.flashctl("read", "usrdata"), 0);
	EXPECT_EQ(host.console.out, text_of(host.flash.part("usrdata").content));
	EXPECT_EQ(host.console.err, "");
}

TEST(read, a_range)
{
	host host;
	const std::string all = text_of(host.flash.part("usrdata").content);
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "4KiB", "--length", "3"), 0);
	EXPECT_EQ(host.console.out, all.substr(4096, 3));
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "0x7fff"), 0);
	EXPECT_EQ(host.console.out, all.substr(0x7fff));
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "0x7ff0", "--length", "16"), 0) << "up to the very end";
}

TEST(read, beyond_the_end_is_refused_without_reading)
{
	host host;
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "0x7ff0", "--length", "17"), 2);
	EXPECT_TRUE(has(host.console.err, "at most 16 bytes fit there")) << host.console.err;
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "32KiB"), 2);
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "32KiB", "--length", "1"), 2);
	EXPECT_TRUE(has(host.console.err, "1 byte at 0x8000 ends beyond \"usrdata\"")) << host.console.err;
	host.console.err.clear();
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "0x7fff", "--length", "2"), 2);
	EXPECT_TRUE(has(host.console.err, "2 bytes at 0x7fff end beyond \"usrdata\"")) << host.console.err;
	EXPECT_TRUE(has(host.console.err, "at most 1 byte fits there")) << host.console.err;
	EXPECT_EQ(std::count(host.flash.calls.begin(), host.flash.calls.end(), "read"), 0);
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
	host host;
	host.flash.part("usrdata").bad = 2;
	EXPECT_EQ(host.flashctl("read", "usrdata"), 0);
	EXPECT_EQ(host.console.out.size(), 0x6000u);
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "0x6000"), 2) << "nothing is left";
	EXPECT_EQ(host.flashctl("read", "usrdata", "--length", "0x6001"), 2) << "the flash service refuses";
	EXPECT_TRUE(has(host.console.err, "FLASH_BUFFER_BEYOND_END"));
}

TEST(read, of_a_partition_that_programs_may_not_read)
{
	host host;
	EXPECT_EQ(host.flashctl("read", "boot"), 9);
	EXPECT_TRUE(has(host.console.err, "mtd_info")) << host.console.err;
}

TEST(read, puts_no_binary_on_a_terminal)
{
	host host;
	host.console.output_terminal = true;
	EXPECT_EQ(host.flashctl("read", "usrdata"), 2);
	EXPECT_EQ(host.console.out, "");
	EXPECT_TRUE(host.flash.calls.empty());
	EXPECT_EQ(host.flashctl("read", "usrdata", "--hex", "--length", "1", "--offset", "16"), 0);
	EXPECT_EQ(host.console.out, "00000010  ae                                                |.|\n00000011\n");
}

TEST(read, to_a_file)
{
	host host;
	scratch folder;
	const std::string file = folder.path("out");
	EXPECT_EQ(host.flashctl("read", "usrdata", "--length", "3", "-o", file), 0);
	EXPECT_EQ(host.console.out, "usrdata: 3 bytes at 0x0 read to " + file + "\n  sha256    " +
					    flashctl::sha256({host.flash.part("usrdata").content.data(), 3}) + "\n");
	EXPECT_EQ(folder.content("out"), text_of(host.flash.part("usrdata").content).substr(0, 3));
	EXPECT_FALSE(std::filesystem::exists(file + ".part"));
	EXPECT_EQ(host.flashctl("read", "usrdata", "-q", "-o", file), 0);
	EXPECT_EQ(host.console.out, "");
}

TEST(read, that_fails_leaves_the_old_file)
{
	host host;
	scratch folder;
	folder.write("out", "old");
	host.flash.fail_call(3, status::from_code(0x70050008));
	EXPECT_EQ(host.flashctl("read", "usrdata", "-o", folder.path("out")), 6);
	EXPECT_TRUE(has(host.console.err, "error correction"));
	EXPECT_EQ(folder.content("out"), "old");
}

TEST(read, to_a_place_that_cannot_be_written)
{
	host host;
	scratch folder;
	EXPECT_EQ(host.flashctl("read", "usrdata", "-o", folder.path("none/out")), 1);
	EXPECT_TRUE(has(host.console.err, "cannot be written"));
	EXPECT_EQ(host.flashctl("read", "usrdata", "-o", "/dev/full"), 1);
	EXPECT_EQ(host.flashctl("read", "usrdata", "-o", "/dev/null"), 0);
}

TEST(verify, equal_data)
{
	host host;
	scratch folder;
	folder.write("image", text_of(host.flash.part("usrdata").content));
	EXPECT_EQ(host.flashctl("verify", "usrdata", folder.path("image")), 0);
	EXPECT_TRUE(has(host.console.out, "usrdata: 32768 bytes at 0x0 verified\n")) << host.console.out;
	EXPECT_EQ(host.flashctl("verify", "usrdata", folder.path("image"), "--length", "10", "-q"), 0);
	EXPECT_EQ(host.console.out, "");
}

TEST(verify, different_data_is_told_by_place_and_number)
{
	host host;
	scratch folder;
	std::string image = text_of(host.flash.part("usrdata").content).substr(0x1000, 64);
	image[5] = '?';
	image[63] = '?';
	folder.write("image", image);
	EXPECT_EQ(host.flashctl("verify", "usrdata", folder.path("image"), "--offset", "4KiB"), 7);
	EXPECT_TRUE(has(host.console.out, "2 bytes differ, the first at 0x1005: expected 0x3f, found 0x")) << host.console.out;
	EXPECT_TRUE(has(host.console.err, "does not hold the expected data"));
}

TEST(verify, by_hash)
{
	host host;
	const std::string hash = flashctl::sha256(host.flash.part("usrdata").content);
	EXPECT_EQ(host.flashctl("verify", "usrdata", "--sha256", hash), 0);
	EXPECT_EQ(host.flashctl("verify", "usrdata", "--sha256", hash, "--length", "10"), 7);
	EXPECT_EQ(host.flashctl("verify", "usrdata", "--sha256", std::string(64, '0')), 7);
}

TEST(verify, standard_input)
{
	host host;
	host.console.input = host.flash.part("config").content;
	EXPECT_EQ(host.flashctl("verify", "config", "-"), 0);
	host.console.input.pop_back();
	host.console.input.push_back(std::byte{0});
	EXPECT_EQ(host.flashctl("verify", "config", "-"), 7);
}

TEST(verify, does_not_take_an_answer_without_data_for_equal)
{
	host host;
	host.console.input = bytes(64);
	host.flash.reads_leave_buffer = true;
	EXPECT_EQ(host.flashctl("verify", "usrdata", "-"), 7);
}

TEST(verify, data_that_is_not_there)
{
	host host;
	EXPECT_EQ(host.flashctl("verify", "usrdata", "/no/such/file"), 1);
	EXPECT_TRUE(has(host.console.err, "/no/such/file: cannot be opened: No such file"));
	EXPECT_EQ(host.flashctl("verify", "usrdata", "-"), 2) << "empty input";
	EXPECT_EQ(host.flashctl("verify", "usrdata", "/"), 1) << "a folder";
}

} // namespace
