// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a transfer by name refuses before it moves a byte, whatever the partition is made of.
#include "partition_words.hpp"

namespace conformance {
namespace {

log_line name_message(direction way, const std::string &name, uint32_t code)
{
	return own_log(ordinary, std::string(way == direction::write ? "mtd write: " : "") + "mtd info not found, name:" + name +
					 " ret:" + decimal(code));
}

log_line refusal(direction way, const std::string &what)
{
	return own_log(ordinary, "mtd " + as_case_name(way) + ": " + what);
}

const std::string no_data_words = "input argument are invalid";
const std::string overflow = "sum of offset and len overflow";
const std::string beyond = "read over mtd area";

// The calls before the range is looked at.
call_list calls_of_lookup(direction way, const std::string &name)
{
	call_list calls;
	if (way == direction::read)
		calls = {"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)"};
	calls.insert(calls.end(), {"get_mtd_device_nm(\"" + name + "\")", "put_mtd_device(-)"});
	return calls;
}

class datapath_request : public on_three_partitions, public testing::WithParamInterface<direction> {
protected:
	direction way() const { return GetParam(); }

	// A refused request changes neither the buffer nor a partition.
	void expect_refused(harness::argument name, uint32_t offset, uint32_t len, uint32_t code, const log_lines &messages)
	{
		bytes buf(64, 0xEE);
		EXPECT_EQ(transfer(way(), std::move(name), offset, &buf, len), code);
		EXPECT_EQ(harness::log(), messages);
		EXPECT_EQ(buf, bytes(64, 0xEE));
		expect_unchanged(nor);
		expect_unchanged(nand);
		expect_unchanged(listed);
	}
};

TEST_P(datapath_request, for_an_unknown_partition_gives_two_messages)
{
	expect_refused("nowhere", 0, 16, no_partition, {no_mtd_device, name_message(way(), "nowhere", no_partition)});
}

TEST_P(datapath_request, for_a_name_of_32_characters_gives_two_messages)
{
	expect_refused(name_of_32, 0, 16, invalid, {bad_mtd_name, name_message(way(), name_of_32, invalid)});
	EXPECT_FALSE(called("get_mtd_device_nm"));
}

TEST_P(datapath_request, for_an_empty_name_gives_two_messages)
{
	expect_refused("", 0, 16, invalid, {bad_mtd_name, name_message(way(), "", invalid)});
}

TEST_P(datapath_request, for_a_null_name_prints_it_as_null)
{
	expect_refused(nullptr, 0, 16, invalid, {bad_mtd_name, name_message(way(), "(null)", invalid)});
}

TEST_P(datapath_request, for_an_unknown_name_of_31_characters_passes_the_name_check)
{
	const std::string name(31, 'q');
	expect_refused(name, 0, 16, no_partition, {no_mtd_device, name_message(way(), name, no_partition)});
}

TEST_P(datapath_request, looks_at_the_name_before_the_buffer)
{
	EXPECT_EQ(transfer(way(), "nowhere", 0, nullptr, 0), no_partition);
	EXPECT_EQ(harness::log(), (log_lines{no_mtd_device, name_message(way(), "nowhere", no_partition)}));
}

TEST_P(datapath_request, looks_at_the_name_before_the_range)
{
	expect_refused("", 0xFFFFFFFF, 16, invalid, {bad_mtd_name, name_message(way(), "", invalid)});
}

TEST_P(datapath_request, of_no_bytes_is_refused)
{
	expect_refused("nor", 0, 0, no_data, {refusal(way(), no_data_words)});
	EXPECT_EQ(deeds(), calls_of_lookup(way(), "nor"));
}

TEST_P(datapath_request, without_a_buffer_is_refused)
{
	EXPECT_EQ(transfer(way(), "nor", 0, nullptr, 16), no_data);
	EXPECT_EQ(harness::log(), log_lines{refusal(way(), no_data_words)});
	EXPECT_EQ(deeds(), calls_of_lookup(way(), "nor"));
}

TEST_P(datapath_request, of_no_bytes_without_a_buffer_is_refused_once)
{
	EXPECT_EQ(transfer(way(), "listed", 0, nullptr, 0), no_data);
	EXPECT_EQ(harness::log(), log_lines{refusal(way(), no_data_words)});
}

TEST_P(datapath_request, of_no_bytes_is_refused_before_the_range_is_looked_at)
{
	expect_refused("nor", 0xFFFFFFFF, 0, no_data, {refusal(way(), no_data_words)});
}

TEST_P(datapath_request, without_a_buffer_is_refused_before_an_overflow)
{
	EXPECT_EQ(transfer(way(), "nor", 0xFFFFFFFF, nullptr, 16), no_data);
	EXPECT_EQ(harness::log(), log_lines{refusal(way(), no_data_words)});
}

TEST_P(datapath_request, takes_no_lock_and_no_memory_when_refused)
{
	expect_refused("listed", nand_size, 1, invalid, {refusal(way(), beyond)});
	EXPECT_EQ(deeds(), calls_of_lookup(way(), "listed"));
}

INSTANTIATE_TEST_SUITE_P(to, datapath_request, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- ranges

struct range {
	uint32_t offset;
	uint32_t len;
};

class datapath_range : public on_nor, public testing::WithParamInterface<std::tuple<direction, range>> {
protected:
	direction way() const { return std::get<0>(GetParam()); }

	void expect_refused(const char *name, uint32_t code, const std::string &message)
	{
		const range asked = std::get<1>(GetParam());
		bytes buf(64, 0xEE);
		EXPECT_EQ(transfer(way(), name, asked.offset, &buf, asked.len), code);
		EXPECT_EQ(harness::log(), log_lines{refusal(way(), message)});
		EXPECT_EQ(deeds(), calls_of_lookup(way(), name));
		EXPECT_EQ(buf, bytes(64, 0xEE));
	}
};

std::string name_of_range(const testing::TestParamInfo<std::tuple<direction, range>> &row)
{
	const auto &[way, asked] = row.param;
	return as_case_name(way) + "_of_" + hexadecimal(asked.len) + "_at_" + hexadecimal(asked.offset);
}

const auto both = testing::Values(direction::read, direction::write);

class datapath_range_overflow : public datapath_range {};

TEST_P(datapath_range_overflow, is_refused)
{
	expect_refused("nor", range_overflow, overflow);
}

TEST_P(datapath_range_overflow, is_refused_on_a_listed_partition)
{
	add_listed();
	expect_refused("listed", range_overflow, overflow);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_range_overflow,
			 testing::Combine(both, testing::Values(range{0xFFFFFFFF, 1}, range{0xFFFFFFF0, 0x10}, range{1, 0xFFFFFFFF},
								range{0xFFFFFFFF, 0xFFFFFFFF}, range{0x80000000, 0x80000000},
								range{0xFFFFFFF0, 0x11}, range{0x20000, 0xFFFFFFFF})),
			 name_of_range);

class datapath_range_beyond_end : public datapath_range {};

TEST_P(datapath_range_beyond_end, is_refused)
{
	expect_refused("nor", invalid, beyond);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_range_beyond_end,
			 testing::Combine(both,
					  testing::Values(range{0x1F000, 0x1001}, range{0x20000, 1}, range{0, 0x20001}, range{0x1FFFF, 2},
							  range{0x20001, 1}, range{0xFFFFFFFE, 1}, range{0, 0xFFFFFFFF},
							  range{0xFFFFFFEF, 0x10}, range{0x7FFFFFFF, 0x80000000})),
			 name_of_range);

// ---------------------------------------------------------------------------------------------------------------- sizes modulo 2^32

class datapath_giant_partition : public on_partitions, public testing::WithParamInterface<std::tuple<direction, uint32_t>> {
protected:
	direction way() const { return std::get<0>(GetParam()); }
	uint32_t type() const { return std::get<1>(GetParam()); }

	int add_giant(uint64_t size) { return add({.name = "giant", .size = size, .type = type()}); }

	void expect_refused(uint32_t offset, uint32_t len)
	{
		SCOPED_TRACE(hexadecimal(len) + " bytes at " + hexadecimal(offset));
		harness::forget();
		bytes buf(64, 0xEE);
		EXPECT_EQ(transfer(way(), "giant", offset, &buf, len), invalid);
		EXPECT_EQ(harness::log(), log_lines{refusal(way(), beyond)});
		EXPECT_EQ(deeds(), calls_of_lookup(way(), "giant"));
	}

	void expect_accepted(int index, uint32_t offset, uint32_t len)
	{
		SCOPED_TRACE(hexadecimal(len) + " bytes at " + hexadecimal(offset));
		bytes buf = pattern(len, 77);
		const bytes before = harness::mtd_content(index, offset, len);
		EXPECT_EQ(transfer(way(), "giant", offset, &buf, len), 0u);
		EXPECT_TRUE(way() == direction::read ? buf == before : harness::mtd_content(index, offset, len) == pattern(len, 77));
	}
};

TEST_P(datapath_giant_partition, of_4_gib_refuses_every_request)
{
	add_giant(0x100000000);
	expect_refused(0, 1);
	expect_refused(0, 0x1000);
	expect_refused(0x1000, 0x1000);
	expect_refused(0x7FFFFFFF, 1);
	expect_refused(0xFFFFFFFE, 1);
}

TEST_P(datapath_giant_partition, of_8_gib_refuses_every_request)
{
	add_giant(0x200000000);
	expect_refused(0, 1);
	expect_refused(0, 0xFFFFFFFF);
}

TEST_P(datapath_giant_partition, of_4_gib_and_a_little_is_as_large_as_the_little)
{
	const int giant = add_giant(0x100020000);
	expect_accepted(giant, 0, 0x10);
	expect_accepted(giant, 0x1FFF0, 0x10);
	expect_refused(0x1FFF0, 0x11);
	expect_refused(0x20000, 1);
	expect_refused(0x80000000, 0x10);
}

TEST_P(datapath_giant_partition, right_below_4_gib_is_as_large_as_it_is)
{
	const int giant = add_giant(0xFFFF0000);
	if (type() == harness::mtd_nor)
		expect_accepted(giant, 0xFFFEFFF0, 0x10);
	expect_refused(0xFFFEFFF0, 0x11);
	expect_refused(0xFFFF0000, 1);
	expect_refused(0, 0xFFFF0001);
}

INSTANTIATE_TEST_SUITE_P(to, datapath_giant_partition, testing::Combine(both, testing::Values(harness::mtd_nor, harness::mtd_nand)),
			 [](const auto &row) {
				 return as_case_name(std::get<0>(row.param)) +
					(std::get<1>(row.param) == harness::mtd_nor ? "_nor" : "_nand");
			 });

// ---------------------------------------------------------------------------------------------------------------- clearing the locals

struct clearing {
	const char *label;
	long long first, second;
	uint32_t printed;
};

class datapath_clearing : public on_nor, public testing::WithParamInterface<clearing> {};

TEST_P(datapath_clearing, that_fails_ends_a_read)
{
	harness::fail("memset_s", GetParam().first);
	harness::fail("memset_s", GetParam().second, 2);
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 16), clear_failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "init mtd_info or dev_name failure, ret:" + decimal(GetParam().printed))});
	EXPECT_EQ(deeds(), (call_list{"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)"}));
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_clearing,
			 testing::Values(clearing{"the_record", 1, 0, 1}, clearing{"the_path", 0, 34, 34}, clearing{"both_or_ed", 1, 4, 5},
					 clearing{"both_equal", 22, 22, 22}, clearing{"a_negative_result", -1, 0, 0xFFFFFFFF},
					 clearing{"the_path_negative", 0, -22, 0xFFFFFFEA}, clearing{"overlapping_bits", 6, 3, 7}),
			 [](const auto &row) { return row.param.label; });

