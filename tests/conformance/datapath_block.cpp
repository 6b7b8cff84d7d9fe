// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Partitions that are not NAND: transfers through their block device.
#include "partition_words.hpp"

namespace conformance {
namespace {

class datapath_block : public on_nor {};

// ---------------------------------------------------------------------------------------------------------------- order of calls

TEST_F(datapath_block, read_opens_seeks_reads_and_closes)
{
	bytes buf(0x30);
	EXPECT_EQ(mtd_read("nor", 0x120, &buf, 0x30), 0u);
	EXPECT_EQ(harness::calls(),
		  (call_list{"memset_s(-, 16, 0, 16)", "memset_s(-, 32, 0, 32)", "get_mtd_device_nm(\"nor\")", "put_mtd_device(-)",
			     "snprintf_s(-, 32, 31, \"/dev/mtdblock%d\")", "filp_open(\"/dev/mtdblock0\", 0x0, 0x0)",
			     "vfs_llseek(-, 288, 0)", "kernel_read(-, -, 48, -)", "filp_close(-, -)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_block, write_opens_seeks_writes_flushes_and_closes)
{
	EXPECT_EQ(mtd_write("nor", 0x120, pattern(0x30), 0x30), 0u);
	EXPECT_EQ(harness::calls(),
		  (call_list{"get_mtd_device_nm(\"nor\")", "put_mtd_device(-)", "snprintf_s(-, 32, 31, \"/dev/mtdblock%d\")",
			     "filp_open(\"/dev/mtdblock0\", 0x2, 0x0)", "vfs_llseek(-, 288, 0)", "kernel_write(-, -, 48, -)",
			     "vfs_fsync(-, 0)", "filp_close(-, -)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(datapath_block, read_seeks_to_the_start_too)
{
	bytes buf(1);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 1), 0u);
	EXPECT_EQ(calls_of("vfs_llseek"), call_list{"vfs_llseek(-, 0, 0)"});
}

TEST_F(datapath_block, offset_is_widened_without_its_sign)
{
	add({.name = "large", .size = 0xFFFF0000, .type = harness::mtd_nor});
	bytes buf(16);
	EXPECT_EQ(mtd_read("large", 0x80000010, &buf, 16), 0u);
	EXPECT_EQ(calls_of("vfs_llseek"), call_list{"vfs_llseek(-, 2147483664, 0)"});
}

TEST_F(datapath_block, transfers_take_no_lock_and_no_memory)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 16), 0u);
	EXPECT_EQ(mtd_write("nor", 0, buf, 16), 0u);
	EXPECT_FALSE(called("linux_mutex_lock"));
	EXPECT_FALSE(called("vzalloc"));
	EXPECT_FALSE(called("down_killable"));
}

TEST_F(datapath_block, listed_partition_that_is_not_nand_goes_through_its_block_device)
{
	const int index = add({.name = "listed_nor", .size = 0x20000, .type = harness::mtd_nor});
	bytes buf(16);
	EXPECT_EQ(mtd_read("listed_nor", 0x18000, &buf, 16), 0u);
	EXPECT_EQ(buf, original(index, 0x18000, 16));
	EXPECT_EQ(mtd_write("listed_nor", 0x18000, pattern(16), 16), 0u);
	expect_changed(index, 0x18000, pattern(16));
	EXPECT_FALSE(called("plat_mtd_read_buf"));
	EXPECT_FALSE(called("plat_mtd_update_buf"));
	EXPECT_FALSE(called("linux_mutex_lock"));
}

// ---------------------------------------------------------------------------------------------------------------- content

struct range {
	uint32_t offset, len;
};

class datapath_block_range : public on_three_partitions, public testing::WithParamInterface<range> {};

TEST_P(datapath_block_range, is_read)
{
	const auto [offset, len] = GetParam();
	bytes buf(len + 8, 0xEE);
	EXPECT_EQ(mtd_read("nor", offset, &buf, len), 0u);
	bytes expected = original(nor, offset, len);
	expected.insert(expected.end(), 8, 0xEE);
	EXPECT_TRUE(buf == expected);
	expect_unchanged(nor);
}

TEST_P(datapath_block_range, is_written_and_nothing_else)
{
	const auto [offset, len] = GetParam();
	EXPECT_EQ(mtd_write("nor", offset, pattern(len, 50), len), 0u);
	expect_changed(nor, offset, pattern(len, 50));
	expect_unchanged(nand);
	expect_unchanged(listed);
}

TEST_P(datapath_block_range, is_read_back_as_written)
{
	const auto [offset, len] = GetParam();
	EXPECT_EQ(mtd_write("nor", offset, pattern(len, 51), len), 0u);
	bytes buf(len);
	EXPECT_EQ(mtd_read("nor", offset, &buf, len), 0u);
	EXPECT_TRUE(buf == pattern(len, 51));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_block_range,
			 testing::Values(range{0, 1}, range{0, 0x20000}, range{0x1FFFF, 1}, range{0x1F000, 0x1000}, range{0x1234, 0x56},
					 range{0xFFFF, 2}, range{0x1FF, 0x202}, range{1, 0x1FFFF}),
			 [](const auto &row) { return hexadecimal(row.param.len) + "_at_" + hexadecimal(row.param.offset); });

TEST_F(datapath_block, write_that_uses_part_of_its_buffer_writes_no_more)
{
	EXPECT_EQ(mtd_write("nor", 0x400, pattern(64, 3), 32), 0u);
	expect_changed(nor, 0x400, pattern(32, 3));
}

TEST_F(datapath_block, ram_is_a_block_device_too)
{
	const int ram = add({.name = "ram", .size = 0x10000, .type = harness::mtd_ram});
	EXPECT_EQ(mtd_write("ram", 0x333, pattern(100, 4), 100), 0u);
	expect_changed(ram, 0x333, pattern(100, 4));
}

TEST_F(datapath_block, two_transfers_start_at_their_own_offsets)
{
	bytes first(8), second(8);
	EXPECT_EQ(mtd_read("nor", 0x100, &first, 8), 0u);
	EXPECT_EQ(mtd_read("nor", 0x100, &second, 8), 0u);
	EXPECT_EQ(first, original(nor, 0x100, 8));
	EXPECT_EQ(second, first);
}

// ---------------------------------------------------------------------------------------------------------------- opening

class datapath_block_open : public on_nor, public testing::WithParamInterface<long long> {};

TEST_P(datapath_block_open, failure_ends_a_read)
{
	harness::fail("filp_open", GetParam());
	bytes buf(16, 0xEE);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 16), not_opened);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd read: open /dev/mtdblock0 failed ret=" + std::to_string(GetParam()))});
	EXPECT_EQ(deeds().back(), "filp_open(\"/dev/mtdblock0\", 0x0, 0x0)");
	EXPECT_EQ(buf, bytes(16, 0xEE));
}

TEST_P(datapath_block_open, failure_ends_a_write)
{
	harness::fail("filp_open", GetParam());
	EXPECT_EQ(mtd_write("nor", 0, pattern(16), 16), not_opened);
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(ordinary, "mtd write: open /dev/mtdblock0 fail. (ret=" + std::to_string(GetParam()) + ")")});
	EXPECT_EQ(deeds().back(), "filp_open(\"/dev/mtdblock0\", 0x2, 0x0)");
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_block_open, testing::Values(0, -1, -2, -13, error_last),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- seeking

struct forced {
	const char *label;
	uint32_t asked; // offset of a seek, length of a transfer
	long long result;
	uint32_t printed;
};

std::string label_of(const testing::TestParamInfo<forced> &row)
{
	return row.param.label;
}

// A partition as large as its size can say in 32 bits.
class on_largest_partition : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		largest = harness::add_mtd({.name = "largest", .size = 0xFFFFFFFF, .type = harness::mtd_ram, .erase_size = 0xFFFF});
	}

