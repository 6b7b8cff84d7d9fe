// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands about the user-data partition: how many parts, how large, is it there.
#include "ioctl_words.hpp"

namespace conformance {
namespace {

constexpr std::size_t part_info_size = 520;

struct query {
	const char *label;
	uint32_t command;
	std::size_t size; // of the reply
	const char *copy_message;
	call_list before_copy, after_copy;
};

const query part_num = {
	"part_num", get_part_num, 4, "Flash get part num fail, copy to user fail", {"get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)"},
	{}};
const query is_exist = {"is_exist",
			get_nand_is_exist,
			4,
			"Flash get nand is exist fail, copy to user fail",
			{"drv_flash_get_nand_is_exist(-)", "get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)"},
			{}};
const query part_info = {"part_info",
			 get_nand_part_info,
			 part_info_size,
			 "Flash get nand part info fail, copy to user fail",
			 {"linux_kzalloc(520)", "get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)", "get_mtd_device_nm(\"usrdata\")",
			  "put_mtd_device(-)"},
			 {"kfree(-)"}};

const auto queries = testing::Values(part_num, is_exist, part_info);

class on_board_with_usrdata : public on_loaded_module {
protected:
	void prepare() override
	{
		harness::configure("no_lists");
		harness::add_mtd({.name = "boot", .size = 0x10000});
		usrdata = harness::add_mtd({.name = "usrdata", .size = 0x30000});
	}

	int usrdata = -1;
};

class on_board_without_usrdata : public on_loaded_module {
protected:
	void prepare() override
	{
		harness::configure("no_lists");
		harness::add_mtd({.name = "boot", .size = 0x10000});
	}
};

bytes expected_reply(const query &asked)
{
	bytes reply(asked.size);
	reply[0] = 1;
	if (asked.size == part_info_size)
		reply[264 + 2] = 3; // 0x30000
	return reply;
}

// ---------------------------------------------------------------------------------------------------------------- all three

class ioctl_query : public on_board_with_usrdata, public testing::WithParamInterface<query> {};

TEST_P(ioctl_query, answers)
{
	user_bytes reply(GetParam().size);
	expect_seen_as(harness::ioctl(GetParam().command, reply.address()), 0, 0);
	EXPECT_EQ(reply.content(), expected_reply(GetParam()));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(ioctl_query, makes_its_calls_in_order)
{
	user_bytes reply(GetParam().size);
	EXPECT_EQ(harness::ioctl(GetParam().command, reply.address()).code(), 0u);
	call_list expected = GetParam().before_copy;
	expected.push_back("linux_copy_to_user(-, -, " + decimal(GetParam().size) + ")");
	expected.insert(expected.end(), GetParam().after_copy.begin(), GetParam().after_copy.end());
	EXPECT_EQ(harness::calls(), expected);
}

TEST_P(ioctl_query, writes_its_record_and_not_a_byte_around_it)
{
	user_bytes memory(GetParam().size + 24);
	EXPECT_EQ(harness::ioctl(GetParam().command, memory.address(8)).code(), 0u);
	bytes expected(8, 0xEE);
	const bytes reply = expected_reply(GetParam());
	expected.insert(expected.end(), reply.begin(), reply.end());
	expected.insert(expected.end(), 16, 0xEE);
	EXPECT_EQ(memory.content(), expected);
}

TEST_P(ioctl_query, writes_to_any_alignment)
{
	user_bytes memory(GetParam().size + 3);
	EXPECT_EQ(harness::ioctl(GetParam().command, memory.address(3)).code(), 0u);
	const bytes content = memory.content();
	EXPECT_EQ(bytes(content.begin() + 3, content.end()), expected_reply(GetParam()));
}

TEST_P(ioctl_query, reads_nothing_from_the_program)
{
	user_bytes reply(GetParam().size, 0xFF);
	EXPECT_EQ(harness::ioctl(GetParam().command, reply.address()).code(), 0u);
	EXPECT_FALSE(called("linux_copy_from_user"));
	EXPECT_EQ(reply.content(), expected_reply(GetParam()));
}

TEST_P(ioctl_query, to_the_last_bytes_of_its_memory_but_one_fails)
{
	user_bytes memory(GetParam().size - 1);
	expect_seen_as(harness::ioctl(GetParam().command, memory.address()), copy_failed, 0);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, GetParam().copy_message)});
}

TEST_P(ioctl_query, with_one_byte_left_uncopied_fails)
{
	harness::fail("linux_copy_to_user", 1);
	user_bytes reply(GetParam().size);
	EXPECT_EQ(harness::ioctl(GetParam().command, reply.address()).code(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, GetParam().copy_message)});
}

TEST_P(ioctl_query, with_all_bytes_left_uncopied_fails)
{
	harness::fail("linux_copy_to_user", static_cast<long long>(GetParam().size));
	user_bytes reply(GetParam().size);
	EXPECT_EQ(harness::ioctl(GetParam().command, reply.address()).code(), copy_failed);
	EXPECT_EQ(reply.content(), bytes(GetParam().size, 0xEE));
}

