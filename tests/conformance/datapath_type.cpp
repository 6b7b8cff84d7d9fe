// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Whether a named MTD device is NAND: 0 when it is, 1 when it is not.
#include "partition_words.hpp"

namespace conformance {
namespace {

const bytes untouched(8, 0xA5);

uint32_t get_type(harness::argument name, bytes *type)
{
	return harness::call("drv_flash_get_type", {std::move(name), type});
}

class datapath_type : public on_nand {};
class datapath_type_alone : public on_partitions {};

struct typed {
	uint32_t mtd_type;
	uint32_t told;
};

class datapath_type_of : public on_partitions, public testing::WithParamInterface<typed> {};

TEST_P(datapath_type_of, is_told)
{
	add({.name = "typed", .size = 0x10000, .type = GetParam().mtd_type});
	bytes type(4, 0xA5);
	EXPECT_EQ(get_type("typed", &type), 0u);
	EXPECT_EQ(u32_at(type, 0), GetParam().told);
	EXPECT_EQ(harness::log(), log_lines());
}

INSTANTIATE_TEST_SUITE_P(kind, datapath_type_of,
			 testing::Values(typed{1, 1}, typed{2, 1}, typed{3, 1}, typed{4, 0}, typed{6, 1}, typed{7, 1}, typed{8, 0}),
			 [](const auto &row) { return as_case_name(row.param.mtd_type); });

TEST_F(datapath_type, looks_the_device_up_and_releases_it)
{
	bytes type(4);
	EXPECT_EQ(get_type("nand", &type), 0u);
	EXPECT_EQ(harness::calls(), (call_list{"get_mtd_device_nm(\"nand\")", "put_mtd_device(-)"}));
	EXPECT_EQ(harness::mtd_use_count(nand), 0);
}

TEST_F(datapath_type, is_four_bytes)
{
	add_nor();
	bytes type = untouched;
	EXPECT_EQ(get_type("nor", &type), 0u);
	EXPECT_EQ(type, (bytes{1, 0, 0, 0, 0xA5, 0xA5, 0xA5, 0xA5}));
}

TEST_F(datapath_type, needs_no_flash_driver_and_no_spi_flash)
{
	bytes type(4, 0xA5);
	EXPECT_EQ(get_type("nand", &type), 0u);
	EXPECT_EQ(harness::global("g_flash_funcs", 8), bytes(8, 0));
	EXPECT_FALSE(called("linux_spin_lock"));
}

TEST_F(datapath_type, is_fresh_at_each_call)
{
	bytes type(4);
	EXPECT_EQ(get_type("nand", &type), 0u);
	EXPECT_EQ(u32_at(type, 0), 0u);
	harness::remove_mtd(nand);
	add({.name = "nand", .size = 0x20000, .type = harness::mtd_nor});
	EXPECT_EQ(get_type("nand", &type), 0u);
	EXPECT_EQ(u32_at(type, 0), 1u);
}

TEST_F(datapath_type_alone, of_an_unknown_name_leaves_the_answer_alone)
{
	bytes type = untouched;
	EXPECT_EQ(get_type("absent", &type), no_partition);
	EXPECT_EQ(type, untouched);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
}

TEST_F(datapath_type_alone, of_a_name_of_31_characters_is_told)
{
	add({.name = name_of_31, .size = 0x10000});
	bytes type(4, 0xA5);
	EXPECT_EQ(get_type(name_of_31, &type), 0u);
	EXPECT_EQ(u32_at(type, 0), 0u);
}

class datapath_type_bad_name : public on_partitions, public testing::WithParamInterface<const char *> {};

TEST_P(datapath_type_bad_name, is_refused_before_any_lookup)
{
	bytes type = untouched;
	EXPECT_EQ(get_type(GetParam() ? harness::argument(GetParam()) : harness::argument(nullptr), &type), invalid);
	EXPECT_EQ(type, untouched);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
	EXPECT_EQ(deeds(), call_list());
}

TEST_P(datapath_type_bad_name, comes_before_the_missing_answer)
{
	EXPECT_EQ(get_type(GetParam() ? harness::argument(GetParam()) : harness::argument(nullptr), nullptr), invalid);
	EXPECT_EQ(harness::log(), log_lines{bad_mtd_name});
}

INSTANTIATE_TEST_SUITE_P(that_is, datapath_type_bad_name, testing::Values("", name_of_32, static_cast<const char *>(nullptr)),
			 [](const auto &row) {
				 return std::string(!row.param ? "null" : *row.param ? "too_long" : "empty");
			 });

TEST_F(datapath_type, without_an_answer_is_refused_after_the_lookup)
{
	EXPECT_EQ(get_type("nand", nullptr), null_pointer);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(deeds(), (call_list{"get_mtd_device_nm(\"nand\")", "put_mtd_device(-)"}));
}

TEST_F(datapath_type_alone, of_an_unknown_name_without_an_answer_is_not_found)
{
	EXPECT_EQ(get_type("absent", nullptr), no_partition);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
}

class datapath_type_lookup : public on_nand, public testing::WithParamInterface<long long> {};

TEST_P(datapath_type_lookup, that_fails_is_not_found)
{
	harness::fail("get_mtd_device_nm", GetParam());
	bytes type = untouched;
	EXPECT_EQ(get_type("nand", &type), no_partition);
	EXPECT_EQ(type, untouched);
	EXPECT_EQ(harness::log(), log_lines{no_mtd_device});
	EXPECT_FALSE(called("put_mtd_device"));
	EXPECT_EQ(get_type("nand", &type), 0u);
	EXPECT_EQ(u32_at(type, 0), 0u);
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_type_lookup, testing::Values(0, -1, error_no_device, error_last),
			 [](const auto &row) { return as_case_name(row.param); });

} // namespace
} // namespace conformance
