// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What only a real kernel can show of the module: linking, reference counts, killed callers, 32-bit callers, repeated loading.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

#include "ioctl_words.hpp"
#include "lab_device.hpp"
#include "processes.hpp"
#include "spi_words.hpp"
#include "uapi/flash_mng.h"

namespace {

using namespace conformance;
using guest::comes_true;

class board_module : public on_board {};

uint32_t caller_parameter(const std::string &name)
{
	return static_cast<uint32_t>(std::stoul(guest::read_file("/sys/module/flash_caller/parameters/" + name)));
}

TEST_F(board_module, exports_are_linked_by_another_module)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::forget();
	ASSERT_EQ(guest::insert_module(guest::module_file("flash_caller")), 0);
	EXPECT_EQ(caller_parameter("patch1_result"), 0u);
	EXPECT_EQ(caller_parameter("patch2_result"), 0u);
	EXPECT_EQ(caller_parameter("is_exist_result"), 0u);
	EXPECT_EQ(caller_parameter("is_exist"), 0u);
	const log_lines lines = harness::log();
	ASSERT_GE(lines.size(), 2u);
	EXPECT_EQ(lines[0], own_log(trace, "flash_mng patch func1 entry"));
	EXPECT_EQ(lines[1], own_log(trace, "flash_mng patch func2 entry"));
	EXPECT_EQ(guest::remove_module("flash_mng"), EWOULDBLOCK) << "a module that is linked to cannot go";
	EXPECT_EQ(guest::remove_module("flash_caller"), 0);
}

TEST_F(board_module, exports_are_gone_after_the_unload)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::unload();
	EXPECT_EQ(guest::insert_module(guest::module_file("flash_caller")), ENOENT);
}

TEST_F(board_module, an_open_device_keeps_it_loaded)
{
	ASSERT_EQ(harness::load(), 0u);
	const int file = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);
	ASSERT_GE(file, 0);
	EXPECT_EQ(guest::remove_module("flash_mng"), EWOULDBLOCK);
	close(file);
	harness::unload();
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(guest::file_exists(FLASH_MNG_DEVICE));
}

TEST_F(board_module, is_not_loaded_twice)
{
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_EQ(guest::insert_module(guest::module_file("flash_mng")), EEXIST);
	EXPECT_TRUE(harness::device_registered());
}

TEST_F(board_module, its_device_is_for_root_with_a_minor_of_its_own)
{
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_NE(guest::read_file("/proc/misc").find(" flash_mng\n"), std::string::npos);
	struct stat node = {};
	ASSERT_EQ(stat(FLASH_MNG_DEVICE, &node), 0);
	EXPECT_EQ(node.st_mode, static_cast<mode_t>(S_IFCHR | 0600));
	EXPECT_EQ(node.st_uid, 0u);
}

// Two listed NAND partitions, one of them the user data.
class board_callers : public on_loaded_module {
protected:
	static constexpr std::size_t usable_ = 0x20000; // of "config", as the board's list says

	void prepare() override
	{
		config_ = harness::add_mtd({.name = "config", .size = 0x40000});
		harness::add_mtd({.name = "usrdata", .size = 0x80000});
		harness::set_mtd_content(config_, 0, pattern(0x40000));
	}

	int config_ = -1;
};

uint32_t transfer(uint32_t command, uint32_t offset, void *data, uint32_t length)
{
	flash_mtd_io_arg range = {};
	std::snprintf(range.name, sizeof(range.name), "config");
	range.offset = offset;
	range.length = length;
	range.buffer = reinterpret_cast<uint64_t>(data);
	return harness::ioctl(command, harness::user_address(&range)).code();
}

TEST_F(board_callers, killed_while_reading_leave_nothing_behind)
{
	const harness::holdings at_rest = harness::held();
	bytes data(usable_);
	for (int round = 0; round < 10; ++round) {
		harness::forget();
		guest::endless_process reader([&] { transfer(mtd_read_command, 0, data.data(), usable_); });
		EXPECT_TRUE(comes_true([] { return called("plat_mtd_read_buf"); }));
		usleep(1700 * round);
	}
	EXPECT_EQ(harness::held(), at_rest);
	EXPECT_EQ(harness::mtd_use_count(config_), 0);
	EXPECT_EQ(transfer(mtd_read_command, 0, data.data(), usable_), 0u);
	EXPECT_EQ(data, harness::mtd_content(config_, 0, usable_));
}

TEST_F(board_callers, killed_while_writing_leave_whole_transfers)
{
	const harness::holdings at_rest = harness::held();
	const bytes before = harness::mtd_content(config_, usable_, 0x20000);
	bytes ones(0x1000, 0x11), twos(0x1000, 0x22);
	for (int round = 0; round < 10; ++round) {
		const uint64_t writes = harness::mtd_count(config_).writes;
		guest::endless_process writer([&] {
			transfer(mtd_write_command, 0x3000, ones.data(), 0x1000);
			transfer(mtd_write_command, 0x3000, twos.data(), 0x1000);
		});
		EXPECT_TRUE(comes_true([&] { return harness::mtd_count(config_).writes > writes; }));
		usleep(1700 * round);
	}
	EXPECT_EQ(harness::held(), at_rest);
	EXPECT_EQ(harness::mtd_use_count(config_), 0);
	const bytes written = harness::mtd_content(config_, 0x3000, 0x1000);
	EXPECT_TRUE(written == ones || written == twos);
	EXPECT_EQ(harness::mtd_content(config_, 0, 0x3000), pattern(0x3000));
	EXPECT_EQ(harness::mtd_content(config_, usable_, 0x20000), before);
	EXPECT_EQ(transfer(mtd_write_command, 0x3000, ones.data(), 0x1000), 0u);
}

