// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * What the platform keeps for flash_mng when a fault kept flash_mng from giving it back: its log, and hardware locks. A hardware lock is
 * released with the values of the skipped call.
 */
#include <linux/spinlock.h>
#include <linux/string.h>

#include "lab.h"

#define FLASH_MNG_LOG 27
#define MOST_LOCKS 32

struct skipped_unlock {
	u32 inst_id;
	u32 lock_type;
	u32 inst_id_again;
	u32 unlock_val;
	u64 reserved;
};

static DEFINE_RAW_SPINLOCK(lock);
static struct skipped_unlock skipped[MOST_LOCKS];
static u32 filled;

void lab_platform_skipped(const char *name, const u64 *arguments)
{
	unsigned long flags;

	if (strcmp(name, "drv_hard_unlock"))
		return;
	raw_spin_lock_irqsave(&lock, flags);
	if (filled < MOST_LOCKS)
		skipped[filled++] = (struct skipped_unlock){ arguments[0], arguments[1], arguments[2], arguments[3], arguments[4] };
	raw_spin_unlock_irqrestore(&lock, flags);
}

static bool take_skipped(struct skipped_unlock *taken)
{
	unsigned long flags;
	bool found;

	raw_spin_lock_irqsave(&lock, flags);
	found = filled;
	if (found)
		*taken = skipped[--filled];
	raw_spin_unlock_irqrestore(&lock, flags);
	return found;
}

static void release_hard_locks(void)
{
	u32 (*unlock)(u32 inst_id, u32 lock_type, u32 inst_id_again, u32 unlock_val, u64 reserved);
	struct skipped_unlock one;

	unlock = (void *)lab_function("drv_hard_unlock");
	while (take_skipped(&one))
		unlock(one.inst_id, one.lock_type, one.inst_id_again, one.unlock_val, one.reserved);
}

void lab_platform_give_back(void)
{
	u32 (*deregister)(u32 module_id);

	deregister = (void *)lab_function("drv_log_deregister");
	if (deregister)
		deregister(FLASH_MNG_LOG);
	release_hard_locks();
}
