// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/kernel.h>

#include "groups.h"

const struct check_group check_groups[] = {
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

const u32 check_group_count = ARRAY_SIZE(check_groups);
