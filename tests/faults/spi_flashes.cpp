// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// SPI flashes through the flash driver: settings of the instance's own and of its parent, with each kind of lock, on records that are new
// and on those that are known.
#include <map>

#include "spi_words.hpp"
#include "words.hpp"

namespace faults {

namespace {

using conformance::settings;

// How the registry is found.
enum class registry { empty, known, created };

struct flash {
	const char *scenario;
	settings config;
	std::optional<settings> of_parent = std::nullopt; // what serves when the instance's own settings cannot be found
};

const flash flashes[] = {
	{"unlocked", conformance::unlocked_flash, settings{0x20, 0x10, 21, 22, 23}},
	{"locked", conformance::locked_flash},
	{"locked_for_creation", conformance::create_locked_flash},
	{"never_locked", conformance::never_locked_flash},
	{"extreme", conformance::extreme_flash},
	{"first_card", conformance::first_card},
	{"second_card", conformance::second_card},
	{"third_card", conformance::third_card},
	{"second_entry", {0x47, 0x47, 51, 52, 53}},
};

std::string scenario_of(const flash &flash, registry found)
{
	const std::map<registry, const char *> words = {
		{registry::empty, "_new"}, {registry::known, "_known"}, {registry::created, "_created"}};
	return flash.scenario + std::string(words.at(found));
}

const std::vector<std::string> old_names = {"old0", "old1"};
constexpr long old_allocations = 3; // the array and its two names

void create_old(uint32_t instance)
{
	conformance::create(instance, {"old0", "old1"});
}

std::function<void()> finding(registry found, uint32_t instance)
{
	return [=] {
		harness::register_driver();
		if (found == registry::known)
			conformance::find(instance);
		if (found == registry::created)
			create_old(instance);
	};
}

void empty_registry()
{
	for (uint64_t record : conformance::records())
		harness::call("release_flash_info_alloc", {record});
}

bytes settings_of_only_record()
{
	const auto records = conformance::records();
	return records.size() == 1 ? conformance::settings_of(records[0]) : bytes();
}

bool is_default_or(uint32_t value, uint32_t stated, uint32_t otherwise)
{
	return value == stated || value == otherwise;
}

bool differs_in_lock_only(const bytes &present, const settings &stated)
{
	if (present.size() != conformance::settings_size)
		return false;
	settings now = stated;
	now.hardlock_type = conformance::u32_at(present, 20);
	now.hardlock_val = conformance::u32_at(present, 24);
	now.hardunlock_val = conformance::u32_at(present, 28);
	return present == conformance::in_memory(now) && is_default_or(now.hardlock_type, stated.hardlock_type, 1) &&
	       is_default_or(now.hardlock_val, stated.hardlock_val, 0xFFFFFFFF) &&
	       is_default_or(now.hardunlock_val, stated.hardunlock_val, 0xFFFFFFFF);
}

bool has_settings(const flash &flash)
{
	return settings_of_only_record() == conformance::in_memory(flash.config);
}

bool has_other_settings(const flash &flash)
{
	const bytes present = settings_of_only_record();
	return differs_in_lock_only(present, flash.config) || (flash.of_parent && differs_in_lock_only(present, *flash.of_parent));
}

operation asking_for_size(const flash &flash, registry found)
{
	const auto size = shared(8);
	bytes expected(8);
	std::memcpy(expected.data(), &harness::suite_flash_size, expected.size());
	return {.name = "drv_flash_get_size",
		.scenario = scenario_of(flash, found),
		.board = "spi",
		.start =
			[=] {
				finding(found, flash.config.inst_id)();
				emptying(size)();
			},
		.run =
			[=] {
				return harness::call("drv_flash_get_size", {flash.config.inst_id, 0, size.get()});
			},
		.done = [=] { return *size == expected && has_settings(flash); },
		.done_in_part = [=] { return *size == expected && has_other_settings(flash); },
		.settle = empty_registry};
}

bool has_names(const harness::parts_spec &parts)
{
	const uint64_t record = conformance::records().at(0);

	if (conformance::names_of(record) == 0 || conformance::name_count_of(record) != parts.parts.size())
		return false;
	for (std::size_t i = 0; i < parts.parts.size(); ++i) {
		const std::string &name = parts.parts[i].name;
		bytes expected(name.begin(), name.end());
		expected.push_back(0);
		if (harness::memory(conformance::name_address_of(record, i), expected.size()) != expected)
			return false;
	}
	return true;
}

harness::parts_spec parts_named(std::size_t count)
{
	harness::parts_spec parts;
	for (std::size_t i = 0; i < count; ++i)
		parts.parts.push_back({"new" + std::to_string(i), static_cast<uint32_t>(i) * 0x10000, 0x10000});
	return parts;
}

operation creating(const flash &flash, registry found, std::size_t count)
{
	const auto parts = parts_named(count);
	return {.name = "drv_flash_create",
		.scenario = scenario_of(flash, found) + "_" + std::to_string(count) + "_parts",
		.board = "spi",
		.start = finding(found, flash.config.inst_id),
		.run = [=] { return conformance::create(flash.config.inst_id, parts); },
		.done = [=] { return harness::created_parts() == parts.parts && has_names(parts) && has_settings(flash); },
		.done_in_part = [=] { return harness::created_parts() == parts.parts && has_names(parts) && has_other_settings(flash); },
		.settle = empty_registry,
		// Readers may hold on to the names that are replaced.
		.kept = found == registry::created ? old_allocations : 0};
}

operation destroying(const flash &flash, registry found)
{
	return {.name = "drv_flash_destroy",
		.scenario = scenario_of(flash, found),
		.board = "spi",
		.start =
			[=] {
				finding(found, flash.config.inst_id)();
				conformance::find(conformance::never_locked_flash.inst_id == flash.config.inst_id
							  ? conformance::locked_flash.inst_id
							  : conformance::never_locked_flash.inst_id);
			},
		.run = [=] { return conformance::destroy(flash.config.inst_id); },
		.done = [=] { return conformance::records().size() == 1 && conformance::instances().at(0) != flash.config.inst_id; },
		.done_in_part =
			[=] { return conformance::records().size() == 1 && conformance::instances().at(0) != flash.config.inst_id; },
		.settle = empty_registry};
}

// Registering fails never and calls nothing.
operation registering()
{
	return {.name = "drv_flash_driver_register",
		.scenario = "first",
		.board = "spi",
		.start = [] { harness::call("drv_flash_driver_unregister", {}); },
		.run =
			[] {
				harness::register_driver();
				return 0u;
			},
		.done = [] { return harness::global("g_flash_funcs", 8) != bytes(8); }};
}

operation unregistering()
{
	return {.name = "drv_flash_driver_unregister",
		.scenario = "registered",
		.board = "spi",
		.start = [] { harness::register_driver(); },
		.run =
			[] {
				harness::call("drv_flash_driver_unregister", {});
				return 0u;
			},
		.done = [] { return harness::global("g_flash_funcs", 8) == bytes(8); }};
}

} // namespace

operations spi_flashes()
{
	operations all = {registering(), unregistering()};

	for (const flash &flash : flashes)
		for (registry found : {registry::empty, registry::known, registry::created}) {
			all.push_back(asking_for_size(flash, found));
			all.push_back(destroying(flash, found));
			for (std::size_t count : {1, 3})
				all.push_back(creating(flash, found, count));
		}
	return all;
}

} // namespace faults
