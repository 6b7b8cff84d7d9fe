// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Which functions of flash_mng ran. The module parameter "watched" names them; /sys/kernel/debug/flash_lab_watched has a line for each, its
 * name and 1 when the observer saw that it ran, else 0.
 */
#include <linux/debugfs.h>
#include <linux/module.h>
#include <linux/seq_file.h>

#include "frame.h"
#include "lab.h"

static char *watched[LAB_STUBS];
static unsigned int watched_count;
module_param_array(watched, charp, &watched_count, 0);
MODULE_PARM_DESC(watched, "functions of flash_mng whose running is to be seen");

static struct dentry *report;

static int flash_lab_watched_show(struct seq_file *file, void *unused)
{
	unsigned int i;

	for (i = 0; i < watched_count; i++)
		seq_printf(file, "%s %d\n", watched[i], lab_ran(watched[i]));
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(flash_lab_watched);

int lab_watch_init(void)
{
	unsigned int i;
	int error;

	for (i = 0; i < watched_count; i++) {
		error = lab_observe_too(watched[i]);
		if (error) {
			pr_err("no room to watch %s\n", watched[i]);
			return error;
		}
	}
	report = debugfs_create_file("flash_lab_watched", 0444, NULL, NULL, &flash_lab_watched_fops);
	return 0;
}

void lab_watch_exit(void)
{
	debugfs_remove(report);
}
