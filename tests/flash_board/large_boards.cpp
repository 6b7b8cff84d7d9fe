// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "large_boards.hpp"

#include <string_view>

namespace large_boards {
namespace {

using row_maker = std::function<std::string(std::size_t)>;

std::string joined(std::size_t rows, const row_maker &row, std::string_view between = "\n")
{
	std::string text;

	for (std::size_t i = 0; i < rows; i++)
		text += row(i) + std::string(between);
	return text;
}

std::string board_of(const std::string &instances)
{
	return "<board name='b'>\n" + instances + "</board>\n";
}

std::string in_default_instance(const std::string &node, const std::string &rows)
{
	return board_of("<instance id='0xffffffff'><module name='flash_mng'><node name='" + node + "'>\n" + rows +
			"</node></module></instance>\n");
}

std::string section(std::size_t row, std::size_t id, const std::string &partition, std::size_t offset, const std::string &size)
{
	return "<entry name='s" + std::to_string(row) + "' section_id='" + std::to_string(id) + "' mtd_name='" + partition + "' offset='" +
	       std::to_string(offset) + "' size='" + size + "'/>";
}

std::string settings(std::size_t row, const std::string &more = "")
{
	return "<entry name='entry" + std::to_string(row) + "'><flash_id>" + std::to_string(row) + "</flash_id><sfc_chip_id>" +
	       std::to_string(row) + "</sfc_chip_id><sfc_ctrl>0</sfc_ctrl><sfc_cs>0</sfc_cs>" + more + "</entry>";
}

std::string map_entry(std::size_t row, std::size_t offset)
{
	return "<entry name='m" + std::to_string(row) + "'><mtd_name>p" + std::to_string(row) + "</mtd_name><offset>" +
	       std::to_string(offset) + "</offset><size>65536</size></entry>";
}

std::string cards(std::size_t rows)
{
	return board_of("<instance id='0xffffffff'/><instance id='0xfffffffe'><module name='flash_mng'><node name='spi_flash_info'>\n" +
			joined(rows, [](std::size_t i) { return settings(i, "<hardlock_type>0</hardlock_type>"); }) +
			"</node></module></instance>\n" + joined(rows, [](std::size_t i) {
				return "<instance id='" + std::to_string(i) + "' parent='0xfffffffe' card='" + std::to_string(i) + "'/>";
			}));
}

} // namespace

std::vector<kind> all()
{
	const auto sections = [](const row_maker &row, std::string_view between = "\n") {
		return [=](std::size_t rows) { return in_default_instance("attr", joined(rows, row, between)); };
	};

	return {
		{"sections_of_one_partition", sections([](std::size_t i) { return section(i, i, "boot", 0, "4096"); })},
		{"sections_side_by_side", sections([](std::size_t i) { return section(i, 1, "boot", 4096 * i, "4096"); })},
		{"sections_on_one_line", sections([](std::size_t i) { return section(i, i, "boot", 0, "many"); }, "")},
		{"sections_that_overlap", sections([](std::size_t i) { return section(i, 1, "boot", 16 * i, "4096"); })},
		{"sections_of_no_partition", sections([](std::size_t i) { return section(i, i, "boots" + std::to_string(i), 0, "1"); })},
		{"listed_partitions",
		 [](std::size_t rows) {
			 return in_default_instance("mtd_info", joined(rows, [](std::size_t i) {
							    return "<entry name='p" + std::to_string(i) + "' mtd_name='n" +
								   std::to_string(i) + "' avail_size='4096'/>";
						    }));
		 }},
		{"cards_of_one_carrier", cards},
		{"a_chain_of_parents",
		 [](std::size_t rows) {
			 return board_of(joined(rows, [](std::size_t i) {
				 return "<instance id='" + std::to_string(i) + "' parent='" + std::to_string(i + 1) + "' card='1'/>";
			 }));
		 }},
		{"partitions_of_an_spi_flash",
		 [](std::size_t rows) {
			 return in_default_instance("spi_flash_map",
						    joined(rows, [](std::size_t i) { return map_entry(i, 65536 * (i % 9000)); }));
		 }},
		{"attributes_of_one_entry",
		 [](std::size_t rows) {
			 return in_default_instance("other", "<entry name='e'" + joined(rows, [](std::size_t i) {
								     return " a" + std::to_string(i) + "='&'";
							     }) + "/>");
		 }},
		{"bytes_that_are_not_utf_8", [](std::size_t rows) { return std::string(50 * rows, '\xff'); }},
	};
}

} // namespace large_boards
