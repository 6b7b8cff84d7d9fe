// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The suite's flash driver: it stores a size, remembers the parts that it is given, and succeeds unless a fault says otherwise.
#include <algorithm>
#include <cstring>
#include <deque>

#include "flash_mng.h"
#include "simulation.hpp"

namespace simulation {

namespace {

std::vector<harness::flash_part_spec> g_created;
std::deque<flash_driver_ops> g_tables; // every table ever registered; the module keeps a pointer

u32 get_size(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, void *size)
{
	if (auto forced = seen(call::suite_driver_get_size, {cfg_inst_id, sfc_chip_id, sfc_ctrl, sfc_cs, size}))
		return static_cast<u32>(*forced);
	std::memcpy(size, &harness::suite_flash_size, sizeof(harness::suite_flash_size));
	return 0;
}

harness::flash_part_spec described(const flash_part &part)
{
	return {{part.mtd_name, strnlen(part.mtd_name, sizeof(part.mtd_name))}, part.offset, part.size};
}

u32 create(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, flash_parts_info *parts_info)
{
	if (auto forced = seen(call::suite_driver_create, {cfg_inst_id, sfc_chip_id, sfc_ctrl, sfc_cs, parts_info}))
		return static_cast<u32>(*forced);
	state_guard guard;
	g_created.clear();
	std::transform(parts_info->parts, parts_info->parts + parts_info->part_num, std::back_inserter(g_created), described);
	return 0;
}

u32 destroy(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs)
{
	if (auto forced = seen(call::suite_driver_destroy, {cfg_inst_id, sfc_chip_id, sfc_ctrl, sfc_cs}))
		return static_cast<u32>(*forced);
	return 0;
}

const flash_driver_ops *table(const harness::driver_slots &slots)
{
	state_guard guard;
	return &g_tables.emplace_back(
		flash_driver_ops{slots.get_size ? get_size : nullptr, slots.create ? create : nullptr, slots.destroy ? destroy : nullptr});
}

} // namespace

void register_driver(const harness::driver_slots &slots)
{
	drv_flash_driver_register(0, 0, table(slots));
}

std::vector<harness::flash_part_spec> created_parts()
{
	state_guard guard;
	return g_created;
}

void reset_driver()
{
	state_guard guard;
	g_created.clear();
}

} // namespace simulation
