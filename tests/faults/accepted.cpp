// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "accepted.hpp"

#include <algorithm>

namespace faults {

namespace {

struct row {
	std::string_view operation; // a name, or how several begin
	std::string_view call;	    // part of the call as the trace shows it
	effect left;
	std::string_view reason;
	std::string_view until = {}; // only before the first call that this is a part of
	bool met = false;
};

constexpr std::string_view partition_list = "\"flash_mng\", \"mtd_info\"";
constexpr std::string_view no_usrdata = "a user-data partition that cannot be found counts as absent";
constexpr std::string_view no_sections = "a board whose section table cannot be read has no sections";
constexpr std::string_view no_partitions = "a board whose list of partitions cannot be found lists none";
constexpr std::string_view existence = "the question is whether the partition can be found";
constexpr std::string_view default_lock = "a lock setting that cannot be read has its default";

row g_rows[] = {
	{"drv_flash_mtd_write", "vfs_fsync(", effect::lost,
	 "what the flush answers is not looked at: what the flash refuses there is lost"},
	{"drv_flash_mtd_", "vfs_llseek(-, 0, 0)", effect::whole, "positions are compared in 32 bits, in which 0 and 2^32 are equal"},

	{"load", "log_get_timestamp_ms(", effect::whole, "the time is only handed on"},
	{"load", "get_mtd_device_nm(\"usrdata\")", effect::in_part, no_usrdata},
	{"load", "strcpy_s(-, 40, \"usrdata\")", effect::in_part, no_usrdata},
	{"load", "xml_get_specified_node_num(", effect::in_part, no_sections},
	{"load", "\"flash_mng\", \"attr", effect::in_part, no_sections},
	{"load", "drv_board_get_bom_value(", effect::in_part, no_sections},
	{"load", "sprintf_s(-, 32, \"%s_%u\")", effect::in_part, no_sections},
	{"load", "linux_kcalloc(", effect::in_part, no_sections, partition_list},
	{"load", "xml_get_attr_value_u32(-, \"section_id\"", effect::in_part, no_sections},
	{"load", "xml_get_attr_value_u32(-, \"offset\"", effect::in_part, no_sections},
	{"load", "xml_get_attr_value_u32(-, \"size\"", effect::in_part, no_sections},
	{"load", "xml_get_attr_string(", effect::in_part, no_sections, partition_list},
	{"load", partition_list, effect::in_part, no_partitions},
	{"unload", "drv_log_deregister(", effect::whole, "the module goes whatever the platform answers"},

	{"drv_flash_init", "get_mtd_device_nm(\"usrdata\")", effect::in_part, no_usrdata},
	{"drv_flash_init", "strcpy_s(-, 40, \"usrdata\")", effect::in_part, no_usrdata},
	{"drv_flash_init", "xml_get_", effect::in_part, no_sections},
	{"drv_flash_init", "drv_board_get_bom_value(", effect::in_part, no_sections},
	{"drv_flash_init", "sprintf_s(", effect::in_part, no_sections},
	{"drv_flash_init", "linux_kcalloc(", effect::in_part, no_sections},
	{"drv_flash_mtd_info_init", partition_list, effect::in_part, no_partitions},
	{"drv_flash_spi_chip_entry_parse", "xml_is_element_exist(", effect::in_part, "an entry may do without offset and size"},

	{"drv_flash_get_nand_is_exist", "get_mtd_device_nm(", effect::in_part, existence},
	{"FLASH_MNG_GET_NAND_IS_EXIST", "get_mtd_device_nm(", effect::in_part, existence},
	{"FLASH_MNG_GET_MTD_STATISTICS", "get_mtd_device(", effect::in_part, "devices are listed up to the first number without one"},

	{"drv_flash_", "xml_is_node_exist(", effect::in_part, "settings not found in the instance itself are looked for in its parent"},
	{"drv_flash_", "\"hardlock_type\"", effect::in_part, default_lock},
	{"drv_flash_", "\"hardlock_val\"", effect::in_part, default_lock},
	{"drv_flash_", "\"hardunlock_val\"", effect::in_part, default_lock},
};

bool contains(std::string_view text, std::string_view part)
{
	return text.find(part) != text.npos;
}

bool is_before(const std::vector<std::string> &trace, std::size_t position, std::string_view part)
{
	const auto end = trace.begin() + static_cast<std::ptrdiff_t>(position);
	return part.empty() || std::none_of(trace.begin(), end, [&](const std::string &call) { return contains(call, part); });
}

} // namespace

bool is_accepted(std::string_view operation, const std::vector<std::string> &trace, std::size_t position, effect &left)
{
	for (row &row : g_rows) {
		if (!operation.starts_with(row.operation) || !contains(trace[position], row.call) || !is_before(trace, position, row.until))
			continue;
		row.met = true;
		left = row.left;
		return true;
	}
	return false;
}

bool loses_silently(std::string_view operation, std::string_view call)
{
	return std::any_of(std::begin(g_rows), std::end(g_rows), [&](const row &row) {
		return row.left == effect::lost && operation.starts_with(row.operation) && contains(call, row.call);
	});
}

std::vector<std::string> rows_never_met()
{
	std::vector<std::string> rows;

	for (const row &row : g_rows)
		if (!row.met)
			rows.push_back(std::string(row.operation) + " " + std::string(row.call) + ": " + std::string(row.reason));
	return rows;
}

} // namespace faults
