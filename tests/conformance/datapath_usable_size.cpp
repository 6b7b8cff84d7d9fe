// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Usable bytes of a listed partition that change while the module is loaded, and while it writes.
#include "listed_words.hpp"

namespace conformance {
namespace {

// The first entry of the table is that of "listed". Its usable size, 32 bytes into the entry, is replaced by letting a read deliver it
// there.
class datapath_usable_size : public on_listed {
protected:
	static uint64_t entry() { return u64_at(harness::global("g_flash_mtd_info_list", 8), 0); }
	static uint64_t size_in_entry() { return entry() + 32; }

	static bytes in_memory(uint32_t size)
	{
		bytes raw(4);
		for (std::size_t i = 0; i < raw.size(); ++i)
			raw[i] = static_cast<uint8_t>(size >> (8 * i));
		return raw;
	}

	void set_usable_size(uint32_t size)
	{
		harness::set_mtd_content(listed, 0, in_memory(size));
		ASSERT_EQ(harness::call("drv_nand_flash_mtd_total_read", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 0u);
		harness::set_mtd_content(listed, 0, original(listed, 0, 4));
		harness::forget();
	}
};

TEST_F(datapath_usable_size, is_read_at_each_write)
{
	set_usable_size(0x1000);
	EXPECT_EQ(mtd_write("listed", 0xFF0, pattern(16), 16), 0u);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0xFF0, 16, 0x1000)});
	EXPECT_EQ(calls_of("vzalloc"), call_list{"vzalloc(4096)"});
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 4096)"});
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, 16, -, 16)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 4096)"});
	expect_changed(listed, 0xFF0, pattern(16));
}

TEST_F(datapath_usable_size, that_shrank_refuses_what_it_took_before)
{
	EXPECT_EQ(mtd_write("listed", 0x1000, pattern(16), 16), 0u);
	set_usable_size(0x1000);
	const uint32_t code = mtd_write("listed", 0x1000, pattern(16, 2), 16);
	EXPECT_NE(code, 0u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x1000, 16, 0x1000), patch_failure(0x1000, 16, code)}));
	expect_changed(listed, 0x1000, pattern(16));
}

TEST_F(datapath_usable_size, that_became_0_refuses_every_write)
{
	set_usable_size(0);
	EXPECT_EQ(mtd_write("listed", 0, pattern(16), 16), empty_range);
	EXPECT_EQ(harness::log(), log_lines{total_write_note(0, 16, 0)});
	expect_unchanged(listed);
}

TEST_F(datapath_usable_size, that_grew_lets_a_write_reach_further)
{
	set_usable_size(nand_size);
	EXPECT_EQ(mtd_write("listed", nand_size - 16, pattern(16), 16), 0u);
	expect_changed(listed, nand_size - 16, pattern(16));
}

TEST_F(datapath_usable_size, that_shrinks_before_the_read_bounds_it)
{
	const bytes data = pattern(16);
	stopped_call write("linux_mutex_lock", [&] { return mtd_write("listed", 0, data, 16); });
	set_usable_size(0x1000);
	EXPECT_EQ(write.let_go(), 0u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 4096)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 4096)"});
	expect_changed(listed, 0, data);
}

// In these the read, or the copy, does nothing but store a new usable size: where its path, or its data, is said to be.
TEST_F(datapath_usable_size, that_shrinks_during_the_read_bounds_the_copy)
{
	harness::forge("plat_mtd_read_buf", 0, 0, in_memory(0x1000));
	harness::fail("plat_mtd_update_buf", 0);
	bytes data = pattern(16);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), size_in_entry(), 0x800, &data, 16}), 0u);
	EXPECT_EQ(calls_of("memcpy_s"), call_list{"memcpy_s(-, 2048, -, 16)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"\", 0, -, 4096)"});
}

TEST_F(datapath_usable_size, that_shrinks_during_the_read_is_what_a_failed_read_says)
{
	harness::forge("plat_mtd_read_buf", 5, 0, in_memory(0x1000));
	bytes data = pattern(16);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), size_in_entry(), 0x800, &data, 16}), 5u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x800, 16, avail, ""), read_back_failure(0x1000, 5)}));
}

TEST_F(datapath_usable_size, that_shrinks_during_the_copy_bounds_what_is_written_back)
{
	harness::forge("memcpy_s", 0, 2, in_memory(0x1000));
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 0u);
	EXPECT_EQ(calls_of("plat_mtd_read_buf"), call_list{"plat_mtd_read_buf(\"/dev/mtd2\", 0, -, 131072)"});
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 4096)"});
	expect_unchanged(listed);
}

TEST_F(datapath_usable_size, that_grows_during_the_copy_writes_no_more_than_was_read)
{
	harness::forge("memcpy_s", 0, 2, in_memory(nand_size));
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 0u);
	EXPECT_EQ(calls_of("plat_mtd_update_buf"), call_list{"plat_mtd_update_buf(\"/dev/mtd2\", 0, -, 131072)"});
	expect_unchanged(listed);
}

TEST_F(datapath_usable_size, that_shrinks_during_the_copy_is_what_a_failed_write_back_says)
{
	harness::forge("memcpy_s", 0, 2, in_memory(0x1000));
	harness::fail("plat_mtd_update_buf", 5);
	EXPECT_EQ(harness::call("drv_nand_flash_mtd_total_write", {entry(), "/dev/mtd2", 0, size_in_entry(), 4}), 5u);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0, 4), write_back_failure(0x1000, 5)}));
}

} // namespace
} // namespace conformance
