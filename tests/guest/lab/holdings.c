// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * What flash_mng holds: a table of (kind, address). An address may stand in it several times, as a device referenced twice does.
 */
#include <linux/fs.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>
#include <linux/slab.h>
#include <linux/spinlock.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "lab.h"

#define MOST_HOLDINGS 4096

struct holding {
	enum lab_holding kind;
	unsigned long address;
};

static DEFINE_RAW_SPINLOCK(lock);
static struct holding table[MOST_HOLDINGS];
static u32 filled;
static s64 count[LAB_HOLDINGS];
static u64 untracked;

void lab_hold(enum lab_holding kind, unsigned long address)
{
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	if (filled < MOST_HOLDINGS) {
		table[filled].kind = kind;
		table[filled].address = address;
		filled++;
		count[kind]++;
	} else {
		untracked++;
	}
	raw_spin_unlock_irqrestore(&lock, flags);
}

void lab_release(enum lab_holding kind, unsigned long address)
{
	unsigned long flags;
	u32 i;

	raw_spin_lock_irqsave(&lock, flags);
	for (i = filled; i > 0; i--) {
		if (table[i - 1].kind != kind || table[i - 1].address != address)
			continue;
		table[i - 1] = table[--filled];
		count[kind]--;
		break;
	}
	raw_spin_unlock_irqrestore(&lock, flags);
}

static bool take_last(struct holding *last)
{
	unsigned long flags;
	bool taken;

	raw_spin_lock_irqsave(&lock, flags);
	taken = filled;
	if (taken) {
		*last = table[--filled];
		count[last->kind]--;
	}
	raw_spin_unlock_irqrestore(&lock, flags);
	return taken;
}

static void give_back(const struct holding *held)
{
	void *address = (void *)held->address;

	switch (held->kind) {
	case LAB_HEAP:
		kfree(address);
		break;
	case LAB_VIRTUAL:
		vfree(address);
		break;
	case LAB_MTD_REFERENCE:
		put_mtd_device(address);
		break;
	case LAB_OPEN_FILE:
		filp_close(address, NULL);
		break;
	case LAB_LOCK: /* stood in memory that is gone */
	case LAB_HOLDINGS:
		break;
	}
}

/* The memory that flash_mng keeps on purpose on some paths would otherwise look like a leak, and a kept device could not be removed. */
long lab_held_give_back(void)
{
	struct module *module = lab_hold_flash_mng();
	struct holding held;

	if (module) {
		module_put(module);
		return -EBUSY;
	}
	while (take_last(&held))
		give_back(&held);
	untracked = 0;
	return 0;
}

long lab_held(struct lab_held __user *argument)
{
	struct lab_held held;
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	held.heap = count[LAB_HEAP];
	held.virtual_memory = count[LAB_VIRTUAL];
	held.mtd_references = count[LAB_MTD_REFERENCE];
	held.open_files = count[LAB_OPEN_FILE];
	held.locks = count[LAB_LOCK];
	held.untracked = untracked;
	raw_spin_unlock_irqrestore(&lock, flags);
	return copy_to_user(argument, &held, sizeof(held)) ? -EFAULT : 0;
}
