// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

#include "common/printable.hpp"
#include "number.hpp"
#include "simulate.hpp"

namespace flash_board {
namespace {

using json = nlohmann::ordered_json;

// Rows of text in columns, the first row a heading.
std::string table(const std::string &title, const std::vector<std::vector<std::string>> &rows)
{
	std::vector<std::size_t> widths;
	std::string text = "\n" + title + "\n";

	for (const auto &row : rows) {
		widths.resize(std::max(widths.size(), row.size()));
		for (std::size_t i = 0; i < row.size(); i++)
			widths[i] = std::max(widths[i], row[i].size());
	}
	for (const auto &row : rows) {
		std::string line = " ";
		for (std::size_t i = 0; i < row.size(); i++)
			line += " " + row[i] + std::string(widths[i] - row[i].size() + 1, ' ');
		text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
	}
	return text;
}

std::string outcome(std::uint32_t code)
{
	return code ? hexadecimal(code) : "ok";
}

std::string section_table(const simulation_result &result)
{
	std::vector<std::vector<std::string>> rows = {
		{"row", "id", "partition", "offset", "size", "served by row", "reading the last byte"}};

	for (const auto &one : result.sections)
		rows.push_back({std::to_string(rows.size() - 1), std::to_string(one.id), one.partition, hexadecimal(one.offset),
				hexadecimal(one.size), one.served_by ? std::to_string(*one.served_by) : "none", outcome(one.last_byte)});
	return rows.size() == 1 ? "\nno sections\n" : table("sections", rows);
}

std::string_view name_of(transfer_path way)
{
	constexpr std::array<std::string_view, 3> names = {"none", "whole", "block"};

	return names[static_cast<std::size_t>(way)];
}

// Why writes to a partition can be lost.
std::string loss_of(const simulated_partition &one)
{
	if (one.section)
		return "writes of \"" + one.name + "\" can be lost: section row " + std::to_string(*one.section) +
		       " is the same partition\n";
	return one.can_lose_writes() ? "writes of \"" + one.name + "\" can be lost: programs and modules go different ways\n" : "";
}

std::string partition_table(const simulation_result &result)
{
	std::vector<std::vector<std::string>> rows = {{"name", "usable size", "path of programs", "path of modules"}};
	std::string losses;

	for (const auto &one : result.partitions) {
		rows.push_back({one.name, hexadecimal(one.avail_size), std::string(name_of(one.of_commands)),
				std::string(name_of(one.of_functions))});
		losses += loss_of(one);
	}
	return rows.size() == 1 ? "\nno partitions that are updated whole\n" : table("partitions that are updated whole", rows) + losses;
}

std::string spi_flash_table(const simulation_result &result)
{
	std::vector<std::vector<std::string>> rows = {
		{"instance", "search", "described by", "chip", "controller", "chip select", "lock type"}};

	for (const auto &one : result.spi_flashes) {
		rows.push_back({hexadecimal(one.instance), outcome(one.code)});
		if (!one.code)
			rows.back().insert(rows.back().end(),
					   {hexadecimal(one.described_by), std::to_string(one.chip), std::to_string(one.controller),
					    std::to_string(one.chip_select), std::to_string(one.lock_type)});
	}
	return rows.size() == 1 ? "" : table("SPI flash instances", rows);
}

std::string map_table(const simulation_result &result)
{
	std::vector<std::vector<std::string>> rows = {{"instance", "entry", "read", "MTD device", "offset", "size"}};

	for (const auto &one : result.map_entries) {
		rows.push_back({hexadecimal(one.instance), one.entry, outcome(one.code)});
		if (!one.code)
			rows.back().insert(rows.back().end(), {one.mtd_name, hexadecimal(one.offset), hexadecimal(one.size)});
	}
	return rows.size() == 1 ? "" : table("partitions of SPI flashes", rows);
}

std::string message_list(const std::string &title, const std::vector<simulated_message> &messages)
{
	std::vector<std::vector<std::string>> rows = {{"log", "level", "message"}};

	for (const auto &one : messages)
		rows.push_back({one.in_common_log ? "common" : "flash_mng", std::to_string(one.level), one.text});
	return rows.size() == 1 ? "" : table(title, rows);
}

json message_array(const std::vector<simulated_message> &messages)
{
	json list = json::array();

	for (const auto &one : messages)
		list.push_back({{"log", one.in_common_log ? "common" : "flash_mng"}, {"level", one.level}, {"text", one.text}});
	return list;
}

} // namespace

std::string as_text(const simulation_result &result)
{
	auto text = result.load_code
			    ? "flash_mng does not load: " + hexadecimal(result.load_code) + ", " + result.failure.value_or("") + "\n"
			    : std::string("flash_mng loads\n");

	if (!result.load_code)
		text += section_table(result) + partition_table(result) +
			"\nuser data partition: " + (result.user_data_partition.empty() ? "none" : result.user_data_partition) + "\n" +
			spi_flash_table(result) + map_table(result);
	return tools::printable_lines(text + message_list("messages of the load", result.load_messages) +
				      message_list("messages of the searches for SPI flashes", result.search_messages));
}

std::string as_json(const simulation_result &result)
{
	json sections = json::array(), partitions = json::array(), flashes = json::array(), entries = json::array();

	for (const auto &one : result.sections)
		sections.push_back({{"id", one.id},
				    {"partition", one.partition},
				    {"offset", one.offset},
				    {"size", one.size},
				    {"served_by", one.served_by ? json(*one.served_by) : json()},
				    {"last_byte", one.last_byte}});
	for (const auto &one : result.partitions)
		partitions.push_back({{"name", one.name},
				      {"avail_size", one.avail_size},
				      {"transfer_path_of_programs", name_of(one.of_commands)},
				      {"transfer_path_of_modules", name_of(one.of_functions)},
				      {"section_row", one.section ? json(*one.section) : json()},
				      {"can_lose_writes", one.can_lose_writes()}});
	for (const auto &one : result.spi_flashes) {
		flashes.push_back({{"instance", one.instance}, {"code", one.code}});
		if (!one.code)
			flashes.back().update({{"described_by", one.described_by},
					       {"chip", one.chip},
					       {"controller", one.controller},
					       {"chip_select", one.chip_select},
					       {"lock_type", one.lock_type}});
	}
	for (const auto &one : result.map_entries) {
		entries.push_back({{"instance", one.instance}, {"entry", one.entry}, {"code", one.code}});
		if (!one.code)
			entries.back().update({{"mtd_name", one.mtd_name}, {"offset", one.offset}, {"size", one.size}});
	}
	const json all = {{"load_code", result.load_code},
			  {"failure", result.failure ? json(*result.failure) : json()},
			  {"user_data_partition", result.user_data_partition},
			  {"sections", sections},
			  {"partitions", partitions},
			  {"spi_flashes", flashes},
			  {"spi_partitions", entries},
			  {"load_messages", message_array(result.load_messages)},
			  {"search_messages", message_array(result.search_messages)}};
	return all.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

} // namespace flash_board
