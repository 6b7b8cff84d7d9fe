// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands that read and write listed partitions for a program: the record, the order of the checks, what every failure looks like.
#include "ioctl_words.hpp"

namespace conformance {
namespace {

constexpr uint32_t avail = 0x20000;

uint32_t number_of(direction way)
{
	return way == direction::read ? mtd_read_command : mtd_write_command;
}

log_line total_read_trace(uint32_t offset, uint32_t len, const std::string &path = "/dev/mtd2")
{
	return own_log(trace, "mtd total read: mtd " + path + " offset " + decimal(offset) + " len " + decimal(len));
}

log_line total_read_failure(uint32_t total, uint32_t code)
{
	return own_log(ordinary, "mtd total read: total_len " + decimal(total) + " fail " + hexadecimal(code));
}

log_line total_write_note(uint32_t offset, uint32_t len, uint32_t avail_size = avail, const std::string &path = "/dev/mtd2")
{
	return own_log(ordinary, "mtd total write: mtd " + path + " offset " + decimal(offset) + " len " + decimal(len) + " avail_size " +
					 decimal(avail_size));
}

log_line patch_failure(uint32_t offset, uint32_t len, uint32_t code)
{
	return own_log(serious,
		       "mtd total write: memcpy offset " + decimal(offset) + " len " + decimal(len) + " fail " + hexadecimal(code));
}

// The last message of a command whose transfer failed.
log_line command_failure(direction way, uint32_t offset, uint32_t len, uint32_t code, const std::string &path = "/dev/mtd2")
{
	return own_log(ordinary, "Flash mtd " + path + " " + as_case_name(way) + " offset " + decimal(offset) + " len " + decimal(len) +
					 " fail " + hexadecimal(code));
}

log_line no_info(direction way, const std::string &name, uint32_t code)
{
	return own_log(ordinary, "mtd " + as_case_name(way) + ": mtd info not found, name:" + name + " ret:" + decimal(code));
}

const log_line no_device = own_log(trace, "mtd getinfo: info not found");
const log_line bad_name = own_log(ordinary, "mtd getinfo: input argument are invalid");
const log_line not_copied = own_log(ordinary, "Flash get nand part info fail, copy to user fail");

call_list names_from_last(std::string_view name)
{
	const call_list names = call_names();
	const auto last = std::find(names.rbegin(), names.rend(), name);
	return last == names.rend() ? call_list() : call_list(last.base() - 1, names.end());
}

struct range {
	uint32_t offset, len;
};

std::string name_of_range(const testing::TestParamInfo<range> &row)
{
	return hexadecimal(row.param.len) + "_at_" + hexadecimal(row.param.offset);
}

// ---------------------------------------------------------------------------------------------------------------- both commands

class ioctl_transfer : public on_listed, public testing::WithParamInterface<direction> {
protected:
	direction way() const { return GetParam(); }

	uint32_t command(std::string_view name, uint32_t offset, uint32_t len, uint64_t buffer)
	{
		return io_command(number_of(way()), name, offset, len, buffer).code();
	}

