// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a load reads of the board description, one instance and one table at a time, and the reader of one entry of a partition map.
#include <algorithm>
#include <cstring>

#include "flash_mng.h"
#include "load_words.hpp"
#include "words.hpp"

namespace faults {

namespace {

// Instances of the board "tables": what choosing a table can come to.
struct instance {
	const char *scenario;
	uint32_t id;
};

operation reading_sections(const instance &of)
{
	return {.name = "drv_flash_init",
		.scenario = of.scenario,
		.board = "tables",
		.devices = {device("nor", harness::mtd_nor), device("usrdata", harness::mtd_nand)},
		.run = [=] { return harness::call("drv_flash_init", {of.id}); },
		.done = [=] { return conformance::has_entry(of.id); },
		.done_in_part = [] { return true; }, // with an entry or without: held memory tells of a half one
		.settle =
			[=] {
				if (conformance::has_entry(of.id))
					harness::call("drv_flash_exit", {of.id});
			},
		.kept_after = sections_without_entry};
}

operation listing_partitions()
{
	const auto count = [] { return conformance::u32_at(harness::global("g_flash_mtd_info_list_num", 4), 0); };
	return {.name = "drv_flash_mtd_info_init",
		.scenario = "of_another_instance",
		.board = "tables",
		.start = [] { harness::call("drv_flash_mtd_info_deinit", {}); },
		.run = [] { return harness::call("drv_flash_mtd_info_init", {2}); },
		.done = [=] { return count() == 1; },
		.done_in_part = [=] { return count() == 0; },
		.settle = [] { harness::call("drv_flash_mtd_info_deinit", {}); }};
}

// An entry of a partition map, read into a part.
operation reading_part()
{
	const auto part = shared(sizeof(flash_part));
	const auto has = [=](uint32_t offset, uint32_t size) {
		flash_part expected = {offset, size, {}};
		std::fill(std::begin(expected.mtd_name), std::end(expected.mtd_name), static_cast<char>(untouched));
		std::strcpy(expected.mtd_name, "mtd_00000050_kernel");
		return std::memcmp(part->data(), &expected, sizeof(expected)) == 0;
	};
	constexpr uint32_t untouched_number = 0xEEEEEEEE;
	return {.name = "drv_flash_spi_chip_entry_parse",
		.scenario = "whole",
		.board = "spi",
		.start = emptying(part),
		.run =
			[=] {
				return harness::call("drv_flash_spi_chip_entry_parse", {0x50, "whole", part.get()});
			},
		.done = [=] { return has(0x1000, 0x2000); },
		.done_in_part = [=] { return has(untouched_number, untouched_number); }};
}

} // namespace

operations tables()
{
	operations all = {listing_partitions(), reading_part()};

	for (const instance &of : {instance{"single_table", 3}, instance{"variant_asked_for", 5}, instance{"board_without_variant", 6},
				   instance{"highest_variant", 10}, instance{"single_table_of_a_variant_board", 13}})
		all.push_back(reading_sections(of));
	return all;
}

} // namespace faults