class datapath_clearing_order : public on_nor {};

TEST_F(datapath_clearing_order, comes_before_the_name_check)
{
	harness::fail("memset_s", 1);
	EXPECT_EQ(mtd_read("", 0, nullptr, 0), clear_failed);
	EXPECT_EQ(harness::log().size(), 1u);
}

TEST_F(datapath_clearing_order, has_no_place_in_a_write)
{
	harness::fail_always("memset_s", 1);
	EXPECT_EQ(mtd_write("nor", 0, pattern(16), 16), 0u);
	EXPECT_FALSE(called("memset_s"));
}

// ---------------------------------------------------------------------------------------------------------------- transfer paths

struct transfer_path {
	uint32_t type;
	bool nand;
};

class datapath_transfer_path : public on_partitions, public testing::WithParamInterface<std::tuple<direction, transfer_path>> {};

TEST_P(datapath_transfer_path, is_chosen_by_the_type)
{
	const auto [way, taken] = GetParam();
	const int index = add({.name = "typed", .size = 0x20000, .type = taken.type, .index = 5});
	ASSERT_EQ(index, 5);
	harness::fail("filp_open", error_io);
	harness::fail("plat_mtd_read_buf", 77);
	harness::fail("plat_mtd_update_buf", 77);
	bytes buf(16);

	const uint32_t code = transfer(way, "typed", 0x20, &buf, 16);

	if (taken.nand) {
		EXPECT_EQ(code, 77u);
		EXPECT_EQ(calls_of(way == direction::read ? "plat_mtd_read_buf" : "plat_mtd_update_buf"),
			  call_list{(way == direction::read ? "plat_mtd_read_buf" : "plat_mtd_update_buf") +
				    std::string("(\"/dev/mtd5\", 32, -, 16)")});
		EXPECT_FALSE(called("filp_open"));
	} else {
		EXPECT_EQ(code, not_opened);
		EXPECT_EQ(calls_of("filp_open").size(), 1u);
		EXPECT_EQ(calls_of("filp_open").front().substr(0, 28), "filp_open(\"/dev/mtdblock5\", ");
		EXPECT_FALSE(called("plat_mtd_read_buf"));
		EXPECT_FALSE(called("plat_mtd_update_buf"));
	}
}

