/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Switches that make a service of the platform fail on demand, so that a test can drive its callers into every failure path.
 *
 * Each module lists the functions that can be switched and offers /sys/kernel/debug/<module>/switches:
 *
 *   "<function> <n> <status>"         the n-th call from now on returns <status> without doing its work; then the switch is off
 *   "<function> <n> <status> sticky"  the n-th call and every later one
 *   "clear"                           all switches off
 *
 * <status> is decimal or 0x hexadecimal; 0 is allowed and gives a success that did nothing. A function has one switch: arming it again
 * replaces what was armed. Reading the file lists the armed switches, one per line, in the form in which they are written, with the
 * number of calls still to go. A function name that the module does not list is refused.
 *
 * fault_switches.c is linked into each of these modules; its Kbuild includes fault_switches.mk.
 */
#ifndef REFERENCE_PLATFORM_FAULT_SWITCHES_H
#define REFERENCE_PLATFORM_FAULT_SWITCHES_H

#include <linux/compiler.h>
#include <linux/kernel.h>
#include <linux/spinlock.h>
#include <linux/types.h>

struct dentry;

/* struct fault_switch - one function that can be made to fail; off while calls_left is 0 */
struct fault_switch {
	const char *function;
	u32 calls_left;
	u32 status;
	bool sticky;
};

/* struct fault_switches - the switches of one module; the lock is a leaf and may be taken in any context */
struct fault_switches {
	spinlock_t lock;
	u32 armed;
	u32 count;
	struct fault_switch *all;
};

#define DEFINE_FAULT_SWITCHES(name, table)				\
	struct fault_switches name = {					\
		.lock = __SPIN_LOCK_UNLOCKED(name.lock),		\
		.count = ARRAY_SIZE(table),				\
		.all = table,						\
	}

/*
 * fault_switch_fires() - fault_switched(), while any switch of the module is armed
 *
 * Return: the status to return, or -1 when the function is to do its work. It is not written through a pointer: a caller would keep a
 * variable in memory for it, and guard its stack, in calls that find no switch armed.
 */
s64 fault_switch_fires(struct fault_switches *switches, const char *function);

/*
 * fault_switched() - count a call of a function and say whether it has to fail; any context.
 * @status: receives the status to return; written only when the answer is true
 */
static inline bool fault_switched(struct fault_switches *switches, const char *function, u32 *status)
{
	s64 fired = READ_ONCE(switches->armed) ? fault_switch_fires(switches, function) : -1;

	if (fired < 0)
		return false;
	*status = fired;
	return true;
}

/* fault_switches_create() - offer the file "switches" in the module's debugfs directory */
void fault_switches_create(struct fault_switches *switches, struct dentry *directory);

#endif
