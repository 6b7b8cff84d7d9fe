// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about SPI flash instances: their settings on the board "spi", the records of the registry, and the flash driver.
#pragma once

#include <cstring>

#include "load_words.hpp"

namespace conformance {

// Statuses that a service may give.
inline constexpr uint32_t xml_no_node = 0x70020003, xml_no_entry = 0x70020004, xml_no_element = 0x70020006, xml_bad_number = 0x70020007,
			  xml_text_too_long = 0x70020008;

inline constexpr uint32_t no_card = 0xFFFFFFFF;

// ---------------------------------------------------------------------------------------------------------------- settings

struct settings {
	uint32_t inst_id;
	uint32_t cfg_inst_id;
	uint32_t sfc_chip_id;
	uint32_t sfc_ctrl;
	uint32_t sfc_cs;
	uint32_t hardlock_type = 1;
	uint32_t hardlock_val = 0xFFFFFFFF;
	uint32_t hardunlock_val = 0xFFFFFFFF;
};

inline constexpr std::size_t settings_size = 32;

inline bytes in_memory(const settings &config)
{
	bytes block(settings_size);
	static_assert(sizeof(config) == settings_size);
	std::memcpy(block.data(), &config, settings_size);
	return block;
}

// The flashes of the board "spi" with good settings.
inline constexpr settings unlocked_flash = {0x20, 0x20, 1, 2, 3};
inline constexpr settings locked_flash = {0x21, 0x21, 4, 5, 6, 0, 0x5A, 0xA5};
inline constexpr settings create_locked_flash = {0x22, 0x22, 7, 8, 9, 2, 0x11, 0x22};
inline constexpr settings never_locked_flash = {0x23, 0x23, 10, 11, 12, 1, 0x33, 0x44};
inline constexpr settings extreme_flash = {0x24, 0x24, 0, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0};
inline constexpr settings first_card = {0x31, 0x10, 21, 22, 23};
inline constexpr settings second_card = {0x32, 0x10, 31, 32, 33, 0, 0x77, 0x88};
inline constexpr settings third_card = {0x33, 0x10, 41, 42, 43};
// An instance that is described without settings and has no parent; and one that the board does not describe.
inline constexpr uint32_t bare_instance = 0x39, unknown_instance = 0x77;

inline const log_line no_settings = own_log(ordinary, "there is no spi config info, inst_id 0xffffffff");

inline log_line record_without_memory(uint32_t instance)
{
	return own_log(ordinary, "inst " + hexadecimal(instance) + " flash alloc fail");
}

inline log_line entries_unreadable(uint32_t instance)
{
	return own_log(serious, "inst " + hexadecimal(instance) + " node spi_flash_info get entry list failed");
}

inline log_line no_parent(uint32_t instance)
{
	return own_log(ordinary, "can not get parent inst id, invalid inst_id " + hexadecimal(instance));
}

inline log_line entry_differs(uint32_t instance, uint32_t entry)
{
	return own_log(ordinary, "inst " + hexadecimal(instance) + " entry " + decimal(entry) + "  is not match");
}

inline log_line element_unreadable(const std::string &entry, const std::string &element)
{
	return own_log(serious, "<" + entry + "> get " + element + " failed");
}

inline log_line no_record(uint32_t instance)
{
	return own_log(ordinary, "inst " + hexadecimal(instance) + " flash no sfc config");
}

// ---------------------------------------------------------------------------------------------------------------- calls of the search

inline std::string existence(uint32_t instance)
{
	return "xml_is_node_exist(" + hexadecimal(instance) + ", \"flash_mng\", \"spi_flash_info\", -)";
}

inline std::string parent_of(uint32_t instance)
{
	return "drv_common_parse_parent_id_card_id(" + hexadecimal(instance) + ", -, -)";
}

inline std::string entry_count(uint32_t instance)
{
	return "xml_get_entry_num(" + hexadecimal(instance) + ", \"flash_mng\", \"spi_flash_info\", -)";
}

inline std::string element_of(uint32_t instance, std::string_view entry, std::string_view element, std::string_view node = "spi_flash_info")
{
	return "xml_get_element_value_u32(" + hexadecimal(instance) + ", \"flash_mng\", " + quoted(node) + ", " + quoted(entry) + ", " +
	       quoted(element) + ", -)";
}

inline const std::string entry_named = "sprintf_s(-, 32, \"entry%u\")";

inline call_list entry_asked(uint32_t instance, std::string_view entry)
{
	return {entry_named, element_of(instance, entry, "flash_id")};
}

inline call_list entry_read(uint32_t instance, std::string_view entry)
{
	call_list reads;
	for (const char *element : {"sfc_chip_id", "sfc_ctrl", "sfc_cs", "hardlock_type", "hardlock_val", "hardunlock_val"})
		reads.push_back(element_of(instance, entry, element));
	return reads;
}

// The settings of an instance found in its own configuration, in the first entry.
inline call_list settings_read(uint32_t instance)
{
	return joined({{existence(instance), entry_count(instance)}, entry_asked(instance, "entry0"), entry_read(instance, "entry0")});
}

inline const std::string lock_taken = "linux_spin_lock(-)", lock_released = "linux_spin_unlock(-)", record_allocated = "linux_kzalloc(-)",
			 record_linked = "linux_list_add_tail(-, -)";
inline const call_list registry_searched = {lock_taken, lock_released};

// ---------------------------------------------------------------------------------------------------------------- the registry

// Addresses of the records, oldest first.
inline std::vector<uint64_t> records()
{
	const uint64_t first = u64_at(harness::global("g_spi_flash_info_list", 16), 0);
	const uint64_t head = u64_at(harness::memory(first, 16), 8); // the first record's backward link
	std::vector<uint64_t> found;
	for (uint64_t record = first; record != head; record = u64_at(harness::memory(record, 16), 0))
		found.push_back(record);
	return found;
}

inline uint64_t find(uint32_t instance)
{
	return harness::call_address("drv_flash_find_flash_info", {instance});
}

inline bytes settings_of(uint64_t record)
{
	return harness::memory(record + 16, settings_size);
}

inline std::vector<uint32_t> instances()
{
	std::vector<uint32_t> found;
	for (uint64_t record : records())
		found.push_back(u32_at(settings_of(record), 0));
	return found;
}

inline uint64_t names_of(uint64_t record)
{
	return u64_at(harness::memory(record + 48, 8), 0);
}

inline uint32_t name_count_of(uint64_t record)
{
	return u32_at(harness::memory(record + 56, 4), 0);
}

inline uint64_t name_address_of(uint64_t record, std::size_t position)
{
	return u64_at(harness::memory(names_of(record) + 8 * position, 8), 0);
}

// The record holds copies of exactly these names.
inline void expect_names(uint64_t record, const std::vector<std::string> &names)
{
	ASSERT_NE(names_of(record), 0u);
	ASSERT_EQ(name_count_of(record), names.size());
	for (std::size_t i = 0; i < names.size(); ++i) {
		bytes expected(names[i].begin(), names[i].end());
		expected.push_back(0);
		EXPECT_EQ(harness::memory(name_address_of(record, i), expected.size()), expected) << "name " << i;
	}
}

inline void expect_no_names(uint64_t record, uint32_t count = 0)
{
	EXPECT_EQ(names_of(record), 0u);
	EXPECT_EQ(name_count_of(record), count);
}

// ---------------------------------------------------------------------------------------------------------------- requests

inline uint32_t get_size(uint32_t instance)
{
	bytes size(8);
	return harness::call("drv_flash_get_size", {instance, 0, &size});
}

inline uint32_t create(uint32_t instance, const harness::parts_spec &parts)
{
	return harness::call("drv_flash_create", {instance, &parts});
}

inline uint32_t create(uint32_t instance, std::initializer_list<const char *> names)
{
	harness::parts_spec parts;
	for (const char *name : names)
		parts.parts.push_back({.name = name});
	return create(instance, parts);
}

inline uint32_t destroy(uint32_t instance)
{
	return harness::call("drv_flash_destroy", {instance});
}

// The calls seen so far without messages and without the registry's lock.
inline call_list deeds_beside_registry()
{
	return without_lock_sizes(calls_without({"drv_log_record", "linux_spin_lock", "linux_spin_unlock"}));
}

inline std::string driver_call(std::string_view function, const settings &flash)
{
	return "suite_driver_" + std::string(function) + "(" + hexadecimal(flash.cfg_inst_id) + ", " + decimal(flash.sfc_chip_id) + ", " +
	       decimal(flash.sfc_ctrl) + ", " + decimal(flash.sfc_cs) + (function == "destroy" ? ")" : ", -)");
}

inline std::string hard_lock(const settings &flash)
{
	return "drv_hard_trylock(" + hexadecimal(flash.inst_id) + ", " + hexadecimal(flash.hardlock_type) + ", -)";
}

inline std::string hard_unlock(const settings &flash)
{
	return "drv_hard_unlock(" + hexadecimal(flash.inst_id) + ", " + hexadecimal(flash.hardlock_type) + ", " +
	       hexadecimal(flash.inst_id) + ", " + hexadecimal(flash.hardunlock_val) + ", 0)";
}

// ---------------------------------------------------------------------------------------------------------------- fixtures

// A loaded module on the board "spi" without a flash driver. At its end the registry is emptied, so that only what is lost stays.
class on_spi_board : public on_loaded_module {
protected:
	void prepare() override { harness::configure("spi"); }

	void TearDown() override
	{
		if (harness::loaded())
			for (uint64_t record : records())
				harness::call("release_flash_info_alloc", {record});
		on_loaded_module::TearDown();
	}
};

class on_spi_board_with_driver : public on_spi_board {
protected:
	void SetUp() override
	{
		on_spi_board::SetUp();
		harness::register_driver();
		harness::forget();
	}
};

} // namespace conformance
