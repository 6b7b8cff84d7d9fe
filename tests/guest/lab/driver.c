// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * A flash driver: it stores a size, remembers the parts that it is given, and succeeds unless a fault says otherwise.
 */
#include <linux/mutex.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/uaccess.h>

#include "flash_mng.h"
#include "lab.h"

static u32 (*register_driver)(u64 unused1, u64 unused2, const struct flash_driver_ops *ops);
static void (*unregister_driver)(void);

static DEFINE_MUTEX(parts_lock);
static struct flash_part *parts;
static size_t parts_size; /* bytes */

static void keep_parts(const struct flash_part *given, size_t size)
{
	mutex_lock(&parts_lock);
	kfree(parts);
	parts = kmemdup(given, size, GFP_KERNEL);
	parts_size = parts ? size : 0;
	mutex_unlock(&parts_lock);
}

static u32 suite_driver_get_size(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, void *size)
{
	const u64 arguments[] = { cfg_inst_id, sfc_chip_id, sfc_ctrl, sfc_cs, (u64)size };
	const u64 told = LAB_DRIVER_SIZE;
	s64 result;

	if (lab_observe(__func__, arguments, &result))
		return result;
	memcpy(size, &told, sizeof(told));
	return 0;
}

static u32 suite_driver_create(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, struct flash_parts_info *info)
{
	const u64 arguments[] = { cfg_inst_id, sfc_chip_id, sfc_ctrl, sfc_cs, (u64)info };
	s64 result;

	if (lab_observe(__func__, arguments, &result))
		return result;
	keep_parts(info->parts, info->part_num * sizeof(*info->parts));
	return 0;
}

static u32 suite_driver_destroy(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs)
{
	const u64 arguments[] = { cfg_inst_id, sfc_chip_id, sfc_ctrl, sfc_cs };
	s64 result;

	return lab_observe(__func__, arguments, &result) ? result : 0;
}

#define TABLE(functions)                                                                   \
	[functions] = {                                                                    \
		.get_size = (functions) & LAB_DRIVER_GET_SIZE ? suite_driver_get_size : NULL, \
		.create = (functions) & LAB_DRIVER_CREATE ? suite_driver_create : NULL,    \
		.destroy = (functions) & LAB_DRIVER_DESTROY ? suite_driver_destroy : NULL, \
	}

static const struct flash_driver_ops tables[] = {
	TABLE(0), TABLE(1), TABLE(2), TABLE(3), TABLE(4), TABLE(5), TABLE(6), TABLE(7),
};

const struct flash_driver_ops *lab_driver_table(u64 functions)
{
	return functions < ARRAY_SIZE(tables) ? &tables[functions] : NULL;
}

int lab_driver_prepare(void)
{
	register_driver = (void *)lab_module_symbol("drv_flash_driver_register");
	unregister_driver = (void *)lab_module_symbol("drv_flash_driver_unregister");
	if (!register_driver || !unregister_driver) {
		pr_err("flash_mng has no functions for flash drivers\n");
		return -ENOENT;
	}
	keep_parts(NULL, 0);
	return 0;
}

void lab_driver_exit(void)
{
	kfree(parts);
}

void lab_driver_comes(u64 functions)
{
	register_driver(0, 0, lab_driver_table(functions));
}

void lab_driver_goes(void)
{
	unregister_driver();
}

long lab_driver_parts(struct lab_parts __user *argument)
{
	struct lab_parts record;
	long error = 0;

	if (copy_from_user(&record, argument, sizeof(record)))
		return -EFAULT;
	mutex_lock(&parts_lock);
	record.used = parts_size;
	if (copy_to_user(u64_to_user_ptr(record.buffer), parts, min(record.size, record.used)))
		error = -EFAULT;
	mutex_unlock(&parts_lock);
	return error ?: copy_to_user(argument, &record, sizeof(record)) ? -EFAULT : 0;
}
