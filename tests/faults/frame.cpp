// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Load and unload on several boards, and the entry points without a task.
#include "load_words.hpp"
#include "words.hpp"

namespace faults {

namespace {

struct loadable {
	const char *board;
	bool has_usrdata;
	bool has_sections;
	uint32_t partitions;
};

const loadable boards[] = {
	{"plain", true, true, 2},     {"plain", false, true, 2},	{"variants", false, true, 1},	     {"bare", true, false, 0},
	{"sections", false, true, 1}, {"sections_only", true, true, 0}, {"partitions_only", true, false, 2}, {"spi", false, false, 0},
};

std::vector<harness::mtd_spec> devices_of(const loadable &on)
{
	std::vector<harness::mtd_spec> devices = {device("nor", harness::mtd_nor)};
	if (on.has_usrdata)
		devices.push_back(device("usrdata", harness::mtd_nand));
	return devices;
}

std::string scenario_of(const loadable &on)
{
	return on.board + std::string(on.has_usrdata ? "_with_usrdata" : "");
}

uint32_t listed_partitions()
{
	return conformance::u32_at(harness::global("g_flash_mtd_info_list_num", 4), 0);
}

bool has_usrdata()
{
	return harness::global("g_usrdata_mtd_name", 1)[0] != 0;
}

bool serves(const loadable &on)
{
	return harness::loaded() && harness::device_registered() && conformance::has_entry(0xFFFFFFFF) == on.has_sections &&
	       listed_partitions() == on.partitions && has_usrdata() == on.has_usrdata;
}

// Without sections, without listed partitions or without user data, but nothing half.
bool serves_in_part(const loadable &on)
{
	return harness::loaded() && harness::device_registered() && (on.has_sections || !conformance::has_entry(0xFFFFFFFF)) &&
	       (listed_partitions() == on.partitions || listed_partitions() == 0) && (on.has_usrdata || !has_usrdata());
}

void unload_if_loaded()
{
	if (harness::loaded())
		harness::unload();
}

operation loading(const loadable &on)
{
	return {.name = "load",
		.scenario = scenario_of(on),
		.board = on.board,
		.devices = devices_of(on),
		.on_loaded_module = false,
		.run = harness::load,
		.done = [=] { return serves(on); },
		.done_in_part = [=] { return serves_in_part(on); },
		.settle = unload_if_loaded,
		.kept_after = sections_without_entry};
}

operation unloading(const loadable &on)
{
	return {.name = "unload",
		.scenario = scenario_of(on),
		.board = on.board,
		.devices = devices_of(on),
		.on_loaded_module = false,
		.start = [] { harness::load(); },
		.run =
			[] {
				harness::unload();
				return 0u;
			},
		.done = [] { return !harness::loaded() && !harness::device_registered() && harness::held() == harness::holdings{}; }};
}

operation without_task(const char *function)
{
	return {.name = function, .scenario = "called", .board = "plain", .run = [=] { return harness::call(function, {}); }};
}

} // namespace

operations frame()
{
	operations all = {without_task("flash_mng_drv_patch_func1"), without_task("flash_mng_drv_patch_func2")};

	for (const loadable &on : boards) {
		all.push_back(loading(on));
		all.push_back(unloading(on));
	}
	return all;
}

} // namespace faults
