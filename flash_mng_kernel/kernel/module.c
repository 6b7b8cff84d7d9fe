// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/module.h>
#include <linux/stringify.h>

#include "kernel/device.h"

static int __init flash_mng_init(void)
{
	return flash_mng_load();
}

static void __exit flash_mng_exit(void)
{
	flash_mng_unload();
}

module_init(flash_mng_init);
module_exit(flash_mng_exit);

MODULE_DESCRIPTION("Flash manager of the board");
MODULE_AUTHOR("The flash_mng developers");
MODULE_LICENSE("Dual BSD/GPL");
MODULE_VERSION(__stringify(FLASH_MNG_VERSION));
