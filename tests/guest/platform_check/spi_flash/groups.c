// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/kernel.h>

#include "groups.h"

const struct check_group check_groups[] = {
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

const u32 check_group_count = ARRAY_SIZE(check_groups);
