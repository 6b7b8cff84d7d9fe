// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* The exports stand in C because the tool that computes their checksums reads C only. */
#include <linux/export.h>

#include "flash_mng.h"

EXPORT_SYMBOL(drv_flash_read);
EXPORT_SYMBOL(drv_flash_write);
EXPORT_SYMBOL(drv_flash_mtd_read);
EXPORT_SYMBOL(drv_flash_mtd_write);
EXPORT_SYMBOL(drv_flash_get_mtd_size);
EXPORT_SYMBOL(drv_flash_get_nand_part_num);
EXPORT_SYMBOL(drv_flash_get_nand_part_size_info);
EXPORT_SYMBOL(drv_flash_get_nand_is_exist);
EXPORT_SYMBOL(drv_flash_driver_register);
EXPORT_SYMBOL(drv_flash_driver_unregister);
EXPORT_SYMBOL(drv_flash_get_size);
EXPORT_SYMBOL(drv_flash_create);
EXPORT_SYMBOL(drv_flash_destroy);
EXPORT_SYMBOL(drv_flash_get_type);
EXPORT_SYMBOL(flash_mng_drv_patch_func1);
EXPORT_SYMBOL(flash_mng_drv_patch_func2);