	// Refused right after the record was read: silently, and with nothing else done.
	void expect_refused_at_once(std::string_view name, uint32_t offset, uint32_t len, uint32_t code)
	{
		user_bytes data(16);
		EXPECT_EQ(command(name, offset, len, data.address()), code);
		EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 48)"});
		EXPECT_EQ(harness::log(), log_lines());
		EXPECT_EQ(data.content(), bytes(16, 0xEE));
		expect_unchanged(listed);
	}
};

TEST_P(ioctl_transfer, of_a_partition_that_is_not_listed_is_refused_silently)
{
	add_nand();
	expect_refused_at_once("nand", 0, 16, not_listed);
}

TEST_P(ioctl_transfer, of_a_name_that_nobody_knows_is_refused_silently)
{
	expect_refused_at_once("nowhere", 0, 16, not_listed);
}

TEST_P(ioctl_transfer, looks_at_the_name_before_the_length)
{
	expect_refused_at_once("nowhere", 0, 0, not_listed);
}

TEST_P(ioctl_transfer, of_no_bytes_is_refused_silently_before_any_allocation)
{
	expect_refused_at_once("listed", 0, 0, empty_range);
}

TEST_P(ioctl_transfer, of_no_bytes_at_the_largest_offset_is_refused_for_its_length)
{
	expect_refused_at_once("listed", 0xFFFFFFFF, 0, empty_range);
}

TEST_P(ioctl_transfer, of_no_bytes_is_refused_before_the_device_is_looked_for)
{
	expect_refused_at_once("absent", 0, 0, empty_range);
}

TEST_P(ioctl_transfer, looks_a_name_up_by_its_letters_case_and_length)
{
	for (const char *name : {"Listed", "LISTED", "liste", "listed_", "listed ", " listed", "x"}) {
		SCOPED_TRACE(name);
		harness::forget();
		expect_refused_at_once(name, 0, 16, not_listed);
	}
}

TEST_P(ioctl_transfer, of_an_unlisted_name_of_31_characters_is_refused_silently)
{
	expect_refused_at_once(std::string(31, 'q'), 0, 16, not_listed);
}

TEST_P(ioctl_transfer, of_a_name_without_an_end_is_refused_silently)
{
	expect_refused_at_once(std::string(32, 'q'), 0, 16, not_listed);
}

TEST_P(ioctl_transfer, of_a_listed_name_that_goes_on_without_an_end_is_refused_silently)
{
	expect_refused_at_once(std::string(name_of_31) + "!", 0, 16, not_listed);
}

TEST_P(ioctl_transfer, ignores_what_follows_the_end_of_the_name)
{
	bytes record = io_record(std::string("listed\0garbage", 14), 0, 4, user_bytes(4).address());
	const user_bytes memory(record);
	EXPECT_EQ(harness::ioctl(number_of(way()), memory.address()).code(), 0u);
}

TEST_P(ioctl_transfer, of_a_name_of_31_characters)
{
	add({.name = name_of_31, .size = 0x20000});
	user_bytes data(16);
	EXPECT_EQ(command(name_of_31, 0x20, 16, data.address()), 0u);
}

TEST_P(ioctl_transfer, does_not_write_the_record_back)
{
	user_bytes data(16);
	const bytes record = io_record("listed", 0x10, 16, data.address());
	const user_bytes memory(record);
	EXPECT_EQ(harness::ioctl(number_of(way()), memory.address()).code(), 0u);
	EXPECT_EQ(memory.content(), record);
}

TEST_P(ioctl_transfer, takes_its_record_from_read_only_memory)
{
	user_bytes data(16);
	user_bytes memory(io_record("listed", 0x10, 16, data.address()));
	memory.allow(access::read_only);
	EXPECT_EQ(harness::ioctl(number_of(way()), memory.address()).code(), 0u);
}

TEST_P(ioctl_transfer, takes_its_record_from_any_alignment)
{
	user_bytes data(16);
	const bytes record = io_record("listed", 0x10, 16, data.address());
	user_bytes memory(io_record_size + 3);
	std::memcpy(reinterpret_cast<void *>(memory.address(3)), record.data(), record.size());
	EXPECT_EQ(harness::ioctl(number_of(way()), memory.address(3)).code(), 0u);
}

TEST_P(ioctl_transfer, with_a_record_one_byte_short_is_refused)
{
	const user_bytes memory(bytes(io_record_size - 1));
	EXPECT_EQ(harness::ioctl(number_of(way()), memory.address()).code(), user_unreadable);
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 48)"});
}

TEST_P(ioctl_transfer, with_one_byte_of_the_record_uncopied_is_refused)
{
	harness::fail("linux_copy_from_user", 1);
	user_bytes data(16);
	EXPECT_EQ(command("listed", 0, 16, data.address()), user_unreadable);
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 48)"});
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(ioctl_transfer, shows_an_unreadable_record_as_a_negative_number_without_errno)
{
	expect_seen_as(harness::ioctl(number_of(way()), 0), static_cast<int>(user_unreadable), 0);
}

TEST_P(ioctl_transfer, shows_an_unlisted_name_as_a_negative_number_without_errno)
{
	user_bytes data(16);
	expect_seen_as(io_command(number_of(way()), "nowhere", 0, 16, data.address()), static_cast<int>(not_listed), 0);
	EXPECT_EQ(static_cast<int>(not_listed), -2128936540);
}

TEST_P(ioctl_transfer, shows_success_as_0)
{
	user_bytes data(16);
	expect_seen_as(io_command(number_of(way()), "listed", 0, 16, data.address()), 0, 0);
}

TEST_P(ioctl_transfer, without_memory_for_the_data_fails_silently)
{
	harness::fail(way() == direction::read ? "vzalloc" : "vmalloc", 0);
	user_bytes data(16);
	EXPECT_EQ(command("listed", 0, 16, data.address()), no_buffer);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 48)", way() == direction::read ? "vzalloc(16)" : "vmalloc(16)"}));
	expect_unchanged(listed);
}

