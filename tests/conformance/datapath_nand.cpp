// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// NAND partitions: transfers through the platform's flash service at their offset, and which of them take this path. Every failure on
// both paths.
#include "listed_words.hpp"

namespace conformance {
namespace {

// ---------------------------------------------------------------------------------------------------------------- the normal path

class datapath_normal : public on_nand {};

TEST_F(datapath_normal, read_asks_the_service_for_the_very_range)
{
	bytes buf(0x20);
	EXPECT_EQ(mtd_read("nand", 0x1234, &buf, 0x20), 0u);
	EXPECT_EQ(deeds(),
		  (call_list{"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)", "get_mtd_device_nm(\"nand\")", "put_mtd_device(-)",
			     "snprintf_s(-, 32, 31, \"/dev/mtd%d\")", "plat_mtd_read_buf(\"/dev/mtd1\", 4660, -, 32)"}));
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("nand", 0x1234, 0x20)});
}

TEST_F(datapath_normal, write_gives_the_service_the_very_range)
{
	EXPECT_EQ(mtd_write("nand", 0x1234, pattern(0x20), 0x20), 0u);
	EXPECT_EQ(deeds(), (call_list{"get_mtd_device_nm(\"nand\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtd%d\")",
				      "plat_mtd_update_buf(\"/dev/mtd1\", 4660, -, 32)"}));
	EXPECT_EQ(harness::log(), log_lines{normal_write_note("nand", 0x1234, 0x20)});
}

TEST_F(datapath_normal, message_comes_before_the_service_is_called)
{
	bytes buf(4);
	EXPECT_EQ(mtd_read("nand", 0, &buf, 4), 0u);
	EXPECT_EQ(names_from_last("drv_log_record"), (call_list{"drv_log_record", "plat_mtd_read_buf"}));
	EXPECT_EQ(mtd_write("nand", 0, buf, 4), 0u);
	EXPECT_EQ(names_from_last("drv_log_record"), (call_list{"drv_log_record", "plat_mtd_update_buf"}));
}

TEST_F(datapath_normal, mlc_nand_takes_it_too)
{
	const int mlc = add({.name = "mlc", .size = nand_size, .type = harness::mtd_mlc_nand});
	bytes buf(16);
	EXPECT_EQ(mtd_read("mlc", 0x80, &buf, 16), 0u);
	EXPECT_EQ(buf, original(mlc, 0x80, 16));
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("mlc", 0x80, 16)});
	EXPECT_EQ(mtd_write("mlc", 0x80, pattern(16), 16), 0u);
	expect_changed(mlc, 0x80, pattern(16));
}

TEST_F(datapath_normal, offset_is_widened_without_its_sign)
{
	add({.name = "large", .size = 0xFFFF0000});
	harness::fail("plat_mtd_read_buf", 5);
	harness::fail("plat_mtd_update_buf", 5);
	bytes buf(16);
	EXPECT_EQ(mtd_read("large", 0xFFFEFFF0, &buf, 16), 5u);
	EXPECT_EQ(mtd_write("large", 0xFFFEFFF0, buf, 16), 5u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd3\", 4294901744, -, 16)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd3\", 4294901744, -, 16)"});
	EXPECT_EQ(harness::log(), (log_lines{normal_read_trace("large", 0xFFFEFFF0, 16), normal_write_note("large", 0xFFFEFFF0, 16)}));
}

TEST_F(datapath_normal, length_is_widened_without_its_sign)
{
	add({.name = "large", .size = 0xFFFF0000});
	harness::fail("plat_mtd_read_buf", 5);
	bytes buf(16);
	EXPECT_EQ(mtd_read("large", 0, &buf, 0xFFFF0000), 5u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd3\", 0, -, 4294901760)"});
}

TEST_F(datapath_normal, inner_transfers_pass_their_arguments_on_untested)
{
	harness::fail("plat_mtd_read_buf", 0);
	harness::fail("plat_mtd_update_buf", 0);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_read", {"anything", "/dev/mtd17", 0xFFFFFFFF, nullptr, 0xFFFFFFFE}), 0u);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_write", {"anything", "/dev/mtd17", 0xFFFFFFFF, nullptr, 0}), 0u);
	EXPECT_EQ(deeds(), (call_list{"plat_mtd_read_buf(\"/dev/mtd17\", 4294967295, -, 4294967294)",
				      "plat_mtd_update_buf(\"/dev/mtd17\", 4294967295, -, 0)"}));
	EXPECT_EQ(harness::log(),
		  (log_lines{normal_read_trace("anything", 0xFFFFFFFF, 0xFFFFFFFE), normal_write_note("anything", 0xFFFFFFFF, 0)}));
}

TEST_F(datapath_normal, unchanged_content_is_not_erased_on_a_read)
{
	const auto before = harness::mtd_count(nand);
	bytes buf(nand_size);
	EXPECT_EQ(mtd_read("nand", 0, &buf, nand_size), 0u);
	EXPECT_TRUE(buf == original(nand, 0, nand_size));
	EXPECT_EQ(harness::mtd_count(nand).erases, before.erases);
	EXPECT_EQ(harness::mtd_count(nand).writes, before.writes);
}

class datapath_normal_status : public on_nand, public testing::WithParamInterface<uint32_t> {};

TEST_P(datapath_normal_status, of_a_read_comes_back_unchanged)
{
	harness::fail("plat_mtd_read_buf", GetParam());
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("nand", 0, &buf, 16), GetParam());
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("nand", 0, 16)});
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_P(datapath_normal_status, of_a_write_comes_back_unchanged)
{
	harness::fail("plat_mtd_update_buf", GetParam());
	EXPECT_EQ(mtd_write("nand", 0, pattern(16), 16), GetParam());
	EXPECT_EQ(harness::log(), log_lines{normal_write_note("nand", 0, 16)});
	expect_unchanged(nand);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_normal_status, statuses, name_of_status);

