// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "simulate.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "config/flash_config.hpp"
#include "config/mtd_info.hpp"
#include "datapath/section_transfer.hpp"
#include "flash_mng.h"
#include "simulation.hpp"
#include "spi/spi_config.hpp"
#include "uapi/flash_mng.h"
#include "xml_writer.hpp"

namespace flash_board {
namespace {

constexpr std::uint32_t default_instance = 0xFFFFFFFF;
constexpr std::uint64_t largest_simulated_size = std::uint64_t(1) << 33;

// The simulation reads boards from files.
class board_on_disk {
public:
	explicit board_on_disk(const board &content)
	{
		auto name = (std::filesystem::temp_directory_path() / "flash-board-XXXXXX.xml").string();
		const int file = mkstemps(name.data(), 4);

		if (file < 0)
			throw std::runtime_error(name + ": cannot be written");
		close(file);
		path_ = name;
		std::ofstream(path_) << as_xml(content);
	}
	board_on_disk(const board_on_disk &) = delete;
	board_on_disk &operator=(const board_on_disk &) = delete;
	~board_on_disk() { std::remove(path_.c_str()); }

	const std::string &path() const { return path_; }

private:
	std::string path_;
};

// Ends what the simulation holds, whichever way this is left.
class simulated_board {
public:
	simulated_board(const board_on_disk &from, const mtd_layout &layout)
	{
		::harness::reset();
		::harness::configure(from.path());
		for (const auto &one : layout)
			add(one);
	}
	simulated_board(const simulated_board &) = delete;
	simulated_board &operator=(const simulated_board &) = delete;
	~simulated_board() { ::harness::reset(); }

private:
	static void add(const partition &from)
	{
		::harness::mtd_spec spec = {.name = from.name};

		spec.type = from.type.value_or(mtd_type_nand);
		spec.erase_size = static_cast<std::uint32_t>(from.erase_size.value_or(512));
		const auto size = std::min(from.size.value_or(largest_simulated_size), largest_simulated_size);
		spec.size = std::max<std::uint64_t>(size / spec.erase_size, 1) * spec.erase_size;
		::harness::add_mtd(spec);
	}
};

std::vector<simulated_message> messages()
{
	std::vector<simulated_message> all;

	for (const auto &line : ::harness::log())
		all.push_back({line.module_id == 0, line.level, line.text});
	::harness::forget();
	return all;
}

std::uint32_t read_last_byte(const flash_section &section)
{
	std::uint8_t byte = 0;

	return drv_flash_read(default_instance, section.section_id, section.offset + section.size - 1, &byte, sizeof(byte));
}

std::optional<std::uint32_t> row_for(const flash_config_entry &table, const flash_section &section)
{
	std::uint32_t index = 0;

	if (flash_addr_valid(table.sections, table.section_count, section.section_id, section.offset, section.size, &index))
		return std::nullopt;
	return index;
}

void read_sections(simulation_result &to)
{
	flash_config_entry *entry = nullptr;

	if (get_flash_cfg(default_instance, &entry))
		return;
	for (const auto *row = entry->sections; row != entry->sections + entry->section_count; row++)
		to.sections.push_back(
			{row->section_id, row->mtd_name, row->offset, row->size, row_for(*entry, *row), read_last_byte(*row)});
	::harness::forget();
}

// What the module called since the last time this was asked.
transfer_path path_taken()
{
	const auto calls = ::harness::calls();
	const auto called = [&](std::string_view function) {
		return std::any_of(calls.begin(), calls.end(), [&](const std::string &one) { return one.starts_with(function); });
	};

	::harness::forget();
	return called("plat_mtd_read_buf(") ? transfer_path::whole : called("kernel_read(") ? transfer_path::block : transfer_path::none;
}

transfer_path path_of_functions(const std::string &name)
{
	std::uint8_t byte = 0;

	::harness::forget();
	drv_flash_mtd_read(name.c_str(), 0, &byte, sizeof(byte));
	return path_taken();
}

// Reads a byte as a program does, from memory of its own.
class program_read {
public:
	transfer_path of(const std::string &name) const
	{
		flash_mtd_io_arg request = {};

		std::copy_n(name.begin(), std::min(name.size(), sizeof(request.name) - 1), request.name);
		request.length = 1;
		request.buffer = ::harness::user_address(byte_);
		std::memcpy(request_, &request, sizeof(request));
		::harness::forget();
		::harness::ioctl(FLASH_MNG_MTD_READ, ::harness::user_address(request_));
		return path_taken();
	}

private:
	std::uint8_t *byte_ = ::harness::user_memory(1), *request_ = ::harness::user_memory(sizeof(flash_mtd_io_arg));
};

std::optional<std::uint32_t> first_row_of(const std::vector<simulated_section> &sections, const std::string &partition)
{
	const auto found =
		std::find_if(sections.begin(), sections.end(), [&](const simulated_section &one) { return one.partition == partition; });

	return found == sections.end() ? std::nullopt : std::optional(static_cast<std::uint32_t>(found - sections.begin()));
}

void read_partitions(simulation_result &to)
{
	const program_read by_program;

	for (std::uint32_t i = 0; i < g_flash_mtd_info_list_num; i++) {
		const std::string name = g_flash_mtd_info_list[i].name();
		to.partitions.push_back({name, g_flash_mtd_info_list[i].avail_size, by_program.of(name), path_of_functions(name),
					 first_row_of(to.sections, name)});
	}
}

const node *node_named(const instance &of, std::string_view name)
{
	for (const auto &one : of.sections)
		for (const auto &inside : one.nodes)
			if (one.name == "flash_mng" && inside.name == name)
				return &inside;
	return nullptr;
}

void search_settings(simulation_result &to, const instance &of)
{
	spi_controller_config config = {};
	const auto code = drv_flash_get_sfc_config(of.id, &config);

	to.spi_flashes.push_back({of.id, code});
	if (!code)
		to.spi_flashes.back() = {of.id,		  code,		 config.cfg_inst_id,  config.sfc_chip_id,
					 config.sfc_ctrl, config.sfc_cs, config.hardlock_type};
}

void read_map(simulation_result &to, const instance &of, const node &map)
{
	for (const auto &entry : map.entries) {
		flash_part part = {};
		const auto code = drv_flash_spi_chip_entry_parse(of.id, entry.name.c_str(), &part);
		to.map_entries.push_back({of.id, entry.name, code, part.mtd_name, part.offset, part.size});
	}
}

bool is_parent(const board &of, const instance &one)
{
	return std::any_of(of.instances.begin(), of.instances.end(), [&](const instance &other) { return other.parent == one.id; });
}

bool parent_has_settings(const board &of, const instance &one)
{
	const auto is_parent = [&](const instance &other) { return other.id == one.parent; };
	const auto parent = std::find_if(of.instances.begin(), of.instances.end(), is_parent);

	return parent != of.instances.end() && node_named(*parent, "spi_flash_info");
}

void read_spi_flashes(simulation_result &to, const board &of)
{
	for (const auto &one : of.instances) {
		const auto *map = node_named(one, "spi_flash_map");
		if (map || (!is_parent(of, one) && node_named(one, "spi_flash_info")) || parent_has_settings(of, one))
			search_settings(to, one);
		if (map)
			read_map(to, one, *map);
	}
}

} // namespace

simulation_result simulate(const board &of, const mtd_layout &layout)
{
	const board_on_disk file(of);
	const simulated_board running(file, layout);
	simulation_result result = {};

	result.load_code = ::harness::load();
	result.failure = ::harness::load_report()->failure;
	result.load_messages = messages();
	result.user_data_partition = g_usrdata_mtd_name;
	if (result.load_code == 0) {
		read_sections(result);
		read_partitions(result);
		read_spi_flashes(result, of);
		result.search_messages = messages();
	}
	return result;
}

} // namespace flash_board
