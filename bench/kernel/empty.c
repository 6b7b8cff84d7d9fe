// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * A module that does nothing: what every load and unload costs.
 */
#include <linux/module.h>

static int __init empty_init(void)
{
	return 0;
}

static void __exit empty_exit(void)
{
}

module_init(empty_init);
module_exit(empty_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Measurements: an empty module");
