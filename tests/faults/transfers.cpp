// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Transfers by name and by section, on each transfer path.
#include "words.hpp"

namespace faults {

namespace {

constexpr uint32_t default_instance = 0xFFFFFFFF;

struct range {
	const char *scenario;
	harness::mtd_spec on;
	uint32_t offset;
	uint32_t length;
};

operation read_by_name(const range &range)
{
	const auto buffer = shared(range.length);
	const std::string name = range.on.name;
	return {.name = "drv_flash_mtd_read",
		.scenario = range.scenario,
		.board = "transfers",
		.devices = {range.on},
		.start = emptying(buffer),
		.run =
			[=] {
				return harness::call("drv_flash_mtd_read", {name, range.offset, buffer.get(), range.length});
			},
		.done = holds(buffer, content_of(0, range.offset, range.length))};
}

operation write_by_name(const range &range)
{
	const auto buffer = std::make_shared<bytes>(fresh_data(range.length));
	const std::string name = range.on.name;
	return {.name = "drv_flash_mtd_write",
		.scenario = range.scenario,
		.board = "transfers",
		.devices = {range.on, device("beside", harness::mtd_nand)},
		.run =
			[=] {
				return harness::call("drv_flash_mtd_write", {name, range.offset, buffer.get(), range.length});
			},
		.written = target{0, range.offset, *buffer}};
}

operations by_name(const range &range)
{
	return {read_by_name(range), write_by_name(range)};
}

// A section of the board "sections": its first device is the one that the section lies on.
struct section_range {
	const char *scenario;
	harness::mtd_spec on;
	uint32_t section;
	uint32_t address; // where the section begins
	uint32_t offset;
	uint32_t length;
};

operation read_by_section(const section_range &range)
{
	const auto buffer = shared(range.length);
	return {.name = "drv_flash_read",
		.scenario = range.scenario,
		.board = "sections",
		.devices = {range.on},
		.start = emptying(buffer),
		.run =
			[=] {
				return harness::call("drv_flash_read",
						     {default_instance, range.section, range.offset, buffer.get(), range.length});
			},
		.done = holds(buffer, content_of(0, range.offset - range.address, range.length))};
}

operation write_by_section(const section_range &range)
{
	const auto buffer = std::make_shared<bytes>(fresh_data(range.length));
	return {.name = "drv_flash_write",
		.scenario = range.scenario,
		.board = "sections",
		.devices = {range.on, device("beside", harness::mtd_nand)},
		.run =
			[=] {
				return harness::call("drv_flash_write",
						     {default_instance, range.section, range.offset, buffer.get(), range.length});
			},
		.written = target{0, range.offset - range.address, *buffer}};
}

operations by_section(const section_range &range)
{
	return {read_by_section(range), write_by_section(range)};
}

const char *const longest_name = "abcdefghijklmnopqrstuvwxyz01234";

} // namespace

operations transfers()
{
	using namespace harness;
	operations all;

	for (const range &range : {
		     ::faults::range{"nor", device("nor", mtd_nor), 0x1010, 0x30},
		     {"nor_from_its_start", device("nor", mtd_nor), 0, 0x20},
		     {"nor_whole", device("nor", mtd_nor), 0, 0x4000},
		     {"nor_across_erase_blocks", device("nor", mtd_nor), 0xFF0, 0x1020},
		     {"nor_last_byte", device("nor", mtd_nor), 0x3FFF, 1},
		     {"ram", device("ram", mtd_ram), 0x123, 0x45},
		     {"nor_listed", device("listed_nor", mtd_nor), 0x10, 0x10},
		     {"nand", device("nand", mtd_nand), 0x1010, 0x30},
		     {"nand_across_erase_blocks", device("nand", mtd_nand), 0xFF0, 0x1020},
		     {"mlc_nand", device("mlc", mtd_mlc_nand), 0, 0x4000},
		     {"listed", device("listed_mlc", mtd_nand, 0x8000), 0x1010, 0x30},
		     {"listed_from_its_start", device("listed_mlc", mtd_nand, 0x8000), 0, 0x20},
		     {"listed_across_erase_blocks", device("listed_mlc", mtd_mlc_nand, 0x9000), 0xFF0, 0x1020},
		     {"listed_last_usable_byte", device("listed_mlc", mtd_nand, 0x9000), 0x7FFF, 1},
		     {"listed_one_usable_byte", device("one_usable", mtd_nand), 0, 1},
		     {"listed_longest_name", device(longest_name, mtd_nand, 0x20000), 0x100, 0x10},
	     })
		append(all, by_name(range));

	for (const section_range &range : {
		     section_range{"nor", device("nor", mtd_nor), 1, 0x1000, 0x1010, 0x30},
		     {"from_its_start", device("nor", mtd_nor), 1, 0x1000, 0x1000, 0x20},
		     {"whole", device("nor", mtd_nor), 1, 0x1000, 0x1000, 0x1000},
		     {"ram", device("nor", mtd_ram), 1, 0x1000, 0x1123, 0x45},
		     {"alternative", device("nand", mtd_nand), 2, 0x100000, 0x100010, 0x1020},
		     {"no_bytes", device("nor", mtd_nor), 2, 0, 0x10, 0},
		     {"listed_partition", device("listed", mtd_nand), 12, 0, 0x20, 0x20},
		     {"highest_id", device("nor", mtd_nor), 0xFFFFFFFF, 0x1000, 0x1FFF, 1},
	     })
		append(all, by_section(range));
	return all;
}

} // namespace faults
