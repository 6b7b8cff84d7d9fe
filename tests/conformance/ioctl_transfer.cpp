// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands that read and write listed partitions for a program: the record, the order of the checks, what both have in common.
#include "ioctl_transfer_words.hpp"

namespace conformance {
namespace {

log_line no_info(direction way, const std::string &name, uint32_t code)
{
	return own_log(ordinary, "mtd " + as_case_name(way) + ": mtd info not found, name:" + name + " ret:" + decimal(code));
}

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
	EXPECT_EQ(harness::log(), (log_lines{no_mtd_device, no_info(way(), "absent", no_partition)}));
	EXPECT_EQ(names_from_last("get_mtd_device_nm"), (call_list{"get_mtd_device_nm", "drv_log_record", "vfree", "drv_log_record"}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
}

TEST_P(ioctl_transfer, of_a_listed_empty_name_fails_in_the_name_check)
{
	user_bytes data(16);
	EXPECT_EQ(command("", 0, 16, data.address()), invalid);
	EXPECT_EQ(harness::log(), (log_lines{bad_mtd_name, no_info(way(), "", invalid)}));
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
		EXPECT_EQ(harness::log(), (log_lines{no_mtd_device, no_info(way(), "listed", no_partition)}));
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

TEST_P(ioctl_transfer, takes_the_total_path_whatever_the_partition_is_made_of)
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
	EXPECT_EQ(harness::log(), (log_lines{bad_mtd_name, no_info(GetParam(), "", invalid)}));
	EXPECT_FALSE(called("linux_mutex_lock"));
}

INSTANTIATE_TEST_SUITE_P(to, ioctl_transfer_left_over_entry, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

} // namespace
} // namespace conformance