TEST_P(ioctl_transfer, of_more_bytes_than_there_is_memory_fails_silently)
{
	const harness::expected_report report("vmalloc: allocation failure");
	user_bytes data(16);
	for (uint32_t len : {0x80000001u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
		SCOPED_TRACE(hexadecimal(len));
		harness::forget();
		EXPECT_EQ(command("listed", 0, len, data.address()), no_buffer);
		EXPECT_EQ(harness::log(), log_lines());
		EXPECT_EQ(deeds().back(), (way() == direction::read ? "vzalloc(" : "vmalloc(") + decimal(len) + ")");
		EXPECT_FALSE(called("get_mtd_device_nm"));
	}
}

TEST_P(ioctl_transfer, of_a_listed_partition_without_a_device_fails)
{
	user_bytes data(16);
	EXPECT_EQ(command("absent", 0, 16, data.address()), no_partition);
	EXPECT_EQ(harness::log(), (log_lines{no_device, no_info(way(), "absent", no_partition)}));
	EXPECT_EQ(names_from_last("get_mtd_device_nm"), (call_list{"get_mtd_device_nm", "drv_log_record", "vfree", "drv_log_record"}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
}

TEST_P(ioctl_transfer, of_a_listed_empty_name_fails_in_the_name_check)
{
	user_bytes data(16);
	EXPECT_EQ(command("", 0, 16, data.address()), invalid);
	EXPECT_EQ(harness::log(), (log_lines{bad_name, no_info(way(), "", invalid)}));
	EXPECT_FALSE(called("get_mtd_device_nm"));
	EXPECT_EQ(call_names().back(), "drv_log_record");
}

TEST_P(ioctl_transfer, of_a_device_that_cannot_be_taken_fails)
{
	for (long long result : {0LL, error_no_device, error_last}) {
		SCOPED_TRACE(result);
		harness::forget();
		harness::fail("get_mtd_device_nm", result);
		user_bytes data(16);
		EXPECT_EQ(command("listed", 0, 16, data.address()), no_partition);
		EXPECT_EQ(harness::log(), (log_lines{no_device, no_info(way(), "listed", no_partition)}));
	}
}

TEST_P(ioctl_transfer, whose_path_cannot_be_formed_fails)
{
	harness::fail("snprintf_s", -1);
	user_bytes data(16);
	EXPECT_EQ(command("listed", 0, 16, data.address()), path_failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "Flash mng mtd_devname:/dev/mtd2 fail")});
	EXPECT_EQ(names_from_last("snprintf_s"), (call_list{"snprintf_s", "vfree", "drv_log_record"}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
	expect_unchanged(listed);
}

TEST_P(ioctl_transfer, whose_path_is_said_to_be_formed_and_is_not_names_no_device)
{
	constexpr uint32_t bad_path = 0x70050002; // a status of the flash service
	harness::fail("snprintf_s", 0);
	user_bytes data(16);
	EXPECT_EQ(command("listed", 0, 16, data.address()), bad_path);
	EXPECT_EQ(harness::log().back(), command_failure(way(), 0, 16, bad_path, ""));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
	expect_unchanged(listed);
}

TEST_P(ioctl_transfer, forms_its_path_from_the_number_of_the_device)
{
	add({.name = "whole", .size = 0x40000, .index = 9});
	harness::fail("plat_mtd_read_buf", 5);
	user_bytes data(16);
	EXPECT_EQ(command("whole", 0, 16, data.address()), 5u);
	EXPECT_EQ(calls_of("snprintf_s"), call_list{"snprintf_s(-, 32, 31, \"/dev/mtd%d\")"});
	EXPECT_EQ(calls_of("plat_mtd_read_buf").front().substr(0, 29), "plat_mtd_read_buf(\"/dev/mtd9\"");
	EXPECT_EQ(harness::log().back(), command_failure(way(), 0, 16, 5, "/dev/mtd9"));
}

TEST_P(ioctl_transfer, takes_the_total_road_whatever_the_partition_is_made_of)
{
	for (uint32_t type : {harness::mtd_nor, harness::mtd_ram, harness::mtd_mlc_nand}) {
		SCOPED_TRACE(type);
		const int index = add({.name = "listed_nor", .size = 0x20000, .type = type});
		user_bytes data(pattern(16));
		harness::forget();
		EXPECT_EQ(command("listed_nor", 0x40, 16, data.address()), 0u);
		EXPECT_EQ(times_called("linux_mutex_lock"), 1);
		EXPECT_FALSE(called("filp_open"));
		EXPECT_EQ(harness::mtd_content(index, 0x40, 16), data.content());
		harness::remove_mtd(index);
	}
}

TEST_P(ioctl_transfer, of_a_partition_of_4_gib_is_not_bound_to_its_size)
{
	const int giant = add({.name = "giant", .size = 0x100000000});
	user_bytes data(pattern(16));
	EXPECT_EQ(command("giant", 0x40, 16, data.address()), 0u);
	EXPECT_EQ(harness::mtd_content(giant, 0x40, 16), data.content());
}

TEST_P(ioctl_transfer, follows_the_first_entry_of_a_name_listed_twice)
{
	add({.name = "twice", .size = 0x20000});
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "twice", 0xFFF0, 16, data.address()).code(), 0u);
	EXPECT_NE(io_command(mtd_write_command, "twice", 0xFFF1, 16, data.address()).code(), 0u);
	EXPECT_EQ(io_command(mtd_read_command, "twice", 0xFFF1, 16, data.address()).code(), 0u);
}

INSTANTIATE_TEST_SUITE_P(to, ioctl_transfer, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

class ioctl_transfer_record : public on_partitions, public testing::WithParamInterface<std::tuple<direction, bad_address>> {};

TEST_P(ioctl_transfer_record, that_cannot_be_read_is_refused_silently)
{
	const auto [way, kind] = GetParam();
	EXPECT_EQ(harness::ioctl(number_of(way), make_bad_address(kind, io_record_size)).code(), user_unreadable);
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 48)"});
	EXPECT_EQ(harness::log(), log_lines());
}

INSTANTIATE_TEST_SUITE_P(to, ioctl_transfer_record,
			 testing::Combine(testing::Values(direction::read, direction::write), unreadable_addresses),
			 [](const auto &row) { return as_case_name(std::get<0>(row.param)) + "_" + name_of(std::get<1>(row.param)); });

class ioctl_transfer_without_table : public on_listed, public testing::WithParamInterface<direction> {
protected:
	const char *configuration() const override { return "no_lists"; }
};

TEST_P(ioctl_transfer_without_table, is_always_refused)
{
	user_bytes data(16);
	for (const char *name : {"listed", "nand", ""}) {
		SCOPED_TRACE(name);
		EXPECT_EQ(io_command(number_of(GetParam()), name, 0, 16, data.address()).code(), not_listed);
	}
	EXPECT_EQ(harness::log(), log_lines());
}

INSTANTIATE_TEST_SUITE_P(to, ioctl_transfer_without_table, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

// Names that ran over the end of their field cannot be asked for, even with the bytes that follow them in the table.
struct long_name {
	const char *label;
	const char *name;
	uint32_t offset;
};

class ioctl_transfer_long_name : public on_partitions, public testing::WithParamInterface<std::tuple<direction, long_name>> {
protected:
	const char *configuration() const override { return "long_names"; }
};

TEST_P(ioctl_transfer_long_name, is_not_listed)
{
	const auto &[way, asked] = GetParam();
	user_bytes data(16);
	EXPECT_EQ(io_command(number_of(way), asked.name, asked.offset, 16, data.address()).code(), not_listed);
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 48)"});
}

INSTANTIATE_TEST_SUITE_P(to, ioctl_transfer_long_name,
			 testing::Combine(testing::Values(direction::read, direction::write),
					  testing::Values(long_name{"of_32", "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345", 0x20000},
							  long_name{"of_32_going_on", "abcdefghijklmnopqrstuvwxyz012345", 0x64636261},
							  long_name{"of_39_going_on", "0123456789abcdefghijklmnopqrstuv", 0x41414141},
							  long_name{"of_39_as_written", "0123456789abcdefghijklmnopqrstuv", 0x7A797877},
							  long_name{"cut_to_31", "ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", 0})),
			 [](const auto &row) { return as_case_name(std::get<0>(row.param)) + "_" + std::get<1>(row.param).label; });

// The XML service may count more entries than it hands out: those that are left over have an empty name.
class ioctl_transfer_left_over_entry : public on_partitions, public testing::WithParamInterface<direction> {
protected:
	const char *configuration() const override { return "long_names"; }

	void prepare() override
	{
		on_partitions::prepare();
		harness::lie_about_count(6);
	}
};

TEST_P(ioctl_transfer_left_over_entry, is_stopped_by_the_name_check)
{
	user_bytes data(16);
	EXPECT_EQ(u32_at(harness::global("g_flash_mtd_info_list_num", 4), 0), 6u);
	EXPECT_EQ(io_command(number_of(GetParam()), "", 0, 16, data.address()).code(), invalid);
	EXPECT_EQ(harness::log(), (log_lines{bad_name, no_info(GetParam(), "", invalid)}));
	EXPECT_FALSE(called("linux_mutex_lock"));
}

INSTANTIATE_TEST_SUITE_P(to, ioctl_transfer_left_over_entry, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- reading

class ioctl_read : public on_listed {};

TEST_F(ioctl_read, makes_its_calls_in_order)
{
	user_bytes data(0x10);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 48)", "vzalloc(16)", "get_mtd_device_nm(\"listed\")", "put_mtd_device(-)",
				      "snprintf_s(-, 32, 31, \"/dev/mtd%d\")", "vzalloc(272)", "linux_mutex_lock(-)",
				      "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 272)", "mutex_unlock(-)", "memcpy_s(-, 16, -, 16)",
				      "vfree(-)", "linux_copy_to_user(-, -, 16)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0x100, 0x10)});
	EXPECT_EQ(data.content(), original(listed, 0x100, 0x10));
}

TEST_F(ioctl_read, leaves_the_flash_alone)
{
	const auto before = harness::mtd_count(listed);
	user_bytes data(0x1000);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 0x1000, data.address()).code(), 0u);
	EXPECT_EQ(harness::mtd_count(listed).erases, before.erases);
	EXPECT_EQ(harness::mtd_count(listed).writes, before.writes);
	expect_unchanged(listed);
}