	int largest = -1;
};

const call_list after_bad_seek = {"vfs_llseek", "drv_log_record", "filp_close"};

call_list last_three_calls()
{
	const call_list names = call_names();
	return {names.end() - 3, names.end()};
}

class datapath_block_seek : public on_largest_partition, public testing::WithParamInterface<forced> {};

TEST_P(datapath_block_seek, to_another_place_ends_a_read)
{
	harness::fail("vfs_llseek", GetParam().result);
	bytes buf(4, 0xEE);
	EXPECT_EQ(mtd_read("largest", GetParam().asked, &buf, 4), failed);
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(ordinary, "mtd read: mtd largest lseek failed, ret = " + decimal(GetParam().printed) + " ")});
	EXPECT_EQ(last_three_calls(), after_bad_seek);
	EXPECT_EQ(harness::held().open_files, 0);
	EXPECT_EQ(buf, bytes(4, 0xEE));
}

TEST_P(datapath_block_seek, to_another_place_ends_a_write)
{
	harness::fail("vfs_llseek", GetParam().result);
	EXPECT_EQ(mtd_write("largest", GetParam().asked, pattern(4), 4), failed);
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(ordinary, "mtd write: mtd largest lseek failed, ret = " + decimal(GetParam().printed) + " ")});
	EXPECT_EQ(last_three_calls(), after_bad_seek);
	EXPECT_EQ(harness::held().open_files, 0);
	EXPECT_EQ(harness::mtd_content(largest, 0, 4), bytes(4, 0xFF));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_block_seek,
			 testing::Values(forced{"an_error", 0x100, error_invalid, 0xFFFFFFEA}, forced{"one_too_few", 0x100, 0xFF, 0xFF},
					 forced{"one_too_many", 0x100, 0x101, 0x101}, forced{"the_start", 0x100, 0, 0},
					 forced{"another_place_4_gib_away", 0x100, 0x100000101, 0x101},
					 forced{"an_error_that_looks_like_the_offset", 0xFFFFFFEA, error_invalid, 0xFFFFFFEA},
					 forced{"the_last_error_that_looks_like_the_offset", 0xFFFFF001, error_last, 0xFFFFF001},
					 forced{"a_small_error_that_looks_like_the_offset", 0xFFFFFFFA, -6, 0xFFFFFFFA}),
			 label_of);

