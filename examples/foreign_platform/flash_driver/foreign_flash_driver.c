// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The least that a flash driver is: three functions, registered with flash_mng. It has one flash, of 1 MiB, at chip 0, controller 1,
 * select 0, and makes no partitions; a real one creates MTD devices of the given names, offsets and sizes, and removes them.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/sizes.h>

#include "flash_mng.h"

#define NO_SUCH_FLASH 0xF0000101

static u32 find_flash(u32 chip_id, u32 ctrl, u32 cs)
{
	return chip_id == 0 && ctrl == 1 && cs == 0 ? 0 : NO_SUCH_FLASH;
}

/* What is stored, and how wide it is, is between this driver and whoever asks flash_mng. */
static u32 foreign_get_size(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, void *size)
{
	u32 status = find_flash(sfc_chip_id, sfc_ctrl, sfc_cs);

	if (!status)
		*(u64 *)size = SZ_1M;
	return status;
}

static u32 foreign_create(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, struct flash_parts_info *parts_info)
{
	u32 status = find_flash(sfc_chip_id, sfc_ctrl, sfc_cs);
	u32 i;

	for (i = 0; !status && i < parts_info->part_num; i++)
		pr_info("partition %.32s: 0x%x bytes at 0x%x\n", parts_info->parts[i].mtd_name, parts_info->parts[i].size,
			parts_info->parts[i].offset);
	return status;
}

static u32 foreign_destroy(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs)
{
	return find_flash(sfc_chip_id, sfc_ctrl, sfc_cs);
}

static const struct flash_driver_ops operations = {
	.get_size = foreign_get_size,
	.create = foreign_create,
	.destroy = foreign_destroy,
};

static int __init foreign_flash_driver_init(void)
{
	return drv_flash_driver_register(0, 0, &operations) == FLASH_MNG_OK ? 0 : -EINVAL;
}

static void __exit foreign_flash_driver_exit(void)
{
	drv_flash_driver_unregister();
}

module_init(foreign_flash_driver_init);
module_exit(foreign_flash_driver_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Example: the least flash driver");
