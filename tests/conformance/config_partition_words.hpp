// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A module whose table of listed partitions is built by the case.
#pragma once

#include "load_words.hpp"

namespace conformance {

// A loaded module without the table; the cases build it from the instances of one board.
class config_partitions : public on_loaded_module {
protected:
	void prepare() override { harness::configure("partitions"); }

	static uint32_t build(uint32_t instance) { return harness::call("drv_flash_mtd_info_init", {instance}); }

	static void build_well(uint32_t instance)
	{
		ASSERT_EQ(build(instance), 0u);
		harness::forget();
	}

	static void release() { harness::call("drv_flash_mtd_info_deinit", {}); }
	static bool finds(const std::string &name) { return harness::call_finds("drv_flash_mtd_info_find", {name}); }
	static uint64_t table() { return u64_at(harness::global("g_flash_mtd_info_list", 8), 0); }
	static uint32_t count() { return u32_at(harness::global("g_flash_mtd_info_list_num", 4), 0); }

	static void expect_absent()
	{
		EXPECT_EQ(table(), 0u);
		EXPECT_EQ(count(), 0u);
		for (const char *name : {"part0", "part1", "part2", ""})
			EXPECT_FALSE(finds(name)) << name;
	}

	static log_line listed(uint32_t instance, uint32_t number)
	{
		return partition_listed(instance, number, "part" + decimal(number), (number + 1) * 0x10000);
	}

	// Messages of a whole build.
	static log_lines all_listed(uint32_t instance, uint32_t partitions)
	{
		log_lines all;
		for (uint32_t i = 0; i < partitions; ++i)
			all.push_back(listed(instance, i));
		all.push_back(partitions_counted(instance, partitions));
		return all;
	}
};

} // namespace conformance
