// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Writes generations of patterns to NOR flash, for power cuts. Each write to /sys/kernel/debug/powercut_client/next does the write of one
 * generation and says on the console, before it returns, that it is on the flash. A failed one is said too and gives EIO.
 *
 * Parameters: seed, and first, the generation to begin with.
 */
#define pr_fmt(fmt) "powercut: " fmt

#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>
#include <linux/mutex.h>
#include <linux/vmalloc.h>

#include "flash_mng.h"
#include "plan.h"
#include "platform/flash_buffer.h"

static uint seed;
module_param(seed, uint, 0444);
static uint first = 1;
module_param(first, uint, 0444);

static DEFINE_MUTEX(g_lock);
static uint g_generation; /* the next one */
static u8 *g_data;
static struct dentry *g_directory;

static u32 update_by_service(const struct powercut_write *write)
{
	struct mtd_info *mtd = get_mtd_device_nm(POWERCUT_SERVICE_PARTITION);
	char path[24];
	u32 status;

	if (IS_ERR(mtd))
		return FLASH_MNG_NO_PARTITION;
	scnprintf(path, sizeof(path), "/dev/mtd%d", mtd->index);
	status = plat_mtd_update_buf(path, write->offset, g_data, write->length);
	put_mtd_device(mtd);
	return status;
}

static u32 do_write(const struct powercut_write *write)
{
	switch (write->path) {
	case POWERCUT_BY_SECTION:
		return drv_flash_write(POWERCUT_INSTANCE, POWERCUT_SECTION, write->offset, g_data, write->length);
	case POWERCUT_BY_PARTITION:
		return drv_flash_mtd_write(POWERCUT_BLOCK_PARTITION, write->offset, g_data, write->length);
	default:
		return update_by_service(write);
	}
}

/* The console's lines are sent before pr_err() returns, so what the host has read of them is true. */
static ssize_t next_write(struct file *file, const char __user *from, size_t size, loff_t *position)
{
	struct powercut_write write;
	u32 code;

	mutex_lock(&g_lock);
	write = powercut_plan(seed, g_generation);
	powercut_fill(seed, g_generation, g_data, write.length);
	code = do_write(&write);
	if (code)
		pr_err("generation %u failed with code 0x%08x\n", g_generation, code);
	else
		pr_err("generation %u is on the flash\n", g_generation++);
	mutex_unlock(&g_lock);
	return code ? -EIO : size;
}

static const struct file_operations g_next_operations = {
	.owner = THIS_MODULE,
	.write = next_write,
};

static int __init powercut_client_init(void)
{
	g_data = vmalloc(POWERCUT_LONGEST);
	if (!g_data)
		return -ENOMEM;
	g_generation = first;
	g_directory = debugfs_create_dir(KBUILD_MODNAME, NULL);
	debugfs_create_file("next", 0200, g_directory, NULL, &g_next_operations);
	return 0;
}

static void __exit powercut_client_exit(void)
{
	debugfs_remove_recursive(g_directory);
	vfree(g_data);
}

module_init(powercut_client_init);
module_exit(powercut_client_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Writes through flash_mng until the power goes");