TEST_F(ioctl_read, of_a_partition_without_usable_bytes_succeeds)
{
	const int index = add({.name = "no_usable", .size = 0x10000});
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "no_usable", 0x30, 16, data.address()).code(), 0u);
	EXPECT_EQ(data.content(), original(index, 0x30, 16));
}

TEST_F(ioctl_read, may_write_over_its_own_record)
{
	user_bytes memory(io_record_size);
	const bytes record = io_record("listed", 0x200, io_record_size, memory.address());
	std::memcpy(reinterpret_cast<void *>(memory.address()), record.data(), record.size());
	EXPECT_EQ(harness::ioctl(mtd_read_command, memory.address()).code(), 0u);
	EXPECT_EQ(memory.content(), original(listed, 0x200, io_record_size));
}

TEST_F(ioctl_read, writes_to_any_alignment_and_not_a_byte_around)
{
	user_bytes memory(0x40);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x33, 0x11, memory.address(5)).code(), 0u);
	bytes expected(0x40, 0xEE);
	const bytes data = original(listed, 0x33, 0x11);
	std::copy(data.begin(), data.end(), expected.begin() + 5);
	EXPECT_EQ(memory.content(), expected);
}

TEST_F(ioctl_read, beyond_the_partition_gives_the_status_of_the_service_and_two_messages)
{
	user_bytes data(16);
	const uint32_t status = io_command(mtd_read_command, "listed", nand_size - 15, 16, data.address()).code();
	EXPECT_NE(status, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(nand_size - 15, 16), total_read_failure(nand_size + 1, status),
					     command_failure(direction::read, nand_size - 15, 16, status)}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
}

