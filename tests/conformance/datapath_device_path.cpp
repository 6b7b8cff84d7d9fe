// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A path is a number: what a transfer moves when MTD devices go and come meanwhile.
#include "section_words.hpp"

namespace conformance {
namespace {

using harness::kernel_call;
using harness::mtd_removal;

constexpr uint32_t uncorrectable = 0x70050008; // a status of the flash service

class datapath_device_path : public on_sections {};

const mtd_spec nor_made_anew = {.name = "nor", .size = 0x20000, .type = harness::mtd_nor, .index = 0};

// Linux releases a block device when the task returns to user space, and until then its number is taken.
TEST_F(datapath_device_path, of_a_device_made_anew_within_one_system_call_cannot_be_opened)
{
	bytes first(16), last(16);
	const kernel_call read_first = {"drv_flash_mtd_read", {"nor", 0, &first, 16}},
			  read_last = {"drv_flash_mtd_read", {"nor", 0, &last, 16}};
	EXPECT_EQ(harness::one_system_call({read_first, mtd_removal{nor}, nor_made_anew, read_last}),
		  (std::vector<uint32_t>{0, not_opened}));
	EXPECT_EQ(first, original(nor, 0, 16));
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, "mtd read: open /dev/mtdblock0 failed ret=-2")});
	harness::remove_mtd(nor);
	harness::add_mtd(nor_made_anew);
	EXPECT_EQ(mtd_read("nor", 0, &last, 16), 0u) << "made anew once more";
	EXPECT_EQ(last, bytes(16, 0xFF));
}

TEST_F(datapath_device_path, of_a_section_on_it_cannot_be_opened_either)
{
	bytes buf(16);
	const kernel_call read = {"drv_flash_read", {default_instance, one, 0x1000, &buf, 16}};
	EXPECT_EQ(harness::one_system_call({read, mtd_removal{nor}, nor_made_anew, read}), (std::vector<uint32_t>{0, not_opened}));
}

TEST_F(datapath_device_path, of_a_device_made_anew_in_another_system_call_is_opened)
{
	bytes buf(16);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 16), 0u);
	harness::remove_mtd(nor);
	harness::add_mtd(nor_made_anew);
	EXPECT_EQ(mtd_read("nor", 0, &buf, 16), 0u);
	EXPECT_EQ(buf, bytes(16, 0xFF));
}

TEST_F(datapath_device_path, to_nand_leads_to_whatever_has_the_number_when_the_flash_service_looks)
{
	add_listed();
	bytes buf(16);
	stopped_call before_service("plat_mtd_read_buf", [&] { return mtd_read("listed", 0, &buf, 16); });
	harness::remove_mtd(listed);
	const int other = add({.name = "other", .size = nand_size, .type = harness::mtd_nand, .index = listed});
	const bytes others = pattern(16, 70);
	harness::set_mtd_content(other, 0, others);
	EXPECT_EQ(before_service.let_go(), 0u);
	EXPECT_EQ(buf, others);
}

// The flash service is asked before the range is held against the usable bytes.
TEST_F(datapath_device_path, that_cannot_be_read_back_comes_before_a_range_that_is_too_long)
{
	add_listed();
	harness::fail("plat_mtd_read_buf", uncorrectable);
	EXPECT_EQ(mtd_write("listed", nand_size - 16, pattern(16), 16), uncorrectable);
	EXPECT_NE(mtd_write("listed", nand_size - 16, pattern(16), 16), 0u);
	expect_unchanged(listed);
}

} // namespace
} // namespace conformance