class datapath_block_seek_by_low_bits : public on_largest_partition, public testing::WithParamInterface<forced> {};

TEST_P(datapath_block_seek_by_low_bits, is_good_enough_for_a_read)
{
	harness::set_mtd_content(largest, 0, pattern(4));
	harness::fail("vfs_llseek", GetParam().result);
	bytes buf(4);
	EXPECT_EQ(mtd_read("largest", GetParam().asked, &buf, 4), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(buf, pattern(4)) << "the file is still at its start";
}

TEST_P(datapath_block_seek_by_low_bits, is_good_enough_for_a_write)
{
	harness::fail("vfs_llseek", GetParam().result);
	EXPECT_EQ(mtd_write("largest", GetParam().asked, pattern(4), 4), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::mtd_content(largest, 0, 4), pattern(4));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_block_seek_by_low_bits,
			 testing::Values(forced{"a_place_4_gib_away", 0x100, 0x100000100, 0},
					 forced{"a_far_place", 0x100, 0x7FFFFFFF00000100, 0},
					 forced{"a_negative_number_that_is_no_error", 0xFFFFF000, -4096, 0},
					 forced{"a_very_negative_number", 0x100, static_cast<long long>(0x8000000000000100ULL), 0}),
			 label_of);

// ---------------------------------------------------------------------------------------------------------------- moving the bytes

class datapath_block_count : public on_largest_partition, public testing::WithParamInterface<forced> {};

TEST_P(datapath_block_count, that_differs_ends_a_read)
{
	harness::fail("kernel_read", GetParam().result);
	bytes buf(64, 0xEE);
	EXPECT_EQ(mtd_read("largest", 0, &buf, GetParam().asked), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd largest read failed, ret = " + decimal(GetParam().printed) + " ")});
	EXPECT_EQ(last_three_calls(), (call_list{"kernel_read", "drv_log_record", "filp_close"}));
	EXPECT_EQ(harness::held().open_files, 0);
}

TEST_P(datapath_block_count, that_differs_ends_a_write_without_a_flush)
{
	harness::fail("kernel_write", GetParam().result);
	EXPECT_EQ(mtd_write("largest", 0, pattern(64), GetParam().asked), failed);
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(ordinary, "mtd write: mtd largest write failed, ret = " + decimal(GetParam().printed) + " ")});
	EXPECT_EQ(last_three_calls(), (call_list{"kernel_write", "drv_log_record", "filp_close"}));
	EXPECT_EQ(harness::held().open_files, 0);
}

