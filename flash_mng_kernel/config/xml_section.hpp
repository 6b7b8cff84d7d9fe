// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Entry lists of this module's section of the board's XML.
#pragma once

#include "platform/xml.h"

namespace flash_mng {

inline constexpr char xml_section[] = "flash_mng";

struct xml_list {
	u32 status; // 0 when the list was read
	u32 count = 0;
	xml_entry_node *first = nullptr;
};

inline xml_list read_xml_list(u32 inst_id, const char *node)
{
	xml_list list = {};
	list.status = xml_get_entry_list(inst_id, xml_section, node, &list.first, &list.count);
	return list;
}

} // namespace flash_mng