TEST_F(board_callers, killed_with_the_device_open_let_the_module_go)
{
	{
		guest::endless_process holder([] {
			if (open(FLASH_MNG_DEVICE, O_RDWR) >= 0)
				pause();
		});
		EXPECT_TRUE(comes_true([] { return std::stoi(guest::read_file("/sys/module/flash_mng/refcnt")) > 0; }));
		EXPECT_EQ(guest::remove_module("flash_mng"), EWOULDBLOCK);
	}
	harness::unload();
	EXPECT_FALSE(harness::loaded());
}

// A command answered to a 32-bit program and to this 64-bit one.
struct answer {
	uint32_t code;
	std::string bytes;
	bool operator==(const answer &) const = default;
};

void PrintTo(const answer &one, std::ostream *out)
{
	*out << one.code << " with " << one.bytes.substr(0, 200);
}

answer answer_to_32_bits(const std::vector<std::string> &arguments)
{
	std::vector<std::string> command = {"/tests/compat32"};
	command.insert(command.end(), arguments.begin(), arguments.end());
	std::istringstream line(guest::output_of(command));
	answer told = {};
	line >> told.code >> told.bytes;
	return told;
}

std::string in_hexadecimal(const bytes &content)
{
	std::string text;
	for (const uint8_t byte : content) {
		char digits[3];
		std::snprintf(digits, sizeof(digits), "%02x", byte);
		text += digits;
	}
	return text;
}

answer answer_to_64_bits(uint32_t command, std::size_t size)
{
	const user_bytes record(size);
	const uint32_t code = harness::ioctl(command, record.address()).code();
	return {code, in_hexadecimal(record.content())};
}

template <typename board_fixture> class with_a_32_bit_program : public board_fixture {
protected:
	void SetUp() override
	{
		board_fixture::SetUp();
#ifndef __aarch64__
		GTEST_SKIP() << "the 32-bit program is for Arm";
#endif
	}
};

class board_callers_of_32_bits : public with_a_32_bit_program<board_callers> {};

TEST_F(board_callers_of_32_bits, get_the_same_answers)
{
	const struct {
		uint32_t command;
		std::size_t size;
	} rows[] = {{get_nand_part_info, 520}, {get_part_num, 4}, {get_nand_is_exist, 4}, {get_mtd_statistics, 7172}, {0x12345678, 4}};
	for (const auto &row : rows)
		EXPECT_EQ(answer_to_32_bits({std::to_string(row.command), std::to_string(row.size)}),
			  answer_to_64_bits(row.command, row.size))
			<< "command " << row.command;
}

TEST_F(board_callers_of_32_bits, read_partitions)
{
	const answer told = answer_to_32_bits({std::to_string(mtd_read_command), "48", "config", "5", "100"});
	EXPECT_EQ(told.code, 0u);
	EXPECT_EQ(told.bytes, in_hexadecimal(harness::mtd_content(config_, 5, 100)));
}

TEST_F(board_callers_of_32_bits, write_partitions)
{
	const answer told = answer_to_32_bits({std::to_string(mtd_write_command), "48", "config", "5", "100"});
	EXPECT_EQ(told.code, 0u);
	EXPECT_EQ(told.bytes, in_hexadecimal(harness::mtd_content(config_, 5, 100)));
	EXPECT_EQ(harness::mtd_content(config_, 0, 5), pattern(5));
}

class board_lookups_of_32_bits : public with_a_32_bit_program<on_spi_board_with_driver> {
protected:
	static answer lookup(uint32_t command, const std::string &instance, const std::string &name)
	{
		return answer_to_32_bits({std::to_string(command), "find", instance, name});
	}
};

TEST_F(board_lookups_of_32_bits, find_an_spi_flash_by_instance_and_by_name)
{
	ASSERT_EQ(create(0x21, {"first", "second"}), 0u);
	const answer found = {0, in_hexadecimal(in_memory(locked_flash))};
	EXPECT_EQ(lookup(FLASH_MNG_FIND_CONFIG_BY_INST, "0x21", ""), found);
	EXPECT_EQ(lookup(FLASH_MNG_FIND_CONFIG, "0", "second"), found);
}

TEST_F(board_lookups_of_32_bits, are_told_what_is_not_found_and_what_is_too_long)
{
	const std::string untouched(2 * settings_size, '0');
	EXPECT_EQ(lookup(FLASH_MNG_FIND_CONFIG_BY_INST, "0x21", ""), (answer{not_found, untouched}));
	EXPECT_EQ(lookup(FLASH_MNG_FIND_CONFIG, "0", "second"), (answer{not_found, untouched}));
	EXPECT_EQ(lookup(FLASH_MNG_FIND_CONFIG, "0", std::string(33, 'n')), (answer{425, untouched}));
}

TEST_F(board_callers_of_32_bits, get_codes_beyond_31_bits)
{
	EXPECT_EQ(answer_to_32_bits({std::to_string(mtd_read_command), "48", "unlisted", "0", "1"}).code, not_listed);
	EXPECT_EQ(answer_to_32_bits({std::to_string(mtd_read_command), "48", "config", "0", "0"}).code, empty_range);
}

} // namespace
