// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/kernel.h>
#include <linux/module.h>

#include "check.h"

static char *only = "";
module_param(only, charp, 0444);
MODULE_PARM_DESC(only, "group of checks to run");

static const struct {
	const char *name;
	void (*run)(void);
} g_groups[] = {
	{ "bounded", check_bounded },
	{ "configuration", check_configuration },
	{ "instances", check_instances },
	{ "logs", check_logs },
	{ "many_logs", check_many_logs },
	{ "switched", check_switched },
	{ "good_flash", check_good_flash },
	{ "worn_flash", check_worn_flash },
	{ "flipping_flash", check_flipping_flash },
	{ "flash_answers", check_flash_answers },
};

static u32 g_checks;
static u32 g_wrong;

void check_number(const char *file, int line, const char *what, u64 actual, u64 expected)
{
	g_checks++;
	if (actual == expected)
		return;
	g_wrong++;
	pr_err("%s:%d: %s is 0x%llx, not 0x%llx\n", file, line, what, actual, expected);
}

static int __init platform_check_init(void)
{
	u32 i;

	for (i = 0; i < ARRAY_SIZE(g_groups); i++)
		if (!strcmp(g_groups[i].name, only))
			g_groups[i].run();
	pr_info("%s: %u checks, %u wrong\n", only, g_checks, g_wrong);
	return g_checks && !g_wrong ? 0 : -EINVAL;
}

static void __exit platform_check_exit(void)
{
}

module_init(platform_check_init);
module_exit(platform_check_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: its own test");
