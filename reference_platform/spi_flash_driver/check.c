// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/atomic.h>
#include <linux/module.h>

#include "check.h"

static char *only = "";
module_param(only, charp, 0444);
MODULE_PARM_DESC(only, "group of checks to run");

static const struct {
	const char *name;
	void (*run)(void);
} g_groups[] = {
	{ "board_parts", check_board_parts },
	{ "sizes", check_sizes },
	{ "refusals", check_refusals },
	{ "driver_itself", check_driver_itself },
	{ "failing_kernel", check_failing_kernel },
	{ "locks", check_locks },
	{ "open_partitions", check_open_partitions },
	{ "content", check_content },
	{ "transfers", check_transfers },
	{ "threads", check_threads },
	{ "switched", check_switched },
	{ "leave", check_leave },
};

static atomic_t g_checks = ATOMIC_INIT(0);
static atomic_t g_wrong = ATOMIC_INIT(0);

void check_number(const char *file, int line, const char *what, u64 actual, u64 expected)
{
	atomic_inc(&g_checks);
	if (actual == expected)
		return;
	atomic_inc(&g_wrong);
	pr_err("%s:%d: %s is 0x%llx, not 0x%llx\n", file, line, what, actual, expected);
}

static int __init spi_flash_check_init(void)
{
	u32 i;

	for (i = 0; i < ARRAY_SIZE(g_groups); i++)
		if (!strcmp(g_groups[i].name, only))
			g_groups[i].run();
	pr_info("%s: %d checks, %d wrong\n", only, atomic_read(&g_checks), atomic_read(&g_wrong));
	return atomic_read(&g_checks) && !atomic_read(&g_wrong) ? 0 : -EINVAL;
}

static void __exit spi_flash_check_exit(void)
{
}

module_init(spi_flash_check_init);
module_exit(spi_flash_check_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: test of the flash driver");
