// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/atomic.h>
#include <linux/kernel.h>
#include <linux/module.h>

#include "check.h"

static char *only = "";
module_param(only, charp, 0444);
MODULE_PARM_DESC(only, "group of checks to run");

static atomic_t g_checks = ATOMIC_INIT(0);
static atomic_t g_wrong = ATOMIC_INIT(0);

void check_number(const char *file, int line, const char *what, u64 actual, u64 expected)
{
	atomic_inc(&g_checks);
	if (actual == expected)
		return;
	atomic_inc(&g_wrong);
	pr_err("%s: %s:%d: %s is 0x%llx, not 0x%llx\n", THIS_MODULE->name, file, line, what, actual, expected);
}

static int __init check_init(void)
{
	u32 i;

	for (i = 0; i < check_group_count; i++)
		if (!strcmp(check_groups[i].name, only))
			check_groups[i].run();
	pr_info("%s: %s: %d checks, %d wrong\n", THIS_MODULE->name, only, atomic_read(&g_checks), atomic_read(&g_wrong));
	return atomic_read(&g_checks) && !atomic_read(&g_wrong) ? 0 : -EINVAL;
}

static void __exit check_exit(void)
{
}

module_init(check_init);
module_exit(check_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Checks of the reference platform");
