// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * A module that links against flash_mng's exports as any other module of the board does: loading it makes the kernel resolve each of
 * them and compare its checksum. It calls some at load; the results are read from its parameters.
 */
#include <linux/module.h>

#include "flash_mng.h"

static uint patch1_result = ~0u;
module_param(patch1_result, uint, 0444);
static uint patch2_result = ~0u;
module_param(patch2_result, uint, 0444);
static uint is_exist_result = ~0u;
module_param(is_exist_result, uint, 0444);
static uint is_exist = ~0u;
module_param(is_exist, uint, 0444);

/* Referenced so that the linker keeps a relocation to each. */
static void *const linked[] __used = {
	drv_flash_read,
	drv_flash_write,
	drv_flash_mtd_read,
	drv_flash_mtd_write,
	drv_flash_get_mtd_size,
	drv_flash_get_nand_part_num,
	drv_flash_get_nand_part_size_info,
	drv_flash_get_nand_is_exist,
	drv_flash_driver_register,
	drv_flash_driver_unregister,
	drv_flash_get_size,
	drv_flash_create,
	drv_flash_destroy,
	drv_flash_get_type,
	flash_mng_drv_patch_func1,
	flash_mng_drv_patch_func2,
};

static int __init flash_caller_init(void)
{
	patch1_result = flash_mng_drv_patch_func1();
	patch2_result = flash_mng_drv_patch_func2();
	is_exist_result = drv_flash_get_nand_is_exist(&is_exist);
	return 0;
}

static void __exit flash_caller_exit(void)
{
}

module_init(flash_caller_init);
module_exit(flash_caller_exit);

MODULE_DESCRIPTION("A module that links against the exports of flash_mng");
MODULE_AUTHOR("flash_mng developers");
MODULE_LICENSE("Dual BSD/GPL");