TEST_F(ioctl_read, without_memory_for_the_image_says_so_at_the_end_alone)
{
	harness::fail("vzalloc", 0, 2);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x100, 16, data.address()).code(), no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), command_failure(direction::read, 0x100, 16, no_buffer)}));
	EXPECT_EQ(names_from_last("vzalloc"), (call_list{"vzalloc", "drv_log_record", "vfree"}));
	EXPECT_FALSE(called("linux_mutex_lock"));
}

TEST_F(ioctl_read, says_that_the_transfer_failed_before_it_frees_the_data)
{
	harness::fail("plat_mtd_read_buf", 5);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 16, data.address()).code(), 5u);
	EXPECT_EQ(names_from_last("mutex_unlock"), (call_list{"mutex_unlock", "vfree", "drv_log_record", "drv_log_record", "vfree"}));
}

TEST_F(ioctl_read, says_that_the_copy_failed_before_it_frees_the_data)
{
	harness::fail("linux_copy_to_user", 1);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 16, data.address()).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0, 16), not_copied}));
	EXPECT_EQ(names_from_last("linux_copy_to_user"), (call_list{"linux_copy_to_user", "drv_log_record", "vfree"}));
}

TEST_F(ioctl_read, to_memory_one_byte_short_fails)
{
	user_bytes data(15);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, 16, data.address()).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0, 16), not_copied}));
}

TEST_F(ioctl_read, of_too_many_bytes_for_one_copy_fails_after_the_read)
{
	const harness::expected_report report("at linux_copy_to_user");
	constexpr uint32_t len = 0x80000000;
	harness::fail_always("vzalloc", 0x1000);
	harness::fail_always("vfree", 0);
	harness::fail("plat_mtd_read_buf", 0);
	harness::fail("memcpy_s", 0);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0, len, data.address()).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0, len), not_copied}));
	EXPECT_EQ(times_called("plat_mtd_read_buf"), 1);
	EXPECT_EQ(times_called("vfree"), 2);
}

class ioctl_read_address : public on_listed, public testing::WithParamInterface<bad_address> {};

TEST_P(ioctl_read_address, of_the_data_fails_after_the_partition_was_read)
{
	const harness::holdings before = harness::held();
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x40, 16, make_bad_address(GetParam(), 16)).code(), user_unwritable);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x40, 16), not_copied}));
	EXPECT_EQ(times_called("plat_mtd_read_buf"), 1);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_read_address, unwritable_addresses, name_of_address);

