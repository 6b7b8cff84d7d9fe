// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The board's capabilities: one is known, the BOM value. An instance may state its own; otherwise the board's holds, and a board that
 * states none has 0. In debugfs, /sys/kernel/debug/board_capability_mng/switches: see fault_switches.h.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/debugfs.h>
#include <linux/module.h>

#include "board_values.h"
#include "fault_switches.h"
#include "platform/board_capability.h"
#include "platform_status.h"

static struct fault_switch g_switch_table[] = {
	{ .function = "drv_board_get_bom_value" },
};
static DEFINE_FAULT_SWITCHES(g_switches, g_switch_table);

static struct dentry *g_directory;

u32 drv_board_get_bom_value(u32 inst_id, u32 capability, u32 *bom_value)
{
	u32 status, value = 0;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	if (!bom_value)
		return CAPABILITY_BAD_ARGUMENT;
	if (capability != BOARD_CAPABILITY_BOM)
		return CAPABILITY_UNKNOWN;
	if (board_get_instance_value(inst_id, "bom", &value))
		board_get_value("bom", &value);
	*bom_value = value;
	return 0;
}
EXPORT_SYMBOL(drv_board_get_bom_value);

static int __init board_capability_init(void)
{
	g_directory = debugfs_create_dir(KBUILD_MODNAME, NULL);
	fault_switches_create(&g_switches, g_directory);
	return 0;
}

static void __exit board_capability_exit(void)
{
	debugfs_remove_recursive(g_directory);
}

module_init(board_capability_init);
module_exit(board_capability_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: capabilities of the board");
