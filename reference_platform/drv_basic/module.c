// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * In debugfs, /sys/kernel/debug/drv_basic:
 *
 *   hard_locks  the held hardware locks, one line each: "<inst_id> <lock_type> <lock_val>"
 *   switches    see fault_switches.h
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/debugfs.h>
#include <linux/module.h>
#include <linux/seq_file.h>

#include "fault_switches.h"
#include "switches.h"

static struct fault_switch g_switch_table[] = {
	{ .function = "strcpy_s" },
	{ .function = "memcpy_s" },
	{ .function = "memset_s" },
	{ .function = "sprintf_s" },
	{ .function = "snprintf_s" },
	{ .function = "drv_common_parse_parent_id_card_id" },
	{ .function = "drv_hard_trylock" },
	{ .function = "drv_hard_unlock" },
};
DEFINE_FAULT_SWITCHES(g_basic_switches, g_switch_table);

static struct dentry *g_directory;

static int locks_file_show(struct seq_file *out, void *unused)
{
	hard_locks_show(out);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(locks_file);

static int __init drv_basic_init(void)
{
	g_directory = debugfs_create_dir("drv_basic", NULL);
	debugfs_create_file("hard_locks", 0400, g_directory, NULL, &locks_file_fops);
	fault_switches_create(&g_basic_switches, g_directory);
	return 0;
}

static void __exit drv_basic_exit(void)
{
	debugfs_remove_recursive(g_directory);
}

module_init(drv_basic_init);
module_exit(drv_basic_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: bounded routines, parent instances and the hardware lock");
