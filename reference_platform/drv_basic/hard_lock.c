// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The hardware lock: one per instance and lock type, tried once.
 *
 * A request names the instance that it is for and carries zeros in its reserved fields. Where the board description states the values of
 * a lock, taking and releasing it need them; where it does not, any value will do. One spinlock, a leaf.
 */
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/seq_file.h>
#include <linux/spinlock.h>

#include "board_values.h"
#include "fault_switches.h"
#include "platform/instance.h"
#include "platform_status.h"
#include "switches.h"

#define HARD_LOCK_MAX_HELD 32

struct hard_lock {
	bool held;
	u32 inst_id;
	u32 lock_type;
	u32 lock_val;
};

static struct hard_lock g_locks[HARD_LOCK_MAX_HELD];
static DEFINE_SPINLOCK(g_locks_lock);

static struct hard_lock *find_held(u32 inst_id, u32 lock_type)
{
	u32 i;

	for (i = 0; i < HARD_LOCK_MAX_HELD; i++)
		if (g_locks[i].held && g_locks[i].inst_id == inst_id && g_locks[i].lock_type == lock_type)
			return &g_locks[i];
	return NULL;
}

static struct hard_lock *find_free(void)
{
	u32 i;

	for (i = 0; i < HARD_LOCK_MAX_HELD; i++)
		if (!g_locks[i].held)
			return &g_locks[i];
	return NULL;
}

static u32 check_request(u32 inst_id, u32 lock_type, const struct hard_lock_request *request)
{
	u32 lock_val, unlock_val;

	if (!request || request->operation != HARD_LOCK_OPERATION_FLASH || request->inst_id != inst_id ||
	    request->reserved0 || request->reserved1)
		return HARD_LOCK_BAD_REQUEST;
	if (!board_get_hard_lock(inst_id, lock_type, &lock_val, &unlock_val) && request->lock_val != lock_val)
		return HARD_LOCK_BAD_VALUE;
	return 0;
}

static u32 take(u32 inst_id, u32 lock_type, u32 lock_val)
{
	struct hard_lock *lock;

	if (find_held(inst_id, lock_type))
		return HARD_LOCK_BUSY;
	lock = find_free();
	if (!lock)
		return HARD_LOCK_TOO_MANY;
	*lock = (struct hard_lock){ .held = true, .inst_id = inst_id, .lock_type = lock_type, .lock_val = lock_val };
	return 0;
}

static u32 release(u32 inst_id, u32 lock_type)
{
	struct hard_lock *lock = find_held(inst_id, lock_type);

	if (!lock)
		return HARD_LOCK_NOT_HELD;
	lock->held = false;
	return 0;
}

u32 drv_hard_trylock(u32 inst_id, u32 lock_type, struct hard_lock_request *request)
{
	u32 status;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	status = check_request(inst_id, lock_type, request);
	if (status)
		return status;
	spin_lock(&g_locks_lock);
	status = take(inst_id, lock_type, request->lock_val);
	spin_unlock(&g_locks_lock);
	return status;
}
EXPORT_SYMBOL(drv_hard_trylock);

u32 drv_hard_unlock(u32 inst_id, u32 lock_type, u32 inst_id_again, u32 unlock_val, u64 reserved)
{
	u32 status, stated_lock_val, stated_unlock_val;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	if (reserved)
		return HARD_LOCK_BAD_REQUEST;
	if (inst_id_again != inst_id)
		return HARD_LOCK_BAD_OWNER;
	if (!board_get_hard_lock(inst_id, lock_type, &stated_lock_val, &stated_unlock_val) && unlock_val != stated_unlock_val)
		return HARD_LOCK_BAD_VALUE;
	spin_lock(&g_locks_lock);
	status = release(inst_id, lock_type);
	spin_unlock(&g_locks_lock);
	return status;
}
EXPORT_SYMBOL(drv_hard_unlock);

void hard_locks_show(struct seq_file *out)
{
	u32 i;

	spin_lock(&g_locks_lock);
	for (i = 0; i < HARD_LOCK_MAX_HELD; i++)
		if (g_locks[i].held)
			seq_printf(out, "0x%x %u 0x%x\n", g_locks[i].inst_id, g_locks[i].lock_type, g_locks[i].lock_val);
	spin_unlock(&g_locks_lock);
}
