// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Questions about partitions.
#include "words.hpp"

namespace faults {

namespace {

bytes as_bytes(uint64_t value, std::size_t size)
{
	bytes made(size);
	for (std::size_t i = 0; i < size && i < sizeof(value); ++i)
		made[i] = static_cast<uint8_t>(value >> (8 * i));
	return made;
}

// A question by name.
operation about(const char *function, const char *scenario, const harness::mtd_spec &on, const bytes &answer)
{
	const auto buffer = shared(answer.size());
	const std::string name = on.name;
	return {.name = function,
		.scenario = scenario,
		.board = "plain",
		.devices = {on},
		.start = emptying(buffer),
		.run =
			[=] {
				return harness::call(function, {name, buffer.get()});
			},
		.done = holds(buffer, answer)};
}

// A question about the user-data partition.
operation about_usrdata(const char *function, const char *scenario, const bytes &answer, const bytes &answer_in_part)
{
	const auto buffer = shared(answer.size());
	return {.name = function,
		.scenario = scenario,
		.board = "plain",
		.devices = {device("nor", harness::mtd_nor), device("usrdata", harness::mtd_nand)},
		.start = emptying(buffer),
		.run = [=] { return harness::call(function, {buffer.get()}); },
		.done = holds(buffer, answer),
		.done_in_part = holds(buffer, answer_in_part)};
}

bytes usrdata_record()
{
	bytes record(520, untouched);
	const bytes count = as_bytes(1, 4), size = as_bytes(0x4000, 8);
	std::copy(count.begin(), count.end(), record.begin());
	std::copy(size.begin(), size.end(), record.begin() + 264);
	return record;
}

} // namespace

operations questions()
{
	using namespace harness;
	return {
		about("drv_flash_get_mtd_size", "nor", device("nor", mtd_nor), as_bytes(0x4000, 8)),
		about("drv_flash_get_mtd_size", "nand", device("nand", mtd_nand, 0x8000), as_bytes(0x8000, 8)),
		about("drv_flash_get_type", "nor", device("nor", mtd_nor), as_bytes(1, 4)),
		about("drv_flash_get_type", "nand", device("nand", mtd_nand), as_bytes(0, 4)),
		about("drv_flash_get_type", "mlc_nand", device("mlc", mtd_mlc_nand), as_bytes(0, 4)),
		about_usrdata("drv_flash_get_nand_part_num", "present", as_bytes(1, 4), {}),
		about_usrdata("drv_flash_get_nand_part_size_info", "present", usrdata_record(), {}),
		about_usrdata("drv_flash_get_nand_is_exist", "present", as_bytes(1, 4), as_bytes(0, 4)),
	};
}

} // namespace faults