class ioctl_read_wrap : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(ioctl_read_wrap, of_the_range_fails_for_want_of_an_image)
{
	const auto [offset, len] = GetParam();
	user_bytes data(0x20);
	EXPECT_EQ(io_command(mtd_read_command, "listed", offset, len, data.address()).code(), no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(offset, len), command_failure(direction::read, offset, len, no_buffer)}));
	EXPECT_FALSE(called("linux_mutex_lock"));
	EXPECT_FALSE(called("plat_mtd_read_buf"));
	EXPECT_FALSE(called("memcpy_s"));
	EXPECT_FALSE(called("linux_copy_to_user"));
	EXPECT_EQ(data.content(), bytes(0x20, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_read_wrap,
			 testing::Values(range{0xFFFFFFFF, 1}, range{0xFFFFFFFF, 2}, range{0xFFFFFFF0, 0x10}, range{0xFFFFFFF0, 0x11},
					 range{0xFFFFFFE0, 0x20}, range{0xFFFFFFFE, 0x20}),
			 name_of_range);

class ioctl_read_range : public on_listed, public testing::WithParamInterface<range> {};

TEST_P(ioctl_read_range, is_delivered)
{
	const auto [offset, len] = GetParam();
	user_bytes data(len);
	EXPECT_EQ(io_command(mtd_read_command, "listed", offset, len, data.address()).code(), 0u);
	EXPECT_TRUE(data.content() == original(listed, offset, len));
}

TEST_P(ioctl_read_range, is_fetched_from_the_start_of_the_partition)
{
	const auto [offset, len] = GetParam();
	user_bytes data(len);
	EXPECT_EQ(io_command(mtd_read_command, "listed", offset, len, data.address()).code(), 0u);
	EXPECT_EQ(calls_of("vzalloc"), (call_list{"vzalloc(" + decimal(len) + ")", "vzalloc(" + decimal(offset + len) + ")"}));
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, " + decimal(offset + len) + ")"});
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_read_range,
			 testing::Values(range{0, 1}, range{0, 0x40000}, range{0x3FFFF, 1}, range{0x1FFFF, 2}, range{0x20000, 0x1000},
					 range{0x101, 0xFFF}, range{0xFFFF, 2}),
			 name_of_range);

// ---------------------------------------------------------------------------------------------------------------- writing

class ioctl_write : public on_listed {};

TEST_F(ioctl_write, makes_its_calls_in_order)
{
	user_bytes data(pattern(0x10));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	EXPECT_EQ(deeds(), (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(16)", "linux_copy_from_user(-, -, 16)",
				      "get_mtd_device_nm(\"listed\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtd%d\")",
				      "vzalloc(131072)", "linux_mutex_lock(-)", "plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 131072)",
				      "memcpy_s(-, 130816, -, 16)", "plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 131072)", "mutex_unlock(-)",
				      "vfree(-)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0x100, 0x10)});
	expect_changed(listed, 0x100, pattern(0x10));
}

TEST_F(ioctl_write, leaves_the_data_of_the_program_alone)
{
	user_bytes data(pattern(0x10));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	EXPECT_EQ(data.content(), pattern(0x10));
	EXPECT_FALSE(called("linux_copy_to_user"));
}

TEST_F(ioctl_write, takes_its_data_from_read_only_memory)
{
	user_bytes data(pattern(0x10));
	data.allow(access::read_only);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 0x10, data.address()).code(), 0u);
	expect_changed(listed, 0x100, pattern(0x10));
}

TEST_F(ioctl_write, takes_its_data_from_any_alignment)
{
	user_bytes data(pattern(0x18));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x101, 0x10, data.address(3)).code(), 0u);
	const bytes all = pattern(0x18);
	expect_changed(listed, 0x101, bytes(all.begin() + 3, all.begin() + 0x13));
}

TEST_F(ioctl_write, may_write_its_own_record_to_the_flash)
{
	user_bytes memory(io_record_size);
	const bytes record = io_record("listed", 0x200, io_record_size, memory.address());
	std::memcpy(reinterpret_cast<void *>(memory.address()), record.data(), record.size());
	EXPECT_EQ(harness::ioctl(mtd_write_command, memory.address()).code(), 0u);
	expect_changed(listed, 0x200, record);
}

TEST_F(ioctl_write, is_read_back_by_a_kernel_caller_and_by_a_program)
{
	user_bytes data(pattern(0x345, 8));
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x1234, 0x345, data.address()).code(), 0u);
	bytes seen_in_kernel(0x345);
	EXPECT_EQ(mtd_read("listed", 0x1234, &seen_in_kernel, 0x345), 0u);
	EXPECT_EQ(seen_in_kernel, pattern(0x345, 8));
	user_bytes seen(0x345);
	EXPECT_EQ(io_command(mtd_read_command, "listed", 0x1234, 0x345, seen.address()).code(), 0u);
	EXPECT_EQ(seen.content(), pattern(0x345, 8));
}

TEST_F(ioctl_write, fetches_the_data_before_the_device_is_looked_for)
{
	EXPECT_EQ(io_command(mtd_write_command, "absent", 0, 16, 0).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_FALSE(called("get_mtd_device_nm"));
}

TEST_F(ioctl_write, with_one_byte_of_the_data_uncopied_fails_silently)
{
	harness::fail("linux_copy_from_user", 1, 2);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 16, data.address()).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(16)", "linux_copy_from_user(-, -, 16)", "vfree(-)"}));
	expect_unchanged(listed);
}

