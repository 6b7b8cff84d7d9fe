// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/module.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "fault_switches.h"

static struct fault_switch *fault_switch_find(struct fault_switches *switches, const char *function)
{
	u32 i;

	for (i = 0; i < switches->count; i++)
		if (!strcmp(switches->all[i].function, function))
			return &switches->all[i];
	return NULL;
}

s64 fault_switch_fires(struct fault_switches *switches, const char *function)
{
	struct fault_switch *one;
	unsigned long irq_state;
	s64 status = -1;

	spin_lock_irqsave(&switches->lock, irq_state);
	one = fault_switch_find(switches, function);
	if (one && one->calls_left) {
		if (one->calls_left == 1)
			status = one->status;
		if (status < 0 || !one->sticky)
			one->calls_left--;
		if (!one->calls_left)
			WRITE_ONCE(switches->armed, switches->armed - 1);
	}
	spin_unlock_irqrestore(&switches->lock, irq_state);
	return status;
}

static void fault_switches_clear(struct fault_switches *switches)
{
	unsigned long irq_state;
	u32 i;

	spin_lock_irqsave(&switches->lock, irq_state);
	for (i = 0; i < switches->count; i++)
		switches->all[i].calls_left = 0;
	WRITE_ONCE(switches->armed, 0);
	spin_unlock_irqrestore(&switches->lock, irq_state);
}

static void fault_switch_arm(struct fault_switches *switches, struct fault_switch *one, u32 calls_left, u32 status, bool sticky)
{
	unsigned long irq_state;

	spin_lock_irqsave(&switches->lock, irq_state);
	if (!one->calls_left)
		WRITE_ONCE(switches->armed, switches->armed + 1);
	one->calls_left = calls_left;
	one->status = status;
	one->sticky = sticky;
	spin_unlock_irqrestore(&switches->lock, irq_state);
}

static int fault_switches_command(struct fault_switches *switches, char *command)
{
	char *function = strsep(&command, " ");
	char *nth = strsep(&command, " ");
	char *status = strsep(&command, " ");
	struct fault_switch *one;
	u32 nth_value, status_value;

	if (!strcmp(function, "clear") && !nth) {
		fault_switches_clear(switches);
		return 0;
	}
	one = fault_switch_find(switches, function);
	if (!one) {
		pr_err("switches: \"%s\" is not a function of this module that can be switched\n", function);
		return -EINVAL;
	}
	if (!nth || !status || kstrtou32(nth, 0, &nth_value) || !nth_value || kstrtou32(status, 0, &status_value) ||
	    (command && strcmp(command, "sticky"))) {
		pr_err("switches: %s: expected \"<function> <n> <status> [sticky]\" with n from 1\n", function);
		return -EINVAL;
	}
	fault_switch_arm(switches, one, nth_value, status_value, command);
	return 0;
}

static ssize_t fault_switches_write(struct file *file, const char __user *from, size_t size, loff_t *position)
{
	struct fault_switches *switches = ((struct seq_file *)file->private_data)->private;
	char *text;
	int result;

	if (size > 256)
		return -EINVAL;
	text = memdup_user_nul(from, size);
	if (IS_ERR(text))
		return PTR_ERR(text);
	result = fault_switches_command(switches, strim(text));
	kfree(text);
	return result ? result : size;
}

static int fault_switches_show(struct seq_file *out, void *unused)
{
	struct fault_switches *switches = out->private;
	unsigned long irq_state;
	u32 i;

	spin_lock_irqsave(&switches->lock, irq_state);
	for (i = 0; i < switches->count; i++) {
		const struct fault_switch *one = &switches->all[i];

		if (one->calls_left)
			seq_printf(out, "%s %u 0x%x%s\n", one->function, one->calls_left, one->status, one->sticky ? " sticky" : "");
	}
	spin_unlock_irqrestore(&switches->lock, irq_state);
	return 0;
}

static int fault_switches_open(struct inode *inode, struct file *file)
{
	return single_open(file, fault_switches_show, inode->i_private);
}

void fault_switches_create(struct fault_switches *switches, struct dentry *directory)
{
	static const struct file_operations operations = {
		.owner = THIS_MODULE,
		.open = fault_switches_open,
		.read = seq_read,
		.write = fault_switches_write,
		.llseek = seq_lseek,
		.release = single_release,
	};

	debugfs_create_file("switches", 0600, directory, switches, &operations);
}