INSTANTIATE_TEST_SUITE_P(of, datapath_block_count,
			 testing::Values(forced{"nothing", 16, 0, 0}, forced{"one_byte_less", 16, 15, 15},
					 forced{"one_byte_more", 16, 17, 17}, forced{"an_error", 16, error_io, 0xFFFFFFFB},
					 forced{"nothing_and_4_gib", 16, 0x100000000, 0},
					 forced{"an_error_that_looks_like_the_length", 0xFFFFFFFB, error_io, 0xFFFFFFFB},
					 forced{"the_last_error_that_looks_like_the_length", 0xFFFFF001, error_last, 0xFFFFF001},
					 forced{"no_permission_that_looks_like_the_length", 0xFFFFFFFF, -1, 0xFFFFFFFF}),
			 label_of);

class datapath_block_count_by_low_bits : public on_largest_partition, public testing::WithParamInterface<forced> {};

TEST_P(datapath_block_count_by_low_bits, is_good_enough_for_a_read)
{
	harness::fail("kernel_read", GetParam().result);
	bytes buf(64);
	EXPECT_EQ(mtd_read("largest", 0, &buf, GetParam().asked), 0u);
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(datapath_block_count_by_low_bits, is_good_enough_for_a_write)
{
	harness::fail("kernel_write", GetParam().result);
	EXPECT_EQ(mtd_write("largest", 0, pattern(64), GetParam().asked), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_TRUE(called("vfs_fsync"));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_block_count_by_low_bits,
			 testing::Values(forced{"the_length_and_4_gib", 16, 0x100000010, 0},
					 forced{"a_negative_number_that_is_no_error", 0xFFFFF000, -4096, 0}),
			 label_of);

// A block device holds whole sectors; a partition may be a little larger.
class datapath_block_short : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		odd = add({.name = "odd", .size = 0x20100, .type = harness::mtd_ram, .erase_size = 0x100});
	}

	int odd = -1;
};

