// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The control device: opening it, finding a command's handler by its whole number, and handing on the handler's code.
#include <cerrno>
#include <iterator>
#include <set>
#include <thread>

#include "load_words.hpp"

namespace conformance {
namespace {

// Beside the numbers of the table, which follow one another.
constexpr uint32_t below_the_table = *std::begin(all_commands) - 1, above_the_table = *std::rbegin(all_commands) + 1;

const log_line not_supported = own_log(ordinary, "Flash cmd not support");

class frame_device : public on_loaded_module {
	void prepare() override { harness::configure("bare"); }
};

TEST_F(frame_device, opens_any_number_of_times_at_no_cost)
{
	for (int i = 0; i < 100; ++i)
		ASSERT_TRUE(harness::device_registered());
	EXPECT_EQ(harness::calls(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{});
	EXPECT_EQ(harness::held(), harness::holdings{});
}

// ------------------------------------------------------------------------------------ commands that are served

class frame_served_command : public frame_device, public testing::WithParamInterface<uint32_t> {};

std::string command_name(const testing::TestParamInfo<uint32_t> &row)
{
	return hexadecimal(row.param);
}

TEST_P(frame_served_command, reaches_its_handler)
{
	const harness::ioctl_result result = harness::ioctl(GetParam(), harness::unmapped_address());
	EXPECT_NE(result.code(), unknown_command);
	const log_lines log = harness::log();
	EXPECT_EQ(std::count(log.begin(), log.end(), not_supported), 0);
}

INSTANTIATE_TEST_SUITE_P(number, frame_served_command, testing::ValuesIn(all_commands), command_name);

TEST_F(frame_device, hands_the_argument_to_the_handler)
{
	std::uint8_t *const answer = harness::user_memory(4);
	std::fill(answer, answer + 4, std::uint8_t{0xA5});
	EXPECT_EQ(harness::ioctl(get_nand_is_exist, harness::user_address(answer)).code(), 0u);
	EXPECT_EQ(bytes(answer, answer + 4), bytes(4, 0));
}

// Each handler is known by what it first does with an argument that it cannot use.
struct first_deed {
	const char *name;
	uint32_t command;
	call_list calls;
	uint32_t code;
};

void PrintTo(const first_deed &row, std::ostream *out)
{
	*out << row.name;
}

const char *const usrdata_asked = "get_mtd_device_nm(\"\")"; // the board has none

class frame_handler : public frame_device, public testing::WithParamInterface<first_deed> {};

TEST_P(frame_handler, is_the_commands_own)
{
	EXPECT_EQ(harness::ioctl(GetParam().command, harness::unmapped_address()).code(), GetParam().code);
	EXPECT_EQ(steps(), GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(
	of, frame_handler,
	testing::Values(first_deed{"part_info", get_nand_part_info, {"linux_kzalloc(-)", usrdata_asked, "kfree(-)"}, failed},
			first_deed{"part_num", get_part_num, {usrdata_asked}, failed},
			first_deed{"is_exist",
				   get_nand_is_exist,
				   {"drv_flash_get_nand_is_exist(-)", usrdata_asked, "linux_copy_to_user(-, -, 4)"},
				   copy_failed},
			first_deed{"find_config", find_config, {"linux_copy_from_user(-, -, 56)"}, request_unreadable},
			first_deed{"find_config_by_inst", find_config_by_inst, {"linux_copy_from_user(-, -, 56)"}, request_unreadable},
			first_deed{"read", mtd_read_command, {"linux_copy_from_user(-, -, 48)"}, user_unreadable},
			first_deed{"write", mtd_write_command, {"linux_copy_from_user(-, -, 48)"}, user_unreadable},
			first_deed{"statistics",
				   get_mtd_statistics,
				   {"vzalloc(7172)", "get_mtd_device(-, 0)", "linux_copy_to_user(-, -, 7172)", "vfree(-)"},
				   copy_failed}),
	[](const auto &row) { return std::string(row.param.name); });

// Reading and writing begin alike; on a listed partition without a device they differ in the buffer that they take.
class frame_transfer : public on_loaded_module {
protected:
	static uint32_t transfer(uint32_t command)
	{
		std::uint8_t *const data = harness::user_memory(4);
		std::uint8_t *const record = harness::user_memory(48);
		const uint64_t address = harness::user_address(data);
		std::fill(record, record + 48, std::uint8_t{0});
		std::copy_n("config", 6, record);
		record[36] = 4; // length
		std::copy_n(reinterpret_cast<const std::uint8_t *>(&address), 8, record + 40);
		return harness::ioctl(command, harness::user_address(record)).code();
	}
};

TEST_F(frame_transfer, of_number_11_reads)
{
	EXPECT_EQ(transfer(mtd_read_command), no_partition);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 48)", "vzalloc(4)", "get_mtd_device_nm(\"config\")", "vfree(-)"}));
}

TEST_F(frame_transfer, of_number_12_writes)
{
	EXPECT_EQ(transfer(mtd_write_command), no_partition);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(4)", "linux_copy_from_user(-, -, 4)",
				      "get_mtd_device_nm(\"config\")", "vfree(-)"}));
}

