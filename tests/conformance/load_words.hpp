// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about loading and configuring: the calls that each step makes, in order, and the messages that go with them.
#pragma once

#include <string>
#include <vector>

#include "case.hpp"
#include "partition_words.hpp"

namespace conformance {

inline constexpr uint32_t section_row_size = 52;

// The boards spell names of a given length with the first characters of this text.
inline std::string name_of_length(std::size_t length)
{
	return std::string("abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ").substr(0, length);
}

inline std::string quoted(std::string_view text)
{
	return '"' + std::string(text) + '"';
}

// ---------------------------------------------------------------------------------------------------------------- calls

// Records that hold a lock have another size in every kernel configuration: their size is left out.
inline std::string without_lock_sizes(const std::string &call)
{
	if (call.starts_with("linux_kzalloc("))
		return "linux_kzalloc(-)";
	if (call.starts_with("linux_kcalloc(") && !call.ends_with(", " + decimal(section_row_size) + ")"))
		return call.substr(0, call.find(',')) + ", -)";
	return call;
}

inline call_list without_lock_sizes(call_list calls)
{
	for (std::string &call : calls)
		call = without_lock_sizes(call);
	return calls;
}

// What the module did, messages left out; and with them.
inline call_list steps()
{
	return without_lock_sizes(deeds());
}

inline call_list steps_and_messages()
{
	return without_lock_sizes(harness::calls());
}

inline call_list joined(std::initializer_list<call_list> parts)
{
	call_list all;
	for (const call_list &part : parts)
		all.insert(all.end(), part.begin(), part.end());
	return all;
}

inline call_list last(call_list calls, std::size_t count)
{
	if (calls.size() > count)
		calls.erase(calls.begin(), calls.end() - static_cast<std::ptrdiff_t>(count));
	return calls;
}

inline std::string message(uint32_t module_id, uint32_t level, std::string_view format)
{
	return "drv_log_record(" + decimal(module_id) + ", " + decimal(level) + ", 0, " + quoted(format) + ")";
}

inline std::string node_count_of(uint32_t instance)
{
	return "xml_get_specified_node_num(" + hexadecimal(instance) + ", \"flash_mng\", \"attr\", -)";
}

inline std::string bom_value_of(uint32_t instance)
{
	return "drv_board_get_bom_value(" + hexadecimal(instance) + ", 0x100000, -)";
}

inline std::string list_of(uint32_t instance, std::string_view node)
{
	return "xml_get_entry_list(" + hexadecimal(instance) + ", \"flash_mng\", " + quoted(node) + ", -, -)";
}

inline std::string number_attribute(std::string_view attribute)
{
	return "xml_get_attr_value_u32(-, " + quoted(attribute) + ", -)";
}

inline const std::string name_attribute = "xml_get_attr_string(-, \"mtd_name\", -, 40)";
inline const std::string variant_name_formed = "sprintf_s(-, 32, \"%s_%u\")";
inline const std::string init_of_mutex = "linux_mutex_init(-, \"&(g_flash_mtd_info_list[i].lock)\")";
inline const std::string freed = "kfree(-)", unlinked = "linux_list_del(-)", log_removed = "drv_log_deregister(27)",
			 device_removed = "misc_deregister(-)";

inline const call_list usrdata_absent = {"get_mtd_device_nm(\"usrdata\")"};
inline const call_list usrdata_present = {"get_mtd_device_nm(\"usrdata\")", "put_mtd_device(-)", "strcpy_s(-, 40, \"usrdata\")"};

inline const call_list registered = {"log_get_timestamp_ms()", "drv_log_register(27, \"flash_mng\", 8192)", "misc_register(-)"};
inline const call_list row_read = {number_attribute("section_id"), name_attribute, number_attribute("offset"), number_attribute("size")};
inline const call_list entry_made = {"linux_kzalloc(-)", "linux_semaphore_init(-, 1)", "linux_list_add_tail(-, -)"};
inline const call_list entry_removed = {unlinked, freed, freed}; // one that has sections
inline const call_list partition_read = {name_attribute, number_attribute("avail_size"), init_of_mutex};

inline std::string load_end(uint32_t result, std::string_view failure = {})
{
	return "log_module_init_end(\"flash_mng\", -, " + hexadecimal(result) + ", " + (failure.empty() ? "null" : quoted(failure)) + ")";
}

inline call_list repeated(const call_list &calls, std::size_t times)
{
	call_list all;
	for (std::size_t i = 0; i < times; ++i)
		all.insert(all.end(), calls.begin(), calls.end());
	return all;
}

// Room for a table of sections, and the rows read into it.
inline call_list rows_read(std::size_t rows)
{
	return joined({{"linux_kcalloc(" + decimal(rows) + ", " + decimal(section_row_size) + ")"}, repeated(row_read, rows)});
}

// An instance's sections read from its only table, and its entry made.
inline call_list configured_from_single_table(uint32_t instance, std::size_t rows)
{
	return joined({{node_count_of(instance), list_of(instance, "attr")}, rows_read(rows), entry_made});
}

// The table of listed partitions built.
inline call_list partitions_listed(uint32_t instance, std::size_t partitions)
{
	return joined(
		{{list_of(instance, "mtd_info"), "linux_kcalloc(" + decimal(partitions) + ", -)"}, repeated(partition_read, partitions)});
}

// ---------------------------------------------------------------------------------------------------------------- entries

// The address of an instance's flash config entry; 0 when it has none, and then the output must be as it was.
inline uint64_t entry_of(uint32_t instance)
{
	const bytes untouched(8, 0xA5);
	bytes entry = untouched;
	const uint32_t code = harness::call("get_flash_cfg", {instance, &entry});
	if (code == 0)
		return u64_at(entry, 0);
	EXPECT_EQ(code, failed);
	EXPECT_EQ(entry, untouched);
	return 0;
}

inline bool has_entry(uint32_t instance)
{
	return entry_of(instance) != 0;
}

// ---------------------------------------------------------------------------------------------------------------- messages

inline const log_line load_begins = common_log(ordinary, "flash_mng MODULE INIT BEGIN");
inline const log_line unload_ends = common_log(ordinary, "flash_module_exit");
inline const log_line usrdata_found = common_log(ordinary, "Get usrdata mtd name: usrdata");
inline const log_line no_section_table = own_log(ordinary, "flash mng there is no attr node");
inline const log_line no_node_count = own_log(ordinary, "flash mng not get xml node num");
inline const log_line no_listed_partitions = own_log(ordinary, "flash mng can not get mtd info xml");

inline log_line number_missing(uint32_t level, std::string_view element, std::string_view attribute)
{
	return common_log(level, "xml_get_attr_value_u32<" + std::string(element) + "> get " + std::string(attribute) + " failed");
}

inline log_line section_name_missing(std::string_view element)
{
	return common_log(ordinary, "xml_get_attr_string<" + std::string(element) + "> get mtd_name failed");
}

inline log_line partition_name_missing(std::string_view element)
{
	return common_log(serious, "xml get attr <" + std::string(element) + "> get mtd_name failed");
}

inline log_line entry_without_memory(uint32_t instance)
{
	return common_log(ordinary, "create config_entry memory for inst_id:" + hexadecimal(instance) + " fail");
}

inline log_line rows_without_memory(uint64_t size)
{
	return common_log(ordinary, "malloc size:" + decimal(size) + " error");
}

inline log_line variant_unreadable(uint32_t instance, uint32_t bom_value)
{
	return common_log(ordinary, "flash mng get xml attr inst_id:" + hexadecimal(instance) + ", bom_value:" + decimal(bom_value));
}

inline log_line usrdata_not_copied(int code)
{
	return common_log(serious, "copy usrdata mtd name failed, ret " + std::to_string(code));
}

inline const log_line partitions_without_memory = common_log(serious, "flash mtd info malloc fail");

inline log_line partition_listed(uint32_t instance, uint32_t number, const std::string &name, uint32_t size)
{
	return own_log(ordinary, "inst " + hexadecimal(instance) + " mtd info entry" + decimal(number) + " mtd_name " + name +
					 " avail_size " + hexadecimal(size) + " init success");
}

inline log_line partitions_counted(uint32_t instance, uint32_t count)
{
	return own_log(ordinary, "inst " + hexadecimal(instance) + " mtd info entry num " + decimal(count) + " init success");
}

inline log_lines joined_lines(std::initializer_list<log_lines> parts)
{
	log_lines all;
	for (const log_lines &part : parts)
		all.insert(all.end(), part.begin(), part.end());
	return all;
}

// The listed partitions of the board "plain".
inline const log_lines plain_partitions_listed = {partition_listed(default_instance, 0, "config", 0x20000),
						  partition_listed(default_instance, 1, "usrdata", 0x40000),
						  partitions_counted(default_instance, 2)};

} // namespace conformance