TEST_P(ioctl_query, says_that_the_copy_failed_before_it_frees)
{
	harness::fail("linux_copy_to_user", 1);
	user_bytes reply(GetParam().size);
	EXPECT_EQ(harness::ioctl(GetParam().command, reply.address()).code(), copy_failed);
	const call_list names = call_names();
	const auto copy = std::find(names.begin(), names.end(), "linux_copy_to_user");
	call_list expected = {"linux_copy_to_user", "drv_log_record"};
	if (!GetParam().after_copy.empty())
		expected.push_back("kfree");
	EXPECT_EQ(call_list(copy, names.end()), expected);
}

TEST_P(ioctl_query, can_be_asked_again_after_a_failure)
{
	EXPECT_EQ(harness::ioctl(GetParam().command, 0).code(), copy_failed);
	user_bytes reply(GetParam().size);
	EXPECT_EQ(harness::ioctl(GetParam().command, reply.address()).code(), 0u);
	EXPECT_EQ(reply.content(), expected_reply(GetParam()));
}

TEST_P(ioctl_query, fails_with_each_copy_and_succeeds_next_time)
{
	user_bytes reply(GetParam().size);
	sweep_failures("linux_copy_to_user", 1, [&] { return harness::ioctl(GetParam().command, reply.address()).code(); });
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_query, queries, [](const auto &row) { return row.param.label; });

class ioctl_query_address : public on_board_with_usrdata, public testing::WithParamInterface<std::tuple<query, bad_address>> {};

TEST_P(ioctl_query_address, fails_with_the_message_of_the_command)
{
	const auto &[asked, kind] = GetParam();
	const harness::holdings before = harness::held();
	expect_seen_as(harness::ioctl(asked.command, make_bad_address(kind, asked.size)), copy_failed, 0);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, asked.copy_message)});
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_query_address, testing::Combine(queries, unwritable_addresses),
			 [](const auto &row) { return std::string(std::get<0>(row.param).label) + "_" + name_of(std::get<1>(row.param)); });

// ---------------------------------------------------------------------------------------------------------------- without the partition

class ioctl_part_num_without_usrdata : public on_board_without_usrdata {};

TEST_F(ioctl_part_num_without_usrdata, is_a_failure_that_a_program_sees_as_eperm)
{
	user_bytes reply(4);
	expect_seen_as(harness::ioctl(get_part_num, reply.address()), -1, 1);
}

TEST_F(ioctl_part_num_without_usrdata, leaves_the_reply_untouched)
{
	user_bytes reply(4);
	EXPECT_EQ(harness::ioctl(get_part_num, reply.address()).code(), failed);
	EXPECT_EQ(reply.content(), bytes(4, 0xEE));
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("")});
	EXPECT_EQ(deeds(), call_list{"get_mtd_device_nm(\"\")"});
}

TEST_F(ioctl_part_num_without_usrdata, does_not_look_at_the_address)
{
	EXPECT_EQ(harness::ioctl(get_part_num, 0).code(), failed);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("")});
}

class ioctl_is_exist_without_usrdata : public on_board_without_usrdata {};

TEST_F(ioctl_is_exist_without_usrdata, answers_0)
{
	user_bytes reply(4);
	expect_seen_as(harness::ioctl(get_nand_is_exist, reply.address()), 0, 0);
	EXPECT_EQ(reply.content(), bytes(4, 0));
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(),
		  (call_list{"drv_flash_get_nand_is_exist(-)", "get_mtd_device_nm(\"\")", "linux_copy_to_user(-, -, 4)"}));
}

TEST_F(ioctl_is_exist_without_usrdata, fails_at_a_null_address)
{
	EXPECT_EQ(harness::ioctl(get_nand_is_exist, 0).code(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "Flash get nand is exist fail, copy to user fail")});
}

class ioctl_is_exist : public on_board_with_usrdata {};

TEST_F(ioctl_is_exist, passes_on_that_the_query_failed_and_copies_nothing)
{
	harness::fail("drv_flash_get_nand_is_exist", null_pointer);
	user_bytes reply(4);
	EXPECT_EQ(harness::ioctl(get_nand_is_exist, reply.address()).code(), null_pointer);
	EXPECT_EQ(reply.content(), bytes(4, 0xEE));
	EXPECT_EQ(harness::calls(), call_list{"drv_flash_get_nand_is_exist(-)"});
	EXPECT_EQ(harness::log(), log_lines());
}

class ioctl_part_info_without_usrdata : public on_board_without_usrdata {};

TEST_F(ioctl_part_info_without_usrdata, is_a_failure_that_a_program_sees_as_eperm)
{
	user_bytes reply(part_info_size);
	expect_seen_as(harness::ioctl(get_nand_part_info, reply.address()), -1, 1);
}

