// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Loads the board description named by the parameter "board". In debugfs, /sys/kernel/debug/xml_parser:
 *
 *   reload    writing a board name loads that board instead; reading gives the current name. A name may have a directory in front,
 *             as in "bench/small" for board/bench/small.fbd
 *   switches  see fault_switches.h and services.h
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/debugfs.h>
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#include "board_file.h"
#include "board_tree.h"
#include "fault_switches.h"
#include "services.h"

static char *board = "plain";
module_param(board, charp, 0444);
MODULE_PARM_DESC(board, "board description to load: board/<name>.fbd of the firmware directory (plain)");

static struct dentry *g_directory;

static ssize_t reload_write(struct file *file, const char __user *from, size_t size, loff_t *position)
{
	char name[BOARD_NAME_MAX + 3] = ""; /* one that is too long by one, and a line feed */
	int result;

	if (size >= sizeof(name)) {
		pr_err("reload: a board name has at most %d characters\n", BOARD_NAME_MAX);
		return -EINVAL;
	}
	if (copy_from_user(name, from, size))
		return -EFAULT;
	result = board_tree_load(strim(name));
	return result ? result : size;
}

static ssize_t reload_read(struct file *file, char __user *to, size_t size, loff_t *position)
{
	char name[BOARD_NAME_MAX + 2];

	board_tree_name(name, BOARD_NAME_MAX + 1);
	strcat(name, "\n");
	return simple_read_from_buffer(to, size, position, name, strlen(name));
}

static const struct file_operations reload_file = {
	.owner = THIS_MODULE,
	.open = simple_open,
	.read = reload_read,
	.write = reload_write,
};

static int __init xml_parser_init(void)
{
	int result = board_tree_load(board);

	if (result)
		return result;
	g_directory = debugfs_create_dir("xml_parser", NULL);
	debugfs_create_file("reload", 0600, g_directory, NULL, &reload_file);
	fault_switches_create(&g_xml_switches, g_directory);
	return 0;
}

static void __exit xml_parser_exit(void)
{
	debugfs_remove_recursive(g_directory);
	board_tree_free_all();
}

module_init(xml_parser_init);
module_exit(xml_parser_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: the board's configuration from a compiled board description");
