// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/export.h>

#include "board_values.h"
#include "fault_switches.h"
#include "platform/instance.h"
#include "platform_status.h"
#include "switches.h"

u32 drv_common_parse_parent_id_card_id(u32 inst_id, u32 *parent_inst_id, u32 *card_id)
{
	u32 status, parent, card;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	if (!parent_inst_id || !card_id)
		return INSTANCE_BAD_ARGUMENT;
	status = board_get_instance_value(inst_id, "parent", &parent);
	if (!status)
		status = board_get_instance_value(inst_id, "card", &card);
	if (status)
		return status == XML_NO_INSTANCE ? INSTANCE_UNKNOWN : INSTANCE_NO_PARENT;
	*parent_inst_id = parent;
	*card_id = card;
	return 0;
}
EXPORT_SYMBOL(drv_common_parse_parent_id_card_id);
