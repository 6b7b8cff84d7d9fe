// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Questions about partitions by name: is the name good, where is the partition, how large is it, is the user-data partition there.
#include "partition_words.hpp"

namespace conformance {
namespace {

// ---------------------------------------------------------------------------------------------------------------- names

struct name_length {
	std::size_t length;
	uint32_t code;
};

class datapath_name_length : public on_loaded_module, public testing::WithParamInterface<name_length> {};

TEST_P(datapath_name_length, is_judged_without_a_message_or_a_call)
{
	EXPECT_EQ(harness::call("flash_check_name", {std::string(GetParam().length, 'n')}), GetParam().code);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(), call_list());
}

INSTANTIATE_TEST_SUITE_P(of, datapath_name_length,
			 testing::Values(name_length{0, invalid}, name_length{1, 0}, name_length{2, 0}, name_length{16, 0},
					 name_length{30, 0}, name_length{31, 0}, name_length{32, invalid}, name_length{33, invalid},
					 name_length{40, invalid}, name_length{4096, invalid}),
			 [](const auto &row) { return std::to_string(row.param.length); });

class datapath_name : public on_loaded_module {};

TEST_F(datapath_name, that_is_null_is_invalid)
{
	EXPECT_EQ(harness::call("flash_check_name", {nullptr}), invalid);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_F(datapath_name, may_hold_any_character)
{
	EXPECT_EQ(harness::call("flash_check_name", {"\x01 /%s\xff"}), 0u);
}

// ---------------------------------------------------------------------------------------------------------------- device info

constexpr std::size_t info_size = 16;

uint32_t get_info(harness::argument name, bytes *info)
{
	return harness::call("drv_mtd_get_info", {std::move(name), info});
}

class datapath_info : public on_three_partitions {};

TEST_F(datapath_info, looks_the_partition_up_and_releases_it)
{
	bytes info(info_size);
	EXPECT_EQ(get_info("nand", &info), 0u);
	EXPECT_EQ(harness::calls(), (call_list{"get_mtd_device_nm(\"nand\")", "put_mtd_device(-)"}));
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::mtd_use_count(nand), 0);
}

TEST_F(datapath_info, holds_size_index_and_type)
{
	bytes info(info_size);
	EXPECT_EQ(get_info("listed", &info), 0u);
	EXPECT_EQ(u64_at(info, 0), nand_size);
	EXPECT_EQ(u32_at(info, 8), static_cast<uint32_t>(listed));
	EXPECT_EQ(u32_at(info, 12), harness::mtd_nand);
}

TEST_F(datapath_info, is_three_fields_and_not_a_byte_more)
{
	bytes info(info_size + 8, 0xEE);
	EXPECT_EQ(get_info("nor", &info), 0u);
	EXPECT_EQ(bytes(info.begin() + info_size, info.end()), bytes(8, 0xEE));
	EXPECT_EQ(u64_at(info, 0), nor_size);
	EXPECT_EQ(u32_at(info, 8), static_cast<uint32_t>(nor));
	EXPECT_EQ(u32_at(info, 12), harness::mtd_nor);
}

TEST_F(datapath_info, gives_the_number_of_the_device_file)
{
	const int seventh = add({.name = "seventh", .size = 0x10000, .index = 7});
	bytes info(info_size);
	EXPECT_EQ(get_info("seventh", &info), 0u);
	EXPECT_EQ(seventh, 7);
	EXPECT_EQ(u32_at(info, 8), 7u);
}

TEST_F(datapath_info, takes_a_name_of_31_characters)
{
	add({.name = name_of_31, .size = 0x10000});
	bytes info(info_size);
	EXPECT_EQ(get_info(name_of_31, &info), 0u);
	EXPECT_EQ(u64_at(info, 0), 0x10000u);
}

TEST_F(datapath_info, is_fresh_at_each_call)
{
	bytes info(info_size);
	EXPECT_EQ(get_info("nand", &info), 0u);
	harness::remove_mtd(nand);
	EXPECT_EQ(get_info("nand", &info), no_partition);
	add({.name = "nand", .size = 0x80000, .index = 9});
	EXPECT_EQ(get_info("nand", &info), 0u);
	EXPECT_EQ(u64_at(info, 0), 0x80000u);
	EXPECT_EQ(u32_at(info, 8), 9u);
}

TEST_F(datapath_info, of_a_missing_record_is_refused_after_the_name_was_looked_at)
{
	EXPECT_EQ(get_info("nand", nullptr), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
}

TEST_F(datapath_info, of_a_bad_name_and_a_missing_record_is_refused_once)
{
	EXPECT_EQ(get_info("", nullptr), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
}

TEST_F(datapath_info, of_a_null_name_is_refused)
{
	bytes info(info_size, 0xEE);
	EXPECT_EQ(get_info(nullptr, &info), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(info, bytes(info_size, 0xEE));
	EXPECT_EQ(deeds(), call_list());
}

struct named_text {
	std::string label;
	std::string text;
};

std::string label_of(const testing::TestParamInfo<named_text> &row)
{
	return row.param.label;
}

const auto bad_names = testing::Values(named_text{"empty", ""}, named_text{"of_32", name_of_32},
				       named_text{"of_33", std::string(name_of_32) + "6"}, named_text{"of_64", std::string(64, 'x')});
const auto absent_names =
	testing::Values(named_text{"unknown", "nowhere"}, named_text{"upper_case", "NAND"}, named_text{"prefix", "nan"},
			named_text{"longer", "nand0"}, named_text{"blank_behind", "nand "}, named_text{"of_31", name_of_31});

class datapath_bad_name : public on_partitions, public testing::WithParamInterface<named_text> {};

TEST_P(datapath_bad_name, has_no_info)
{
	bytes info(info_size, 0xEE);
	EXPECT_EQ(get_info(GetParam().text, &info), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
	EXPECT_EQ(info, bytes(info_size, 0xEE));
}

TEST_P(datapath_bad_name, has_no_size)
{
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {GetParam().text, &size}), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
	EXPECT_EQ(size, bytes(8, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(that_is, datapath_bad_name, bad_names, label_of);

class datapath_absent_name : public on_nand, public testing::WithParamInterface<named_text> {};

TEST_P(datapath_absent_name, has_no_info)
{
	bytes info(info_size, 0xEE);
	EXPECT_EQ(get_info(GetParam().text, &info), no_partition);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
	EXPECT_EQ(deeds(), call_list{"get_mtd_device_nm(\"" + GetParam().text + "\")"});
	EXPECT_EQ(info, bytes(info_size, 0xEE));
}

TEST_P(datapath_absent_name, has_no_size)
{
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {GetParam().text, &size}), no_partition);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
	EXPECT_EQ(deeds(), call_list{"get_mtd_device_nm(\"" + GetParam().text + "\")"});
	EXPECT_EQ(size, bytes(8, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(that_is, datapath_absent_name, absent_names, label_of);

// What Linux gives for a device that it does not find.
class datapath_no_device : public on_partitions, public testing::WithParamInterface<long long> {
protected:
	void SetUp() override
	{
		on_partitions::SetUp();
		harness::fail("get_mtd_device_nm", GetParam());
	}
};

TEST_P(datapath_no_device, means_no_info_and_nothing_to_release)
{
	bytes info(info_size, 0xEE);
	EXPECT_EQ(get_info("nand", &info), no_partition);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
	EXPECT_FALSE(called("put_mtd_device"));
	EXPECT_EQ(info, bytes(info_size, 0xEE));
}

TEST_P(datapath_no_device, means_no_size)
{
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), no_partition);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
	EXPECT_FALSE(called("put_mtd_device"));
	EXPECT_EQ(size, bytes(8, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_no_device, testing::Values(0, -1, error_no_device, error_last),
			 [](const auto &row) { return as_case_name(row.param); });

class datapath_type_code : public on_partitions, public testing::WithParamInterface<uint32_t> {};

TEST_P(datapath_type_code, is_given_as_it_is)
{
	add({.name = "typed", .size = 0x10000, .type = GetParam()});
	bytes info(info_size);
	EXPECT_EQ(get_info("typed", &info), 0u);
	EXPECT_EQ(u32_at(info, 12), GetParam());
}

INSTANTIATE_TEST_SUITE_P(of, datapath_type_code, testing::Values(1, 2, 3, 4, 6, 7, 8),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- sizes

class datapath_size : public on_three_partitions {};

TEST_F(datapath_size, is_stored_after_one_look_at_the_device)
{
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nor", &size}), 0u);
	EXPECT_EQ(u64_at(size, 0), nor_size);
	EXPECT_EQ(harness::calls(), (call_list{"get_mtd_device_nm(\"nor\")", "put_mtd_device(-)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_size, is_eight_bytes)
{
	bytes size(12, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nor", &size}), 0u);
	EXPECT_EQ(u32_at(size, 8), 0xEEEEEEEEu);
}

TEST_F(datapath_size, without_a_place_for_it_is_refused_with_one_message)
{
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nor", nullptr}), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
}

TEST_F(datapath_size, of_a_null_name_is_refused_with_one_message)
{
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {nullptr, &size}), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(size, bytes(8, 0xEE));
}

TEST_F(datapath_size, of_a_null_name_to_nowhere_is_refused_with_one_message)
{
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {nullptr, nullptr}), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
}

TEST_F(datapath_size, of_an_absent_partition_to_nowhere_is_an_invalid_argument)
{
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nowhere", nullptr}), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
}

class datapath_large_size : public on_partitions, public testing::WithParamInterface<uint64_t> {};

TEST_P(datapath_large_size, is_given_in_64_bits)
{
	add({.name = "large", .size = GetParam(), .type = harness::mtd_ram});
	bytes size(8);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"large", &size}), 0u);
	EXPECT_EQ(u64_at(size, 0), GetParam());
	bytes info(info_size);
	EXPECT_EQ(get_info("large", &info), 0u);
	EXPECT_EQ(u64_at(info, 0), GetParam());
}

INSTANTIATE_TEST_SUITE_P(of, datapath_large_size, testing::Values(0x10000, 0xFFFF0000, 0x100000000, 0x100010000, 0x1FFFF0000, 0x1000000000),
			 [](const auto &row) { return hexadecimal(static_cast<uint32_t>(row.param >> 16)) + "0000"; });

// ---------------------------------------------------------------------------------------------------------------- the user-data partition

constexpr std::size_t part_info_size = 520, part_info_field = 264;

class datapath_without_usrdata : public on_partitions {};

TEST_F(datapath_without_usrdata, the_part_count_is_0_and_a_failure)
{
	bytes num(4, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_num", {&num}), failed);
	EXPECT_EQ(u32_at(num, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("")});
	EXPECT_EQ(deeds(), call_list{"get_mtd_device_nm(\"\")"});
}

TEST_F(datapath_without_usrdata, the_partition_does_not_exist_which_is_no_failure)
{
	bytes exist(4, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_is_exist", {&exist}), 0u);
	EXPECT_EQ(u32_at(exist, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(deeds(), call_list{"get_mtd_device_nm(\"\")"});
}

TEST_F(datapath_without_usrdata, the_size_info_fails_with_two_messages_and_touches_the_count_alone)
{
	bytes info(part_info_size, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {&info}), failed);
	EXPECT_EQ(harness::log(), (log_lines{no_usrdata(""), no_part_num}));
	bytes expected(part_info_size, 0xEE);
	std::fill_n(expected.begin(), 4, 0);
	EXPECT_EQ(info, expected);
	EXPECT_EQ(deeds(), call_list{"get_mtd_device_nm(\"\")"});
}

TEST_F(datapath_without_usrdata, one_that_comes_after_the_load_is_not_seen)
{
	add({.name = "usrdata", .size = 0x10000});
	bytes num(4);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_num", {&num}), failed);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("")});
}

class datapath_usrdata : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		usrdata = add({.name = "usrdata", .size = 0x30000});
	}

	int usrdata = -1;
};

TEST_F(datapath_usrdata, counts_as_one_part)
{
	bytes num(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_num", {&num}), 0u);
	EXPECT_EQ(u32_at(num, 0), 1u);
	EXPECT_EQ(u32_at(num, 4), 0xEEEEEEEEu);
	EXPECT_EQ(harness::calls(), (call_list{"get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_usrdata, exists)
{
	bytes exist(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_is_exist", {&exist}), 0u);
	EXPECT_EQ(u32_at(exist, 0), 1u);
	EXPECT_EQ(u32_at(exist, 4), 0xEEEEEEEEu);
	EXPECT_EQ(harness::calls(), (call_list{"get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_usrdata, has_a_size_info_of_two_fields)
{
	bytes info = pattern(part_info_size);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {&info}), 0u);
	EXPECT_EQ(u32_at(info, 0), 1u);
	EXPECT_EQ(u64_at(info, part_info_field), 0x30000u);
	const bytes before = pattern(part_info_size);
	EXPECT_TRUE(std::equal(before.begin() + 4, before.begin() + 264, info.begin() + 4));
	EXPECT_TRUE(std::equal(before.begin() + 272, before.end(), info.begin() + 272));
}

TEST_F(datapath_usrdata, is_looked_up_twice_for_its_size_info)
{
	bytes info(part_info_size);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {&info}), 0u);
	EXPECT_EQ(harness::calls(), (call_list{"get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)", "get_mtd_device_nm(\"usrdata\")",
					       "put_mtd_device(-)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_usrdata, that_went_away_is_missed_by_name)
{
	harness::remove_mtd(usrdata);
	bytes num(4, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_num", {&num}), failed);
	EXPECT_EQ(u32_at(num, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("usrdata")});
}

TEST_F(datapath_usrdata, that_went_away_does_not_exist)
{
	harness::remove_mtd(usrdata);
	bytes exist(4, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_is_exist", {&exist}), 0u);
	EXPECT_EQ(u32_at(exist, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_usrdata, without_a_place_for_the_count_is_refused_silently)
{
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_num", {nullptr}), null_pointer);
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_F(datapath_usrdata, without_a_place_for_the_size_info_is_refused_silently)
{
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {nullptr}), null_pointer);
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_F(datapath_usrdata, without_a_place_for_the_answer_is_refused_silently)
{
	EXPECT_EQ(harness::call("drv_flash_get_nand_is_exist", {nullptr}), null_pointer);
	EXPECT_EQ(harness::calls(), call_list());
}

class datapath_usrdata_lost : public datapath_usrdata, public testing::WithParamInterface<long long> {};

TEST_P(datapath_usrdata_lost, makes_the_count_fail)
{
	harness::fail("get_mtd_device_nm", GetParam());
	bytes num(4, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_num", {&num}), failed);
	EXPECT_EQ(u32_at(num, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("usrdata")});
	EXPECT_FALSE(called("put_mtd_device"));
}

TEST_P(datapath_usrdata_lost, makes_the_answer_0)
{
	harness::fail("get_mtd_device_nm", GetParam());
	bytes exist(4, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_is_exist", {&exist}), 0u);
	EXPECT_EQ(u32_at(exist, 0), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_FALSE(called("put_mtd_device"));
}

TEST_P(datapath_usrdata_lost, at_the_first_look_up_makes_the_size_info_fail_with_two_messages)
{
	harness::fail("get_mtd_device_nm", GetParam());
	bytes info(part_info_size, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {&info}), failed);
	EXPECT_EQ(harness::log(), (log_lines{no_usrdata("usrdata"), no_part_num}));
	EXPECT_EQ(u32_at(info, 0), 0u);
	EXPECT_EQ(u64_at(info, part_info_field), 0xEEEEEEEEEEEEEEEEu);
}

TEST_P(datapath_usrdata_lost, at_the_second_look_up_makes_the_size_info_fail_with_one_message)
{
	harness::fail("get_mtd_device_nm", GetParam(), 2);
	bytes info(part_info_size, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {&info}), failed);
	EXPECT_EQ(harness::log(), log_lines{no_usrdata("usrdata")});
	EXPECT_EQ(u32_at(info, 0), 1u);
	EXPECT_EQ(u64_at(info, part_info_field), 0xEEEEEEEEEEEEEEEEu);
	EXPECT_EQ(deeds(), (call_list{"get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)", "get_mtd_device_nm(\"usrdata\")"}));
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_usrdata_lost, testing::Values(0, error_no_device, error_last),
			 [](const auto &row) { return as_case_name(row.param); });

class datapath_giant_usrdata : public on_loaded_module {
protected:
	void prepare() override { harness::add_mtd({.name = "usrdata", .size = 0x500000000}); }
};

TEST_F(datapath_giant_usrdata, has_its_whole_size_in_the_size_info)
{
	bytes info(part_info_size);
	EXPECT_EQ(harness::call("drv_flash_get_nand_part_size_info", {&info}), 0u);
	EXPECT_EQ(u64_at(info, part_info_field), 0x500000000u);
}

// ---------------------------------------------------------------------------------------------------------------- NAND types

struct type_verdict {
	uint32_t type;
	uint32_t is_nand;
};

class datapath_nand_type : public on_loaded_module, public testing::WithParamInterface<type_verdict> {};

TEST_P(datapath_nand_type, is_told_from_others)
{
	EXPECT_EQ(harness::call("drv_flash_mtd_is_nand", {GetParam().type}), GetParam().is_nand);
	EXPECT_EQ(harness::calls(), call_list());
}

INSTANTIATE_TEST_SUITE_P(of, datapath_nand_type,
			 testing::Values(type_verdict{0, 0}, type_verdict{1, 0}, type_verdict{2, 0}, type_verdict{3, 0}, type_verdict{4, 1},
					 type_verdict{5, 0}, type_verdict{6, 0}, type_verdict{7, 0}, type_verdict{8, 1}, type_verdict{9, 0},
					 type_verdict{12, 0}, type_verdict{0x104, 0}, type_verdict{0x80000008, 0},
					 type_verdict{0xFFFFFFFF, 0}),
			 [](const auto &row) { return hexadecimal(row.param.type); });

// ---------------------------------------------------------------------------------------------------------------- sweeps

TEST_F(datapath_usrdata, count_fails_with_each_look_up_and_succeeds_next_time)
{
	bytes num(4);
	sweep_failures("get_mtd_device_nm", error_no_device, [&] { return harness::call("drv_flash_get_nand_part_num", {&num}); });
}

TEST_F(datapath_usrdata, size_info_fails_with_each_look_up_and_succeeds_next_time)
{
	bytes info(part_info_size);
	sweep_failures("get_mtd_device_nm", 0, [&] { return harness::call("drv_flash_get_nand_part_size_info", {&info}); });
}

TEST_F(datapath_info, fails_with_each_look_up_and_succeeds_next_time)
{
	bytes info(info_size);
	sweep_failures("get_mtd_device_nm", error_no_device, [&] { return get_info("nand", &info); });
}

TEST_F(datapath_size, fails_with_each_look_up_and_succeeds_next_time)
{
	bytes size(8);
	sweep_failures("get_mtd_device_nm", 0, [&] { return harness::call("drv_flash_get_mtd_size", {"nand", &size}); });
}

} // namespace
} // namespace conformance