// The two lookups of the SPI flash registry begin alike too; only the one by name looks at the name's length.
class frame_lookup : public frame_device {
protected:
	static uint32_t look_up(uint32_t command)
	{
		std::uint8_t *const record = harness::user_memory(56);
		std::fill(record, record + 56, std::uint8_t{0});
		record[12] = 33; // name length
		return harness::ioctl(command, harness::user_address(record)).code();
	}
};

TEST_F(frame_lookup, of_number_9_is_by_name)
{
	EXPECT_EQ(look_up(find_config), bad_length);
	EXPECT_EQ(deeds(), call_list{"linux_copy_from_user(-, -, 56)"});
}

TEST_F(frame_lookup, of_number_10_is_by_instance)
{
	EXPECT_EQ(look_up(find_config_by_inst), not_found);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 56)", "linux_spin_lock(-)", "linux_spin_unlock(-)"}));
}

// ------------------------------------------------------------------------------------ results as a program sees them

TEST_F(frame_device, answers_success_with_0)
{
	const harness::ioctl_result result = harness::ioctl(get_nand_is_exist, harness::user_address(harness::user_memory(4)));
	EXPECT_EQ(result.value, 0);
	EXPECT_EQ(result.errno_value, 0);
}

TEST_F(frame_device, answers_a_small_code_with_its_number)
{
	const harness::ioctl_result result = harness::ioctl(get_nand_is_exist, harness::unmapped_address());
	EXPECT_EQ(result.value, copy_failed);
	EXPECT_EQ(result.errno_value, 0);
}

TEST_F(frame_device, answers_a_code_with_the_top_bit_without_setting_errno)
{
	const harness::ioctl_result result = harness::ioctl(mtd_read_command, harness::unmapped_address());
	EXPECT_EQ(result.value, static_cast<int32_t>(user_unreadable));
	EXPECT_EQ(result.errno_value, 0);
	EXPECT_EQ(result.code(), user_unreadable);
}

TEST_F(frame_device, answers_the_code_of_all_ones_as_eperm)
{
	const harness::ioctl_result result = harness::ioctl(get_part_num, harness::user_address(harness::user_memory(4)));
	EXPECT_EQ(result.value, -1);
	EXPECT_EQ(result.errno_value, EPERM);
	EXPECT_EQ(result.code(), failed);
}

TEST_F(frame_device, answers_an_unknown_command_with_420_and_without_errno)
{
	const harness::ioctl_result result = harness::ioctl(below_the_table, 0);
	EXPECT_EQ(result.value, unknown_command);
	EXPECT_EQ(result.errno_value, 0);
}

// A program sees the low 32 bits only; who calls the file operation itself sees them all.
TEST_F(frame_device, hands_a_code_on_without_a_sign)
{
	const auto answer = [](uint32_t command) {
		return harness::call_address("flash_ioctl", {nullptr, command, harness::unmapped_address()});
	};
	EXPECT_EQ(answer(mtd_read_command), user_unreadable);
	EXPECT_EQ(answer(mtd_write_command), user_unreadable);
	EXPECT_EQ(answer(get_part_num), failed);
	EXPECT_EQ(answer(get_nand_is_exist), copy_failed);
	EXPECT_EQ(answer(below_the_table), unknown_command);
}

// ------------------------------------------------------------------------------------ commands that nobody serves

constexpr uint32_t with_direction(uint32_t command, uint32_t direction)
{
	return (command & 0x3FFFFFFF) | direction << 30;
}

