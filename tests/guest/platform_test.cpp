// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The reference platform itself: its services, checked by the kernel module platform_check, and its files in debugfs.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "harness.hpp"
#include "lab_device.hpp"
#include "simulated_nand.hpp"

namespace {

const std::string debugfs = "/sys/kernel/debug/";
const std::string xml_switches = debugfs + "xml_parser/switches";
const std::string board_selector = debugfs + "xml_parser/reload";
const std::string log_records = debugfs + "log/records";

void run_group(const std::string &group)
{
	const int error = guest::insert_module(guest::module_file("platform_check"), "only=" + group);

	ASSERT_EQ(error, 0) << guest::kernel_messages("platform_check: ");
	EXPECT_EQ(guest::remove_module("platform_check"), 0);
}

class platform : public testing::Test {
protected:
	void SetUp() override { guest::write_file(board_selector, "check"); }

	void TearDown() override
	{
		for (const auto *name : {"log", "xml_parser", "drv_basic", "board_capability_mng", "plat_extern_api"})
			guest::write_file(debugfs + name + "/switches", "clear");
		guest::write_file(board_selector, "plain");
	}
};

TEST_F(platform, bounded_routines)
{
	run_group("bounded");
}

TEST_F(platform, configuration)
{
	run_group("configuration");
}

TEST_F(platform, instances_and_hardware_locks)
{
	run_group("instances");
	EXPECT_EQ(guest::read_file(debugfs + "drv_basic/hard_locks"), "");
}

TEST_F(platform, flash_buffer_skips_bad_blocks)
{
	SKIP_WITHOUT_NANDSIM();
	const guest::simulated_nand nand;
	run_group("good_flash");
}

TEST_F(platform, flash_buffer_reports_worn_flash)
{
	SKIP_WITHOUT_NANDSIM();
	const guest::simulated_nand nand("gravepages=2691:1 weakblocks=44:1 weakpages=2880:1");
	run_group("worn_flash");
}

TEST_F(platform, flash_buffer_judges_each_answer_of_mtd)
{
	// The device of these checks corrects bits of pages that it read in part, at which newer Linux wonders.
	const harness::expected_report report("drivers/mtd/mtdcore.c:");
	run_group("flash_answers");
}

TEST_F(platform, flash_buffer_accepts_corrected_bits)
{
	SKIP_WITHOUT_NANDSIM();
	const guest::simulated_nand nand("bitflips=1");
	run_group("flipping_flash");
}

// The records, without sequence and time.
std::vector<std::string> records()
{
	std::istringstream lines(guest::read_file(log_records));
	std::vector<std::string> found;
	std::string line, sequence, time;

	while (std::getline(lines, line)) {
		std::istringstream parts(line);
		parts >> sequence >> time;
		found.push_back(line.substr(sequence.size() + time.size() + 2));
	}
	return found;
}

TEST_F(platform, log_keeps_records_of_all_logs_in_one_sequence)
{
	guest::write_file(log_records, "clear");
	run_group("logs");
	const auto lines = records();
	ASSERT_EQ(lines.size(), 3u + 256 + 2);
	EXPECT_EQ(lines[0], "0 1 0 common 1");
	EXPECT_EQ(lines[1], "200 2 0 own \\\\ text\\n\\x7F\\xFF ");
	EXPECT_EQ(lines[2], "999 3 4 of nobody");
	EXPECT_EQ(lines[3], "201 3 0 record 44"); // the ring dropped the 44 before it
	EXPECT_EQ(lines[258], "201 3 0 record 299");
	EXPECT_EQ(lines[259], "200 2 0 after deregistration");
	EXPECT_EQ(lines[260].substr(0, 46), "0 2 1 check MODULE INIT END result 0x811b04aa ");
	EXPECT_TRUE(lines[260].ends_with(" ms: step")) << lines[260];
	EXPECT_EQ(guest::read_file(debugfs + "log/last_init"), "check 0x811b04aa step\n");
}

TEST_F(platform, log_forgets_records_and_takes_no_other_word)
{
	run_group("logs");
	EXPECT_ANY_THROW(guest::write_file(log_records, "clean"));
	EXPECT_FALSE(records().empty());
	guest::write_file(log_records, "clear\n");
	EXPECT_TRUE(records().empty());
}

TEST_F(platform, log_has_room_for_so_many)
{
	run_group("many_logs");
}

TEST_F(platform, switches_make_services_fail)
{
	guest::write_file(debugfs + "drv_basic/switches", "memcpy_s 2 0x55");
	guest::write_file(debugfs + "board_capability_mng/switches", "drv_board_get_bom_value 1 0");
	guest::write_file(xml_switches, "xml_get_entry_num 1 0x66 sticky");
	guest::write_file(xml_switches, "xml_get_entry_list:count 1 9");
	guest::write_file(xml_switches, "xml_get_entry_list:null 2 0");
	guest::write_file(xml_switches, "xml_is_element_exist 1 1\n");
	run_group("switched");
	EXPECT_EQ(guest::read_file(xml_switches), "xml_get_entry_num 1 0x66 sticky\n");
	EXPECT_EQ(guest::read_file(debugfs + "drv_basic/switches"), "");
}

TEST_F(platform, switches_are_listed_until_they_are_cleared)
{
	guest::write_file(xml_switches, "xml_is_node_exist 3 17");
	guest::write_file(xml_switches, "xml_is_node_exist 4 18 sticky");
	EXPECT_EQ(guest::read_file(xml_switches), "xml_is_node_exist 4 0x12 sticky\n");
	guest::write_file(xml_switches, "clear");
	EXPECT_EQ(guest::read_file(xml_switches), "");
}

TEST_F(platform, switches_refuse_what_they_do_not_know)
{
	for (const auto *text : {"", "no_such_function 1 1", "xml_get_entry_list", "xml_get_entry_list 1", "xml_get_entry_list 0 1",
				 "xml_get_entry_list x 1", "xml_get_entry_list 1 0x100000000", "xml_get_entry_list 1 1 often", "clear all"})
		EXPECT_ANY_THROW(guest::write_file(xml_switches, text)) << text;
	EXPECT_EQ(guest::read_file(xml_switches), "");
}

TEST_F(platform, another_board_is_loaded_by_name)
{
	EXPECT_EQ(guest::read_file(board_selector), "check\n");
	for (const auto *name : {"no_such_board", "", "../check", "/check", "check.fbd"}) {
		EXPECT_ANY_THROW(guest::write_file(board_selector, name)) << name;
		EXPECT_EQ(guest::read_file(board_selector), "check\n");
	}
}

TEST_F(platform, a_board_name_has_up_to_63_characters)
{
	const std::string boards = "/lib/firmware/board/", longest(63, 'n');
	std::filesystem::copy_file(boards + "plain.fbd", boards + longest + ".fbd");
	for (const char *end : {"n", "n\n", "nn", "nn\n", "nnnn"}) {
		EXPECT_ANY_THROW(guest::write_file(board_selector, longest + end)) << end;
		EXPECT_EQ(guest::read_file(board_selector), "check\n") << end;
	}
	EXPECT_NE(guest::kernel_messages("xml_parser: \"" + longest + "n\" is no board name"), "");
	guest::write_file(board_selector, longest + "\n");
	EXPECT_EQ(guest::read_file(board_selector), longest + "\n");
	std::filesystem::remove(boards + longest + ".fbd");
}

// What a file says that is no board, or is a damaged one: which byte of a good one is changed, and what the kernel log then says.
struct damage {
	std::size_t position;
	const char *words;
};

TEST_F(platform, a_damaged_board_file_is_refused_with_its_reason)
{
	const std::string boards = "/lib/firmware/board/", file = boards + "damaged.fbd";
	const std::string good = guest::read_file(boards + "plain.fbd");
	const damage damages[] = {{0, "it is not a compiled board description"},
				  {8, "it is of another version"},
				  {12, "its length is not the one it states"},
				  {16, "its checksum is wrong"},
				  {24 + 40, "its checksum is wrong"},
				  {good.size() - 1, "its checksum is wrong"}};
	for (const damage &one : damages) {
		std::string damaged = good;
		damaged[one.position] ^= 1;
		std::ofstream(file, std::ios::binary) << damaged;
		EXPECT_ANY_THROW(guest::write_file(board_selector, "damaged")) << one.position;
		EXPECT_NE(guest::kernel_messages("board/damaged.fbd is refused: " + std::string(one.words)), "") << one.words;
		EXPECT_EQ(guest::read_file(board_selector), "check\n");
	}
	std::ofstream(file, std::ios::binary) << good.substr(0, 24);
	EXPECT_ANY_THROW(guest::write_file(board_selector, "damaged"));
	EXPECT_NE(guest::kernel_messages("board/damaged.fbd is refused: it is too short"), "");
	std::filesystem::remove(file);
}

// With a checksum that is right, as from another compiler.
std::string sealed(std::string file)
{
	std::uint32_t checksum = ~0u;
	for (const char byte : file.substr(24)) {
		checksum ^= static_cast<unsigned char>(byte);
		for (int bit = 0; bit < 8; ++bit)
			checksum = checksum >> 1 ^ (checksum & 1 ? 0xEDB88320u : 0);
	}
	checksum = ~checksum;
	for (int i = 0; i < 4; ++i)
		file[static_cast<std::size_t>(16 + i)] = static_cast<char>(checksum >> 8 * i);
	return file;
}

// Linux 5.10 would follow a mark that is none, and a property that leads back to itself.
TEST_F(platform, a_board_file_whose_tree_is_not_sound_is_refused)
{
	const std::string boards = "/lib/firmware/board/", file = boards + "unsound.fbd";
	const std::string good = guest::read_file(boards + "plain.fbd");
	constexpr std::size_t tree = 24;
	const std::size_t structure =
		tree + static_cast<unsigned char>(good[tree + 10]) * 256u + static_cast<unsigned char>(good[tree + 11]);
	ASSERT_EQ(sealed(good), good);
	const std::size_t property = good.find(std::string("\0\0\0\3", 4), structure);
	std::string rootless = good, endless = good, old = good;
	rootless[structure + 3] = 2;
	endless.replace(property + 4, 4, "\xff\xff\xff\xf4");
	old[tree + 23] = 16;
	for (const std::string &one : {rootless, endless, old}) {
		std::ofstream(file, std::ios::binary) << sealed(one);
		EXPECT_ANY_THROW(guest::write_file(board_selector, "unsound"));
		EXPECT_NE(guest::kernel_messages("board/unsound.fbd is refused: the tree in it is no board"), "");
		EXPECT_EQ(guest::read_file(board_selector), "check\n");
	}
	std::filesystem::remove(file);
}

} // namespace