TEST_F(datapath_block_short, read_fails_and_leaves_what_it_got_in_the_buffer)
{
	bytes buf(0x20, 0xEE);
	EXPECT_EQ(mtd_read("odd", 0x1FFF0, &buf, 0x20), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd odd read failed, ret = 16 ")});
	bytes expected = original(odd, 0x1FFF0, 0x10);
	expected.insert(expected.end(), 0x10, 0xEE);
	EXPECT_EQ(buf, expected);
	EXPECT_EQ(harness::held().open_files, 0);
}

TEST_F(datapath_block_short, read_up_to_the_end_of_the_block_device_is_whole)
{
	bytes buf(0x10);
	EXPECT_EQ(mtd_read("odd", 0x1FFF0, &buf, 0x10), 0u);
	EXPECT_EQ(buf, original(odd, 0x1FFF0, 0x10));
}

TEST_F(datapath_block_short, read_right_behind_the_block_device_gets_nothing)
{
	bytes buf(0x10, 0xEE);
	EXPECT_EQ(mtd_read("odd", 0x20000, &buf, 0x10), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd odd read failed, ret = 0 ")});
	EXPECT_EQ(buf, bytes(0x10, 0xEE));
}

TEST_F(datapath_block_short, read_farther_behind_the_block_device_cannot_seek)
{
	bytes buf(0x10, 0xEE);
	EXPECT_EQ(mtd_read("odd", 0x20001, &buf, 0x10), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd read: mtd odd lseek failed, ret = 4294967274 ")});
	EXPECT_EQ(harness::held().open_files, 0);
}

TEST_F(datapath_block_short, write_fails_without_a_flush)
{
	EXPECT_EQ(mtd_write("odd", 0x1FFF0, pattern(0x20), 0x20), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd write: mtd odd write failed, ret = 16 ")});
	EXPECT_FALSE(called("vfs_fsync"));
	EXPECT_EQ(harness::held().open_files, 0);
}

TEST_F(datapath_block_short, write_right_behind_the_block_device_finds_no_room)
{
	EXPECT_EQ(mtd_write("odd", 0x20000, pattern(0x10), 0x10), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd write: mtd odd write failed, ret = 4294967268 ")});
}

TEST_F(datapath_block_short, write_farther_behind_the_block_device_cannot_seek)
{
	EXPECT_EQ(mtd_write("odd", 0x20001, pattern(0x10), 0x10), failed);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd write: mtd odd lseek failed, ret = 4294967274 ")});
}

// ---------------------------------------------------------------------------------------------------------------- flushing

TEST_F(datapath_block, flush_that_fails_does_not_matter)
{
	harness::fail("vfs_fsync", error_io);
	EXPECT_EQ(mtd_write("nor", 0x10, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_EQ(call_names().back(), "filp_close");
}

TEST_F(datapath_block, read_does_not_flush)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("nor", 0x10, &buf, 16), 0u);
	EXPECT_FALSE(called("vfs_fsync"));
}

TEST_F(datapath_block, content_is_on_the_flash_when_the_write_returns)
{
	const auto before = harness::mtd_count(nor);
	EXPECT_EQ(mtd_write("nor", 0x10, pattern(16), 16), 0u);
	const auto after = harness::mtd_count(nor);
	EXPECT_GT(after.writes, before.writes);
	EXPECT_GT(after.erases, before.erases);
	expect_changed(nor, 0x10, pattern(16));
}

TEST_F(datapath_block, read_leaves_the_flash_alone)
{
	const auto before = harness::mtd_count(nor);
	bytes buf(0x20000);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 0x20000), 0u);
	EXPECT_EQ(harness::mtd_count(nor).writes, before.writes);
	EXPECT_EQ(harness::mtd_count(nor).erases, before.erases);
}

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	const char *function;
	long long result;
};

class datapath_block_read_failure : public on_nor, public testing::WithParamInterface<swept> {};

TEST_P(datapath_block_read_failure, holds_nothing_and_the_next_read_succeeds)
{
	bytes buf(0x40);
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return mtd_read("nor", 0x123, &buf, 0x40); },
		[&](bool succeeded) {
			if (succeeded) {
				EXPECT_EQ(buf, original(nor, 0x123, 0x40));
			}
			expect_unchanged(nor);
		});
}

TEST_P(datapath_block_read_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	bytes buf(0x40);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(mtd_read("nor", 0x123, &buf, 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(in, datapath_block_read_failure,
			 testing::Values(swept{"memset_s", 22}, swept{"get_mtd_device_nm", error_no_device}, swept{"snprintf_s", -1},
					 swept{"filp_open", error_io}, swept{"vfs_llseek", error_io}, swept{"kernel_read", error_io}),
			 [](const auto &row) { return row.param.function; });

class datapath_block_write_failure : public on_nor, public testing::WithParamInterface<swept> {};

TEST_P(datapath_block_write_failure, changes_nothing_and_the_next_write_succeeds)
{
	const bytes data = pattern(0x40, 60);
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return mtd_write("nor", 0x123, data, 0x40); },
		[&](bool succeeded) {
			if (succeeded)
				expect_changed(nor, 0x123, data);
			else
				expect_unchanged(nor);
			harness::set_mtd_content(nor, 0x123, original(nor, 0x123, 0x40));
		});
}

TEST_P(datapath_block_write_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(mtd_write("nor", 0x123, pattern(0x40), 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(in, datapath_block_write_failure,
			 testing::Values(swept{"get_mtd_device_nm", 0}, swept{"snprintf_s", -1}, swept{"filp_open", error_io},
					 swept{"vfs_llseek", error_io}, swept{"kernel_write", error_io}),
			 [](const auto &row) { return row.param.function; });

} // namespace
} // namespace conformance
