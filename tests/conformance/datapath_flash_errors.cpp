// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the flash itself reports: an erase or a program that fails, on each transfer path. The one through a block device does not learn of
// it: Linux tells the flush, whose result does not matter.
#include "section_words.hpp"

namespace conformance {
namespace {

using harness::flash_operation;

constexpr uint32_t block = 0x10000, within_block = 0x100;
constexpr uint32_t erase_failed = 0x7005000A, program_failed = 0x7005000B; // statuses of the flash service

// All three transfer paths by name, and sections; the board "sections" lists a partition too.
class datapath_flash_error : public on_sections {
protected:
	static constexpr uint32_t section_start = 0x1000;

	void prepare() override
	{
		on_sections::prepare();
		add_nand();
		add_listed();
	}

	// An erase block is erased, all of it, and the others hold what they held at first.
	void expect_first_block_erased(int index, uint32_t size) const
	{
		EXPECT_TRUE(harness::mtd_content(index, 0, block) == bytes(block, 0xFF));
		EXPECT_TRUE(harness::mtd_content(index, block, size - block) == original(index, block, size - block));
	}

	const bytes data_ = pattern(16, 40);
};

// ---------------------------------------------------------------------------------------------------------------- when the flash sees it

TEST_F(datapath_flash_error, of_a_block_device_can_appear_at_the_flush_only)
{
	stopped_call at_flush("vfs_fsync", [&] { return mtd_write("nor", within_block, data_, 16); });
	expect_unchanged(nor);
	EXPECT_EQ(at_flush.let_go(), 0u);
	expect_changed(nor, within_block, data_);
}

TEST_F(datapath_flash_error, of_a_section_can_appear_before_the_file_is_closed)
{
	stopped_call at_close("filp_close", [&] { return section_write(default_instance, one, section_start + within_block, data_, 16); });
	expect_changed(nor, within_block, data_);
	EXPECT_EQ(at_close.let_go(), 0u);
}

TEST_F(datapath_flash_error, does_not_keep_the_last_close_from_writing_what_was_not_flushed)
{
	harness::fail("vfs_fsync", error_io);
	EXPECT_EQ(mtd_write("nor", within_block, data_, 16), 0u);
	expect_changed(nor, within_block, data_);
}

// ---------------------------------------------------------------------------------------------------------------- by name, block device

TEST_F(datapath_flash_error, in_the_erase_of_a_block_device_is_answered_0_and_nothing_is_written)
{
	harness::fail_flash(nor, flash_operation::erase);
	EXPECT_EQ(mtd_write("nor", within_block, data_, 16), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	expect_unchanged(nor);
}

TEST_F(datapath_flash_error, in_the_program_of_a_block_device_is_answered_0_and_a_whole_erase_block_is_left_erased)
{
	harness::fail_flash(nor, flash_operation::write);
	EXPECT_EQ(mtd_write("nor", within_block, data_, 16), 0u);
	EXPECT_EQ(harness::log(), log_lines());
	expect_first_block_erased(nor, nor_size);
}

TEST_F(datapath_flash_error, of_a_block_device_is_found_by_reading_back)
{
	harness::fail_flash(nor, flash_operation::erase);
	EXPECT_EQ(mtd_write("nor", within_block, data_, 16), 0u);
	bytes present(16);
	EXPECT_EQ(mtd_read("nor", within_block, &present, 16), 0u);
	EXPECT_EQ(present, original(nor, within_block, 16));
	EXPECT_EQ(mtd_write("nor", within_block, data_, 16), 0u) << "the next try";
	expect_changed(nor, within_block, data_);
}

// Until the task returns to user space its block device is in use, and Linux's cache has what the flash has not.
TEST_F(datapath_flash_error, of_a_block_device_is_not_found_by_reading_back_within_the_system_call)
{
	harness::fail_flash(nor, flash_operation::erase);
	bytes data = data_, present(16);
	const harness::kernel_call write = {"drv_flash_mtd_write", {"nor", within_block, &data, 16}},
				   read = {"drv_flash_mtd_read", {"nor", within_block, &present, 16}};
	EXPECT_EQ(harness::one_system_call({write, read}), (std::vector<uint32_t>{0, 0}));
	EXPECT_EQ(present, data_);
}

// ---------------------------------------------------------------------------------------------------------------- sections

TEST_F(datapath_flash_error, in_the_erase_of_a_section_is_reported)
{
	harness::fail_flash(nor, flash_operation::erase);
	EXPECT_EQ(section_write(default_instance, one, section_start + within_block, data_, 16), short_write);
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(direction::write, "nor", 16, error_io)});
	expect_unchanged(nor);
	EXPECT_EQ(harness::held().open_files, 0);
}

TEST_F(datapath_flash_error, in_the_program_of_a_section_is_reported_and_a_whole_erase_block_is_left_erased)
{
	harness::fail_flash(nor, flash_operation::write);
	EXPECT_EQ(section_write(default_instance, one, section_start + within_block, data_, 16), short_write);
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(direction::write, "nor", 16, error_io)});
	expect_first_block_erased(nor, nor_size);
}

// ---------------------------------------------------------------------------------------------------------------- NAND

TEST_F(datapath_flash_error, in_the_erase_of_nand_is_the_status_of_the_flash_service)
{
	harness::fail_flash(nand, flash_operation::erase);
	EXPECT_EQ(mtd_write("nand", within_block, data_, 16), erase_failed);
	expect_unchanged(nand);
	harness::fail_flash(listed, flash_operation::erase);
	EXPECT_EQ(mtd_write("listed", within_block, data_, 16), erase_failed);
	expect_unchanged(listed);
}

TEST_F(datapath_flash_error, in_the_program_of_nand_is_the_status_of_the_flash_service)
{
	harness::fail_flash(nand, flash_operation::write);
	EXPECT_EQ(mtd_write("nand", within_block, data_, 16), program_failed);
	expect_first_block_erased(nand, nand_size);
	harness::fail_flash(listed, flash_operation::write);
	EXPECT_EQ(mtd_write("listed", within_block, data_, 16), program_failed);
	expect_first_block_erased(listed, nand_size);
}

} // namespace
} // namespace conformance