class datapath_normal_range : public on_three_partitions, public testing::WithParamInterface<range> {};

TEST_P(datapath_normal_range, is_read)
{
	const auto [offset, len] = GetParam();
	bytes buf(len + 8, 0xEE);
	EXPECT_EQ(mtd_read("nand", offset, &buf, len), 0u);
	bytes expected = original(nand, offset, len);
	expected.insert(expected.end(), 8, 0xEE);
	EXPECT_TRUE(buf == expected);
}

TEST_P(datapath_normal_range, is_written_and_nothing_else)
{
	const auto [offset, len] = GetParam();
	EXPECT_EQ(mtd_write("nand", offset, pattern(len, 70), len), 0u);
	expect_changed(nand, offset, pattern(len, 70));
	expect_unchanged(listed);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_normal_range,
			 testing::Values(range{0, 1}, range{0, 0x40000}, range{0x3FFFF, 1}, range{0xFFFF, 2}, range{0x3F000, 0x1000},
					 range{0x123, 0x4567}),
			 name_of_range<range>);

// ---------------------------------------------------------------------------------------------------------------- other tables

class datapath_without_table : public on_listed {
protected:
	const char *configuration() const override { return "no_lists"; }
};

TEST_F(datapath_without_table, every_nand_partition_takes_the_normal_path)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("listed", 0x80, &buf, 16), 0u);
	EXPECT_EQ(mtd_write("listed", 0x90, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log(), (log_lines{normal_read_trace("listed", 0x80, 16), normal_write_note("listed", 0x90, 16)}));
	EXPECT_EQ(buf, original(listed, 0x80, 16));
	expect_changed(listed, 0x90, pattern(16));
}

class datapath_table_of_long_names : public on_listed {
protected:
	const char *configuration() const override { return "long_names"; }
};

TEST_F(datapath_table_of_long_names, finds_its_short_name)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("listed", 0x80, &buf, 16), 0u);
	EXPECT_EQ(harness::log(), log_lines{total_read_trace(0x80, 16)});
}

TEST_F(datapath_table_of_long_names, does_not_find_the_first_31_characters_of_a_long_one)
{
	add({.name = "ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", .size = 0x10000});
	bytes buf(16);
	EXPECT_EQ(mtd_read("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", 0x80, &buf, 16), 0u);
	EXPECT_EQ(harness::log(), log_lines{normal_read_trace("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", 0x80, 16)});
}

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	const char *name;
	const char *function;
	long long result;
};

std::string name_of_sweep(const testing::TestParamInfo<swept> &row)
{
	return row.param.name + std::string("_") + row.param.function;
}

class datapath_nand_read_failure : public on_three_partitions, public testing::WithParamInterface<swept> {
protected:
	int index() const { return GetParam().name == std::string("nand") ? nand : listed; }
};

TEST_P(datapath_nand_read_failure, holds_nothing_and_the_next_read_succeeds)
{
	bytes buf(0x40);
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return mtd_read(GetParam().name, 0x123, &buf, 0x40); },
		[&](bool succeeded) {
			if (succeeded) {
				EXPECT_EQ(buf, original(index(), 0x123, 0x40));
			}
			expect_unchanged(index());
		});
}

TEST_P(datapath_nand_read_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	bytes buf(0x40);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(mtd_read(GetParam().name, 0x123, &buf, 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(in, datapath_nand_read_failure,
			 testing::Values(swept{"nand", "memset_s", 22}, swept{"nand", "get_mtd_device_nm", 0},
					 swept{"nand", "snprintf_s", -1}, swept{"nand", "plat_mtd_read_buf", 5},
					 swept{"listed", "memset_s", 22}, swept{"listed", "get_mtd_device_nm", error_no_device},
					 swept{"listed", "snprintf_s", -1}, swept{"listed", "vzalloc", 0},
					 swept{"listed", "plat_mtd_read_buf", 5}, swept{"listed", "memcpy_s", 34}),
			 name_of_sweep);

class datapath_nand_write_failure : public on_three_partitions, public testing::WithParamInterface<swept> {
protected:
	int index() const { return GetParam().name == std::string("nand") ? nand : listed; }
};

TEST_P(datapath_nand_write_failure, changes_nothing_and_the_next_write_succeeds)
{
	const bytes data = pattern(0x40, 60);
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return mtd_write(GetParam().name, 0x123, data, 0x40); },
		[&](bool succeeded) {
			if (succeeded)
				expect_changed(index(), 0x123, data);
			else
				expect_unchanged(index());
			harness::set_mtd_content(index(), 0x123, original(index(), 0x123, 0x40));
		});
}

TEST_P(datapath_nand_write_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(mtd_write(GetParam().name, 0x123, pattern(0x40), 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
	expect_unchanged(index());
}

INSTANTIATE_TEST_SUITE_P(in, datapath_nand_write_failure,
			 testing::Values(swept{"nand", "get_mtd_device_nm", 0}, swept{"nand", "snprintf_s", -1},
					 swept{"nand", "plat_mtd_update_buf", 5}, swept{"listed", "get_mtd_device_nm", error_no_device},
					 swept{"listed", "snprintf_s", -1}, swept{"listed", "vzalloc", 0},
					 swept{"listed", "plat_mtd_read_buf", 5}, swept{"listed", "memcpy_s", 34},
					 swept{"listed", "plat_mtd_update_buf", 5}),
			 name_of_sweep);

} // namespace
} // namespace conformance