INSTANTIATE_TEST_SUITE_P(for_type, datapath_transfer_path,
			 testing::Combine(both, testing::Values(transfer_path{1, false}, transfer_path{2, false}, transfer_path{3, false},
								transfer_path{4, true}, transfer_path{6, false}, transfer_path{7, false},
								transfer_path{8, true}, transfer_path{9, false}, transfer_path{12, false})),
			 [](const auto &row) {
				 return as_case_name(std::get<0>(row.param)) + "_" + std::to_string(std::get<1>(row.param).type);
			 });

// ---------------------------------------------------------------------------------------------------------------- forming the path

struct path_case {
	direction way;
	const char *name;
	const char *format;
	const char *message;
};

class datapath_path : public on_three_partitions, public testing::WithParamInterface<path_case> {
protected:
	int index() const { return GetParam().name == std::string("nor") ? nor : nand; }
};

TEST_P(datapath_path, that_cannot_be_formed_ends_the_transfer)
{
	harness::fail("snprintf_s", -1);
	bytes buf(16, 0xEE);
	EXPECT_EQ(transfer(GetParam().way, GetParam().name, 0, &buf, 16), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, GetParam().message + std::to_string(index()) + " failure")});
	EXPECT_EQ(deeds().back(), std::string("snprintf_s(-, 32, 31, \"") + GetParam().format + "\")");
	EXPECT_EQ(buf, bytes(16, 0xEE));
	expect_unchanged(index());
}

