// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include "files.h"

#include <linux/ctype.h>
#include <linux/debugfs.h>
#include <linux/mutex.h>
#include <linux/seq_file.h>
#include <linux/uaccess.h>

#include "fault_switches.h"
#include "store.h"

static struct dentry *g_directory;
static char g_last_init[LOG_TEXT_SIZE];
static DEFINE_MUTEX(g_last_init_lock);

static void *records_start(struct seq_file *out, loff_t *position)
{
	struct log_record *record = out->private;

	if (!log_store_next(*position, record))
		return NULL;
	*position = record->sequence;
	return record;
}

static void *records_next(struct seq_file *out, void *current_record, loff_t *position)
{
	*position = ((struct log_record *)current_record)->sequence + 1;
	return records_start(out, position);
}

static void records_stop(struct seq_file *out, void *current_record)
{
}

static void put_escaped(struct seq_file *out, unsigned char byte)
{
	if (byte == '\\')
		seq_puts(out, "\\\\");
	else if (byte == '\n')
		seq_puts(out, "\\n");
	else if (byte < 0x20 || byte > 0x7e)
		seq_printf(out, "\\x%02X", byte);
	else
		seq_putc(out, byte);
}

static int records_show(struct seq_file *out, void *current_record)
{
	const struct log_record *record = current_record;
	const char *text;

	seq_printf(out, "%llu %llu %u %u %u ", record->sequence, record->time_ms, record->module_id, record->level, record->flag);
	for (text = record->text; *text; text++)
		put_escaped(out, *text);
	seq_putc(out, '\n');
	return 0;
}

static const struct seq_operations records_sequence = {
	.start = records_start,
	.next = records_next,
	.stop = records_stop,
	.show = records_show,
};

static int records_open(struct inode *inode, struct file *file)
{
	return seq_open_private(file, &records_sequence, sizeof(struct log_record));
}

static ssize_t records_write(struct file *file, const char __user *from, size_t size, loff_t *position)
{
	char command[8] = "";

	if (size >= sizeof(command) || copy_from_user(command, from, size) || strcmp(strim(command), "clear")) {
		pr_err("records: the only thing to write is \"clear\"\n");
		return -EINVAL;
	}
	log_store_clear();
	return size;
}

static const struct file_operations records_file = {
	.owner = THIS_MODULE,
	.open = records_open,
	.read = seq_read,
	.write = records_write,
	.llseek = seq_lseek,
	.release = seq_release_private,
};

static int last_init_show(struct seq_file *out, void *unused)
{
	mutex_lock(&g_last_init_lock);
	if (g_last_init[0])
		seq_printf(out, "%s\n", g_last_init);
	mutex_unlock(&g_last_init_lock);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(last_init);

void log_files_set_last_init(const char *name, u32 result, const char *failure)
{
	mutex_lock(&g_last_init_lock);
	scnprintf(g_last_init, sizeof(g_last_init), "%s 0x%x %s", name, result, failure ? failure : "-");
	mutex_unlock(&g_last_init_lock);
}

void log_files_create(struct fault_switches *switches)
{
	g_directory = debugfs_create_dir("log", NULL);
	debugfs_create_file("records", 0600, g_directory, NULL, &records_file);
	debugfs_create_file("last_init", 0400, g_directory, NULL, &last_init_fops);
	fault_switches_create(switches, g_directory);
}

void log_files_remove(void)
{
	debugfs_remove_recursive(g_directory);
}
