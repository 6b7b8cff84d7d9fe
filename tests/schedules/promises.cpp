// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "promises.hpp"

#include <algorithm>
#include <string_view>

#include "../../reference_platform/include/platform_status.h"
#include "uapi/flash_mng.h"

namespace schedules {

namespace {

bool has(const scene &on, std::string_view subject)
{
	return std::any_of(on.callers.begin(), on.callers.end(), [&](const operation *one) { return one->subject == subject; });
}

// Callers with an SPI flash in common.
bool share_an_instance(const scene &on)
{
	for (const operation *one : on.callers)
		if (one->instance && std::count_if(on.callers.begin(), on.callers.end(),
						   [&](const auto *other) { return other->instance == one->instance; }) > 1)
			return true;
	return false;
}

bool gave(const ending &end, std::uint64_t code)
{
	return std::find(end.codes.begin(), end.codes.end(), code) != end.codes.end();
}

std::size_t count_of_instance(const ending &end, std::uint32_t inst_id)
{
	return static_cast<std::size_t>(
		std::count_if(end.records.begin(), end.records.end(), [&](const auto &one) { return one.inst_id == inst_id; }));
}

// A destroy makes the next use a first one.
bool has_two_records(const scene &on, const ending &end)
{
	const bool first_uses =
		on.found == start::loaded || on.found == start::with_driver || (on.callers.size() > 2 && has(on, "drv_flash_destroy"));

	return first_uses && share_an_instance(on) && std::any_of(end.records.begin(), end.records.end(), [&](const auto &one) {
		       return count_of_instance(end, one.inst_id) > 1;
	       });
}

bool found_hard_lock_taken(const scene &on, const ending &end)
{
	return share_an_instance(on) && gave(end, HARD_LOCK_BUSY);
}

// A hardware lock that cannot be given back then has the last word.
bool lost_driver(const scene &on, const ending &end)
{
	const bool not_unlocked = on.fails && (gave(end, HARD_LOCK_BAD_OWNER) || gave(end, HARD_LOCK_BAD_VALUE));

	return has(on, "drv_flash_driver_unregister") && (gave(end, FLASH_MNG_NO_DRIVER) || not_unlocked);
}

// The names are of one create, the partitions of another.
bool names_of_another(const scene &on, const ending &end)
{
	const auto creates =
		std::count_if(on.callers.begin(), on.callers.end(), [](const auto *one) { return one->subject == "drv_flash_create"; });

	return creates > 1 && std::any_of(end.records.begin(), end.records.end(), [&](const auto &one) {
		       const auto made = end.created.find(one.inst_id);
		       return made != end.created.end() && made->second != one.made_by;
	       });
}

bool found_passing_record(const scene &on, const ending &end)
{
	if (!has(on, "drv_flash_destroy") || (on.found != start::loaded && on.found != start::with_driver) || !end.records.empty())
		return false;
	for (std::size_t i = 0; i < on.callers.size(); ++i)
		if (on.callers[i]->subject == "FLASH_MNG_FIND_CONFIG_BY_INST" && end.codes[i] == FLASH_MNG_OK)
			return true;
	return false;
}

bool was_killed(const scene &on, const ending &end)
{
	return on.last_kills_first && end.codes[0] == FLASH_MNG_INTERRUPTED && end.codes[1] == FLASH_MNG_OK;
}

// A first use keeps what it could read of the settings, from its own step on; who comes between that and the rest of the call uses them.
bool used_settings_read_in_part(const scene &on, const ending &)
{
	return on.fails && on.fails->function == "xml_get_element_value_u32" && on.found == start::with_driver && share_an_instance(on) &&
	       (has(on, "drv_flash_create") || has(on, "drv_flash_destroy"));
}

constexpr open_point points[] = {
	{"two first uses of an SPI flash made a record each", has_two_records},
	{"the hardware lock, tried once, was taken", found_hard_lock_taken},
	{"the flash driver went between the two looks at it", lost_driver},
	{"of two creates of one SPI flash, one gave the names, the other one the partitions", names_of_another},
	{"a search found the record that a destroy makes where there is none", found_passing_record},
	{"a caller was killed while it waited for sections", was_killed},
	{"settings that a first use read in part were used by another call before its end", used_settings_read_in_part, true},
};

} // namespace

std::span<const open_point> open_points()
{
	return points;
}

std::span<const known_race> known_races()
{
	return {};
}

} // namespace schedules