TEST_P(datapath_path, that_fails_with_any_negative_result_ends_the_transfer)
{
	harness::fail("snprintf_s", -2147483648LL);
	bytes buf(16);
	EXPECT_EQ(transfer(GetParam().way, GetParam().name, 0, &buf, 16), copy_failed);
}

TEST_P(datapath_path, is_formed_once_with_its_format)
{
	bytes buf(16);
	EXPECT_EQ(transfer(GetParam().way, GetParam().name, 0, &buf, 16), 0u);
	EXPECT_EQ(calls_of("snprintf_s"), call_list{std::string("snprintf_s(-, 32, 31, \"") + GetParam().format + "\")"});
}

TEST_P(datapath_path, of_no_characters_is_not_a_formatting_failure)
{
	harness::fail("snprintf_s", 0);
	harness::fail("plat_mtd_read_buf", 5);
	harness::fail("plat_mtd_update_buf", 5);
	harness::fail("filp_open", -2);
	bytes buf(16);
	const uint32_t code = transfer(GetParam().way, GetParam().name, 0, &buf, 16);
	EXPECT_EQ(code, index() == nor ? not_opened : 5u);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_path,
			 testing::Values(path_case{direction::read, "nor", "/dev/mtdblock%d", "Flash mng mtd_devname:/dev/mtdblock"},
					 path_case{direction::write, "nor", "/dev/mtdblock%d", "Flash mng write mtd_devname:/dev/mtdblock"},
					 path_case{direction::read, "nand", "/dev/mtd%d", "Flash mng mtd_devname:/dev/mtd"},
					 path_case{direction::write, "nand", "/dev/mtd%d", "Flash mng mtd_devname:/dev/mtd"}),
			 [](const auto &row) { return as_case_name(row.param.way) + "_" + row.param.name; });

