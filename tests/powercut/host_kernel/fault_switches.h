/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/* The platform's fault switches, for the host: none can be armed. */
#ifndef POWERCUT_FAULT_SWITCHES_H
#define POWERCUT_FAULT_SWITCHES_H

#include <linux/debugfs.h>
#include <linux/types.h>

struct fault_switch {
	const char *function;
};

struct fault_switches {
	u32 count;
	struct fault_switch *all;
};

#define DEFINE_FAULT_SWITCHES(name, table) struct fault_switches name = { ARRAY_SIZE(table), table }

static inline bool fault_switched(struct fault_switches *switches, const char *function, u32 *status)
{
	return false;
}

static inline void fault_switches_create(struct fault_switches *switches, struct dentry *directory)
{
}

#endif