TEST_F(ioctl_write, of_data_one_byte_short_fails_silently)
{
	user_bytes data(15);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 16, data.address()).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	expect_unchanged(listed);
}

TEST_F(ioctl_write, of_too_many_bytes_for_one_copy_fails_before_any_copy)
{
	const harness::expected_report report("at linux_copy_from_user");
	harness::fail("vmalloc", 0x1000);
	harness::fail("vfree", 0);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 0x80000000, data.address()).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(call_names().back(), "vfree");
	EXPECT_FALSE(called("get_mtd_device_nm"));
}

TEST_F(ioctl_write, to_a_partition_without_usable_bytes_fails)
{
	const int index = add({.name = "no_usable", .size = 0x10000});
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "no_usable", 0, 16, data.address()).code(), empty_range);
	EXPECT_EQ(harness::log(),
		  (log_lines{total_write_note(0, 16, 0, "/dev/mtd3"), command_failure(direction::write, 0, 16, empty_range, "/dev/mtd3")}));
	EXPECT_EQ(call_names().back(), "drv_log_record");
	expect_unchanged(index);
}

TEST_F(ioctl_write, without_memory_for_the_image_says_so_at_the_end_alone)
{
	harness::fail("vzalloc", 0);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x100, 16, data.address()).code(), no_buffer);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), command_failure(direction::write, 0x100, 16, no_buffer)}));
	EXPECT_EQ(names_from_last("vzalloc"), (call_list{"vzalloc", "vfree", "drv_log_record"}));
	expect_unchanged(listed);
}

TEST_F(ioctl_write, frees_the_data_before_it_says_that_the_transfer_failed)
{
	harness::fail("plat_mtd_update_buf", 5);
	user_bytes data(16);
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0, 16, data.address()).code(), 5u);
	EXPECT_EQ(names_from_last("mutex_unlock"), (call_list{"mutex_unlock", "vfree", "drv_log_record", "vfree", "drv_log_record"}));
}

class ioctl_write_address : public on_listed, public testing::WithParamInterface<bad_address> {};

TEST_P(ioctl_write_address, of_the_data_fails_silently_without_touching_the_partition)
{
	const harness::holdings before = harness::held();
	EXPECT_EQ(io_command(mtd_write_command, "listed", 0x40, 16, make_bad_address(GetParam(), 16)).code(), user_unreadable);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 48)", "vmalloc(16)", "linux_copy_from_user(-, -, 16)", "vfree(-)"}));
	expect_unchanged(listed);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_write_address, unreadable_addresses, name_of_address);

struct refused_range {
	uint32_t offset, len;
	uint32_t limit; // of the copy that refuses it
};

class ioctl_write_beyond : public on_listed, public testing::WithParamInterface<refused_range> {};

TEST_P(ioctl_write_beyond, the_usable_bytes_fails_in_the_copy)
{
	const auto [offset, len, limit] = GetParam();
	user_bytes data(len);
	const uint32_t code = io_command(mtd_write_command, "listed", offset, len, data.address()).code();
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(offset, len), patch_failure(offset, len, code),
					     command_failure(direction::write, offset, len, code)}));
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, " + decimal(limit) + ", -, " + decimal(len) + ")"});
	EXPECT_FALSE(called("plat_mtd_update_buf"));
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_write_beyond,
			 testing::Values(refused_range{avail - 1, 2, 1}, refused_range{avail, 1, 0}, refused_range{avail + 1, 0x10, 0},
					 refused_range{0, avail + 1, avail}, refused_range{0x3FFFF, 1, 0}, refused_range{0x40000, 1, 0},
					 refused_range{0x80000000, 0x10, 0}, refused_range{0xFFFFFFFF, 1, 0},
					 refused_range{0xFFFFFFF0, 0x10, 0}, refused_range{0xFFFFFFF0, 0x20, 0}),
			 [](const auto &row) { return hexadecimal(row.param.len) + "_at_" + hexadecimal(row.param.offset); });

class ioctl_write_range : public on_three_partitions, public testing::WithParamInterface<range> {};

TEST_P(ioctl_write_range, is_on_the_flash_and_nothing_else_changed)
{
	const auto [offset, len] = GetParam();
	user_bytes data(pattern(len, 90));
	EXPECT_EQ(io_command(mtd_write_command, "listed", offset, len, data.address()).code(), 0u);
	expect_changed(listed, offset, pattern(len, 90));
	expect_unchanged(nand);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_write_range,
			 testing::Values(range{0, 1}, range{0, avail}, range{avail - 1, 1}, range{avail - 0x1000, 0x1000}, range{0xFFFF, 2},
					 range{0x101, 0xFFF}, range{1, avail - 1}),
			 name_of_range);