// ---------------------------------------------------------------------------------------------------------------- idle routines

constexpr uint32_t bad_path = 0x70050002;

// Routines that leave their buffer as it is and say that all is well: the device is then the one of no name.
class datapath_request_without_routines : public datapath_request {
protected:
	void SetUp() override
	{
		datapath_request::SetUp();
		harness::fail_always("memset_s", 0);
		harness::fail_always("snprintf_s", 0);
	}

	uint32_t transfer_16_bytes(const char *name)
	{
		bytes buf(16, 0xEE);
		const uint32_t code = transfer(way(), name, 0x100, &buf, 16);
		EXPECT_EQ(buf, bytes(16, 0xEE));
		expect_unchanged(nor);
		expect_unchanged(nand);
		expect_unchanged(listed);
		return code;
	}
};

TEST_P(datapath_request_without_routines, of_nand_reaches_no_device)
{
	EXPECT_EQ(transfer_16_bytes("nand"), bad_path);
	const std::string service = way() == direction::read ? "plat_mtd_read_buf" : "plat_mtd_update_buf";
	EXPECT_EQ(calls_of(service), call_list{service + "(\"\", 256, -, 16)"});
}

TEST_P(datapath_request_without_routines, of_listed_nand_reaches_no_device)
{
	EXPECT_EQ(transfer_16_bytes("listed"), bad_path);
}

// Linux takes no path for the working directory, which can be opened for reading, but not be read.
TEST_P(datapath_request_without_routines, of_anything_else_reaches_no_device)
{
	const uint32_t code = transfer_16_bytes("nor");
	EXPECT_TRUE(code == not_opened || code == failed) << code;
	const call_list opened = calls_of("filp_open");
	ASSERT_EQ(opened.size(), 1u);
	EXPECT_TRUE(opened[0].starts_with("filp_open(\"\", ")) << opened[0];
}

INSTANTIATE_TEST_SUITE_P(to, datapath_request_without_routines, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

} // namespace
} // namespace conformance
