// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The numbers that programs and other modules build in, typed a second time: what the cases expect is not what the module's own header
// says. Each number of the header is here once and nowhere else in the suite; tests/completeness compares both.
#pragma once

#include <cstdint>

namespace conformance {

inline constexpr uint32_t get_nand_part_info = 0x80045406, get_part_num = 0x80045407, get_nand_is_exist = 0x80045408,
			  find_config = 0x80045409, find_config_by_inst = 0x8004540A, mtd_read_command = 0x8004540B,
			  mtd_write_command = 0x4004540C, get_mtd_statistics = 0x8004540D;

inline constexpr uint32_t all_commands[] = {get_nand_part_info,	 get_part_num,	   get_nand_is_exist, find_config,
					    find_config_by_inst, mtd_read_command, mtd_write_command, get_mtd_statistics};

inline constexpr uint32_t failed = 0xFFFFFFFF;
inline constexpr uint32_t null_pointer = 417, invalid = 418, unknown_command = 420, no_driver = 421, bad_length = 425, not_found = 427,
			  range_overflow = 435, copy_failed = 1186, no_memory = 1194, no_data = 1205, request_unreadable = 1207,
			  interrupted = 1954, short_write = 2978, short_read = 2979, not_opened = 2983, no_entry_count = 3489;
inline constexpr uint32_t not_listed = 0x811B01A4, variant_name_failed = 0x811B01A7, empty_range = 0x811B01A9, path_failed = 0x811B04A2,
			  clear_failed = 0x811B04A3, no_buffer = 0x811B04AA, user_unreadable = 0x811B04B7, user_unwritable = 0x811B04B8,
			  no_partition = 0x811B0BA1, xml_node_unreadable = 0x811B0DA1, xml_attribute_unreadable = 0x811B0DA2,
			  xml_name_unreadable = 0x811B0DA3;

} // namespace conformance