constexpr uint32_t with_size(uint32_t command, uint32_t size)
{
	return (command & 0xC000FFFF) | size << 16;
}

constexpr uint32_t with_type(uint32_t command, char type)
{
	return (command & 0xFFFF00FF) | static_cast<uint32_t>(type) << 8;
}

// Every command with one field of its number changed, and numbers around the table.
std::vector<uint32_t> near_misses()
{
	std::set<uint32_t> numbers = {0,	  1,	      0x5406,	  0x80045400, below_the_table, above_the_table, above_the_table + 1,
				      0x800454FF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
	for (uint32_t command : all_commands) {
		for (uint32_t direction : {0, 1, 2, 3})
			numbers.insert(with_direction(command, direction));
		for (uint32_t size : {0, 3, 5, 8, 48, 0x3FFF})
			numbers.insert(with_size(command, size));
		for (char type : {'S', 'U', 't'})
			numbers.insert(with_type(command, type));
		for (unsigned bit : {4, 5, 6, 7})
			numbers.insert(command ^ 1u << bit);
	}
	for (uint32_t command : all_commands)
		numbers.erase(command);
	return {numbers.begin(), numbers.end()};
}

class frame_unknown_command : public frame_device, public testing::WithParamInterface<uint32_t> {};

TEST_P(frame_unknown_command, gives_420_and_a_message)
{
	const harness::ioctl_result result = harness::ioctl(GetParam(), harness::kernel_address());
	EXPECT_EQ(result.value, unknown_command);
	EXPECT_EQ(result.errno_value, 0);
	EXPECT_EQ(harness::log(), log_lines{not_supported});
	EXPECT_EQ(deeds(), call_list{});
}

INSTANTIATE_TEST_SUITE_P(number, frame_unknown_command, testing::ValuesIn(near_misses()), command_name);

TEST_F(frame_device, serves_number_12_in_its_write_form_only)
{
	EXPECT_EQ(harness::ioctl(with_direction(mtd_write_command, 2), harness::unmapped_address()).code(), unknown_command);
	EXPECT_EQ(harness::ioctl(mtd_write_command, harness::unmapped_address()).code(), user_unreadable);
}

TEST_F(frame_device, serves_number_11_in_its_read_form_only)
{
	EXPECT_EQ(harness::ioctl(with_direction(mtd_read_command, 1), harness::unmapped_address()).code(), unknown_command);
	EXPECT_EQ(harness::ioctl(mtd_read_command, harness::unmapped_address()).code(), user_unreadable);
}

TEST_F(frame_device, does_not_look_at_the_argument_of_an_unknown_command)
{
	std::uint8_t *const untouched = harness::user_memory(64);
	std::fill(untouched, untouched + 64, std::uint8_t{0x5A});
	for (uint64_t argument :
	     {uint64_t{0}, harness::user_address(untouched), harness::unmapped_address(), harness::kernel_address(), ~uint64_t{0}})
		EXPECT_EQ(harness::ioctl(with_direction(get_mtd_statistics, 1), argument).code(), unknown_command);
	EXPECT_EQ(bytes(untouched, untouched + 64), bytes(64, 0x5A));
	EXPECT_EQ(harness::log(), log_lines(5, not_supported));
}

TEST_F(frame_device, says_each_unknown_command_anew)
{
	for (int i = 0; i < 10; ++i)
		EXPECT_EQ(harness::ioctl(0x5406, 0).code(), unknown_command);
	EXPECT_EQ(harness::log(), log_lines(10, not_supported));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(frame_device, serves_several_threads_at_once)
{
	constexpr std::size_t threads = 4, rounds = 50;
	std::vector<std::thread> running;
	int wrong[threads] = {};
	for (std::size_t i = 0; i < threads; ++i) {
		const uint64_t answer = harness::user_address(harness::user_memory(4));
		running.emplace_back([answer, &mistakes = wrong[i]] {
			for (std::size_t round = 0; round < rounds; ++round) {
				mistakes += harness::ioctl(get_nand_is_exist, answer).code() != 0;
				mistakes += harness::ioctl(below_the_table, answer).code() != unknown_command;
			}
		});
	}
	for (std::thread &one : running)
		one.join();
	for (int mistakes : wrong)
		EXPECT_EQ(mistakes, 0);
	EXPECT_EQ(harness::log(), log_lines(threads * rounds, not_supported));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

} // namespace
} // namespace conformance