// ---------------------------------------------------------------------------------------------------------------- results

struct seen_result {
	const char *label;
	uint32_t code;
	long value;
	int errno_value;
};

class ioctl_result_of_service : public on_listed, public testing::WithParamInterface<seen_result> {};

TEST_P(ioctl_result_of_service, is_seen_by_a_program_that_reads)
{
	harness::fail("plat_mtd_read_buf", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_read_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), total_read_failure(272, GetParam().code),
					     command_failure(direction::read, 0x100, 16, GetParam().code)}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
}

TEST_P(ioctl_result_of_service, is_seen_by_a_program_whose_data_cannot_be_cut_out)
{
	harness::fail("memcpy_s", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_read_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), total_read_failure(272, GetParam().code),
					     command_failure(direction::read, 0x100, 16, GetParam().code)}));
}

TEST_P(ioctl_result_of_service, is_seen_by_a_program_that_writes)
{
	harness::fail("plat_mtd_update_buf", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_write_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16),
					     own_log(serious, "mtd total write: write buf len 131072 fail " + hexadecimal(GetParam().code)),
					     command_failure(direction::write, 0x100, 16, GetParam().code)}));
}

TEST_P(ioctl_result_of_service, is_seen_by_a_program_whose_write_cannot_read_the_partition)
{
	harness::fail("plat_mtd_read_buf", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_write_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16),
					     own_log(serious, "mtd total write: read buf len 131072 fail " + hexadecimal(GetParam().code)),
					     command_failure(direction::write, 0x100, 16, GetParam().code)}));
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_result_of_service,
			 testing::Values(seen_result{"one", 1, 1, 0}, seen_result{"small", 5, 5, 0},
					 seen_result{"largest_positive", 0x7FFFFFFF, 0x7FFFFFFF, 0},
					 seen_result{"smallest_negative", 0x80000000, -2147483648L, 0},
					 seen_result{"prefixed", 0x811B0001, -2128936959L, 0},
					 seen_result{"right_below_errors", 0xFFFFF000, -4096, 0},
					 seen_result{"last_error", 0xFFFFF001, -1, 4095}, seen_result{"error", 0xFFFFFFF2, -1, 14},
					 seen_result{"one_that_linux_keeps_for_itself", 0xFFFFFDFD, -1, 25},
					 seen_result{"all_ones", 0xFFFFFFFF, -1, 1}),
			 [](const auto &row) { return row.param.label; });

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	direction way;
	const char *function;
	long long result;
};

class ioctl_transfer_failure : public on_listed, public testing::WithParamInterface<swept> {
protected:
	void SetUp() override
	{
		on_listed::SetUp();
		data_ = harness::user_memory(0x40);
		put(pattern(0x40, 60));
	}

	uint32_t run() { return io_command(number_of(GetParam().way), "listed", 0x123, 0x40, harness::user_address(data_)).code(); }

	void check(bool succeeded)
	{
		if (GetParam().way == direction::read) {
			expect_unchanged(listed);
			if (succeeded) {
				EXPECT_EQ(bytes(data_, data_ + 0x40), original(listed, 0x123, 0x40));
			}
			return;
		}
		if (succeeded)
			expect_changed(listed, 0x123, pattern(0x40, 60));
		else
			expect_unchanged(listed);
		harness::set_mtd_content(listed, 0x123, original(listed, 0x123, 0x40));
	}

private:
	void put(const bytes &content) { std::copy(content.begin(), content.end(), data_); }

	std::uint8_t *data_ = nullptr;
};

TEST_P(ioctl_transfer_failure, holds_nothing_and_the_next_try_succeeds)
{
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return run(); }, [&](bool succeeded) { check(succeeded); });
}

TEST_P(ioctl_transfer_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(run(), 0u);
	EXPECT_EQ(harness::held(), before);
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(in, ioctl_transfer_failure,
			 testing::Values(swept{direction::read, "linux_copy_from_user", 3}, swept{direction::read, "vzalloc", 0},
					 swept{direction::read, "get_mtd_device_nm", error_no_device},
					 swept{direction::read, "snprintf_s", -1}, swept{direction::read, "plat_mtd_read_buf", 5},
					 swept{direction::read, "memcpy_s", 34}, swept{direction::read, "linux_copy_to_user", 1},
					 swept{direction::write, "linux_copy_from_user", 3}, swept{direction::write, "vmalloc", 0},
					 swept{direction::write, "vzalloc", 0}, swept{direction::write, "get_mtd_device_nm", 0},
					 swept{direction::write, "snprintf_s", -1}, swept{direction::write, "plat_mtd_read_buf", 5},
					 swept{direction::write, "memcpy_s", 34}, swept{direction::write, "plat_mtd_update_buf", 5}),
			 [](const auto &row) { return as_case_name(row.param.way) + "_" + row.param.function; });

} // namespace
} // namespace conformance
