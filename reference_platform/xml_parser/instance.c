// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/export.h>

#include "board_tree.h"
#include "board_values.h"
#include "platform_status.h"

#define HARD_LOCK_NODE "hard_lock"

u32 board_get_value(const char *name, u32 *value)
{
	return of_property_read_u32(board_tree_root(), name, value) ? XML_NO_VALUE : 0;
}
EXPORT_SYMBOL(board_get_value);

u32 board_get_instance_value(u32 inst_id, const char *name, u32 *value)
{
	struct device_node *instance = board_tree_instance(inst_id);

	if (!instance)
		return XML_NO_INSTANCE;
	return of_property_read_u32(instance, name, value) ? XML_NO_VALUE : 0;
}
EXPORT_SYMBOL(board_get_instance_value);

u32 board_get_hard_lock(u32 inst_id, u32 lock_type, u32 *lock_val, u32 *unlock_val)
{
	struct device_node *instance = board_tree_instance(inst_id);
	struct device_node *lock;
	u32 type;

	if (!instance)
		return XML_NO_INSTANCE;
	for_each_child_of_node(instance, lock) {
		if (!of_node_name_eq(lock, HARD_LOCK_NODE) || of_property_read_u32(lock, "reg", &type) || type != lock_type)
			continue;
		if (of_property_read_u32(lock, "lock_val", lock_val) || of_property_read_u32(lock, "unlock_val", unlock_val))
			break;
		return 0;
	}
	return XML_NO_VALUE;
}
EXPORT_SYMBOL(board_get_hard_lock);
