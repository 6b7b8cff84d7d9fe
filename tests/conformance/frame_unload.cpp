// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Unloading: what is released and deregistered, in which order, and that nothing else is.
#include <cerrno>

#include "load_words.hpp"

namespace conformance {
namespace {

const call_list registrations_removed = {log_removed, device_removed};
const call_list entry_released = {freed, unlinked, freed}; // an unload frees the sections first

class frame_unload : public on_board {
protected:
	static void load(std::string_view configuration = "plain")
	{
		harness::configure(configuration);
		ASSERT_EQ(harness::load(), 0u);
		harness::forget();
	}
};

TEST_F(frame_unload, takes_its_steps_in_order)
{
	load();
	harness::unload();
	EXPECT_EQ(deeds(), joined({{freed}, entry_released, registrations_removed}));
}

TEST_F(frame_unload, says_one_line_to_the_common_log)
{
	load();
	harness::unload();
	EXPECT_EQ(harness::log(), log_lines{unload_ends});
}

TEST_F(frame_unload, ends_with_its_line)
{
	load();
	harness::unload();
	EXPECT_EQ(harness::calls().back(), message(common, ordinary, "flash_module_exit"));
}

TEST_F(frame_unload, of_a_bare_board_only_deregisters)
{
	load("bare");
	harness::unload();
	EXPECT_EQ(deeds(), registrations_removed);
	EXPECT_EQ(harness::log(), log_lines{unload_ends});
}

TEST_F(frame_unload, without_listed_partitions)
{
	load("sections_only");
	harness::unload();
	EXPECT_EQ(deeds(), joined({entry_released, registrations_removed}));
}

TEST_F(frame_unload, without_sections)
{
	load("partitions_only");
	harness::unload();
	EXPECT_EQ(deeds(), joined({{freed}, registrations_removed}));
}

TEST_F(frame_unload, releases_every_entry)
{
	load("tables");
	for (uint32_t instance : {3u, 5u, 6u})
		ASSERT_EQ(harness::call("drv_flash_init", {instance}), 0u);
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 6});
	harness::forget();
	harness::unload();
	EXPECT_EQ(deeds(), joined({repeated(entry_released, 3), registrations_removed}));
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(frame_unload, after_the_partition_table_was_released)
{
	load();
	harness::call("drv_flash_mtd_info_deinit", {});
	harness::forget();
	harness::unload();
	EXPECT_EQ(deeds(), joined({entry_released, registrations_removed}));
}

TEST_F(frame_unload, after_the_entry_was_removed)
{
	load();
	ASSERT_EQ(harness::call("drv_flash_exit", {default_instance}), 0u);
	harness::forget();
	harness::unload();
	EXPECT_EQ(deeds(), joined({{freed}, registrations_removed}));
}

TEST_F(frame_unload, ignores_what_the_logs_removal_says)
{
	load();
	harness::fail("drv_log_deregister", 5);
	harness::unload();
	EXPECT_EQ(last(deeds(), 2), registrations_removed);
	EXPECT_EQ(harness::log(), log_lines{unload_ends});
	EXPECT_FALSE(harness::loaded());
}

TEST_F(frame_unload, keeps_nothing)
{
	harness::add_mtd({.name = "usrdata"});
	load();
	harness::unload();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(frame_unload, takes_the_control_device_away)
{
	load();
	harness::unload();
	EXPECT_FALSE(harness::device_registered());
	EXPECT_EQ(harness::ioctl(get_part_num, 0).errno_value, ENOENT);
}

TEST_F(frame_unload, reports_no_end_of_a_load)
{
	load();
	harness::unload();
	EXPECT_FALSE(called("log_module_init_end"));
}

TEST_F(frame_unload, leaves_the_module_loadable)
{
	for (int cycle = 0; cycle < 20; ++cycle) {
		SCOPED_TRACE(cycle);
		load(cycle % 2 ? "plain" : "variants");
		EXPECT_TRUE(harness::device_registered());
		harness::unload();
		EXPECT_FALSE(harness::loaded());
		EXPECT_EQ(harness::held(), harness::holdings{});
	}
}

TEST_F(frame_unload, after_commands_were_served)
{
	load();
	harness::ioctl(get_nand_is_exist, harness::user_address(harness::user_memory(4)));
	harness::ioctl(mtd_read_command, harness::unmapped_address());
	harness::forget();
	harness::unload();
	EXPECT_EQ(deeds(), joined({{freed}, entry_released, registrations_removed}));
}

} // namespace
} // namespace conformance