TEST_F(ioctl_part_info_without_usrdata, frees_its_buffer_and_leaves_the_reply_untouched)
{
	user_bytes reply(part_info_size);
	EXPECT_EQ(harness::ioctl(get_nand_part_info, reply.address()).code(), failed);
	EXPECT_EQ(reply.content(), bytes(part_info_size, 0xEE));
	EXPECT_EQ(harness::log(), (log_lines{no_usrdata(""), no_part_num}));
	EXPECT_EQ(deeds(), (call_list{"linux_kzalloc(520)", "get_mtd_device_nm(\"\")", "kfree(-)"}));
}

// ---------------------------------------------------------------------------------------------------------------- losing the partition

class ioctl_lost_usrdata : public on_board_with_usrdata, public testing::WithParamInterface<long long> {};

TEST_P(ioctl_lost_usrdata, makes_part_num_fail)
{
	harness::fail("get_mtd_device_nm", GetParam());
	user_bytes reply(4);
	EXPECT_EQ(harness::ioctl(get_part_num, reply.address()).code(), failed);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("usrdata")});
	EXPECT_EQ(reply.content(), bytes(4, 0xEE));
}

TEST_P(ioctl_lost_usrdata, makes_is_exist_answer_0)
{
	harness::fail("get_mtd_device_nm", GetParam());
	user_bytes reply(4);
	EXPECT_EQ(harness::ioctl(get_nand_is_exist, reply.address()).code(), 0u);
	EXPECT_EQ(reply.content(), bytes(4, 0));
}

TEST_P(ioctl_lost_usrdata, at_the_first_look_up_makes_part_info_fail_with_two_messages)
{
	harness::fail("get_mtd_device_nm", GetParam());
	user_bytes reply(part_info_size);
	EXPECT_EQ(harness::ioctl(get_nand_part_info, reply.address()).code(), failed);
	EXPECT_EQ(harness::log(), (log_lines{no_usrdata("usrdata"), no_part_num}));
	EXPECT_EQ(reply.content(), bytes(part_info_size, 0xEE));
	EXPECT_EQ(call_names().back(), "kfree");
}

TEST_P(ioctl_lost_usrdata, at_the_second_look_up_makes_part_info_fail_with_one_message)
{
	harness::fail("get_mtd_device_nm", GetParam(), 2);
	user_bytes reply(part_info_size);
	EXPECT_EQ(harness::ioctl(get_nand_part_info, reply.address()).code(), failed);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("usrdata")});
	EXPECT_EQ(reply.content(), bytes(part_info_size, 0xEE));
	EXPECT_EQ(call_names().back(), "kfree");
}

INSTANTIATE_TEST_SUITE_P(given_as, ioctl_lost_usrdata, testing::Values(0, error_no_device, error_last),
			 [](const auto &row) { return as_case_name(row.param); });

class ioctl_usrdata : public on_board_with_usrdata {};

TEST_F(ioctl_usrdata, that_went_away_is_no_part_any_more)
{
	harness::remove_mtd(usrdata);
	user_bytes reply(4);
	EXPECT_EQ(harness::ioctl(get_part_num, reply.address()).code(), failed);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("usrdata")});
}

TEST_F(ioctl_usrdata, that_came_back_larger_is_measured_again)
{
	harness::remove_mtd(usrdata);
	harness::add_mtd({.name = "usrdata", .size = 0x200000000});
	user_bytes reply(part_info_size);
	EXPECT_EQ(harness::ioctl(get_nand_part_info, reply.address()).code(), 0u);
	EXPECT_EQ(u64_at(reply.content(), 264), 0x200000000u);
}

TEST_F(ioctl_usrdata, fails_part_info_with_each_look_up_and_succeeds_next_time)
{
	user_bytes reply(part_info_size);
	sweep_failures("get_mtd_device_nm", 0, [&] { return harness::ioctl(get_nand_part_info, reply.address()).code(); });
}

TEST_F(ioctl_usrdata, fails_part_info_with_each_allocation_and_succeeds_next_time)
{
	user_bytes reply(part_info_size);
	sweep_failures("linux_kzalloc", 0, [&] { return harness::ioctl(get_nand_part_info, reply.address()).code(); });
}

TEST_F(ioctl_usrdata, fails_part_num_with_each_look_up_and_succeeds_next_time)
{
	user_bytes reply(4);
	sweep_failures("get_mtd_device_nm", error_no_device, [&] { return harness::ioctl(get_part_num, reply.address()).code(); });
}

TEST_F(ioctl_usrdata, without_memory_has_no_part_info)
{
	harness::fail("linux_kzalloc", 0);
	user_bytes reply(part_info_size);
	expect_seen_as(harness::ioctl(get_nand_part_info, reply.address()), no_memory, 0);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "Flash get nand part info fail, zalloc fail")});
	EXPECT_EQ(deeds(), call_list{"linux_kzalloc(520)"});
	EXPECT_EQ(reply.content(), bytes(part_info_size, 0xEE));
}

} // namespace
} // namespace conformance
