// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The hardware locks of the instances: which operation takes one, with which values, and that each is free afterwards.
 */
#include "groups.h"
#include "platform/instance.h"
#include "platform_status.h"

struct known_lock {
	u32 inst_id;
	u32 type;
	u32 lock_val;
	u32 unlock_val;
};

static const struct known_lock g_locked = { LOCKED_CARD, 0, 0x5a, 0xa5 };
static const struct known_lock g_create_locked = { CREATE_LOCKED_CARD, 2, 0x11, 0x22 };
static const struct known_lock g_any_values = { NO_CARRIER, 0, 77, 78 };

static u32 take(const struct known_lock *lock)
{
	struct hard_lock_request request = { .operation = 720, .inst_id = lock->inst_id, .lock_val = lock->lock_val };

	return drv_hard_trylock(lock->inst_id, lock->type, &request);
}

static u32 release(const struct known_lock *lock)
{
	return drv_hard_unlock(lock->inst_id, lock->type, lock->inst_id, lock->unlock_val, 0);
}

static void check_free(const struct known_lock *lock)
{
	CHECK_EQ(take(lock), 0);
	CHECK_EQ(release(lock), 0);
}

static u32 ask_size(u32 inst_id)
{
	u64 size;

	return drv_flash_get_size(inst_id, 0, &size);
}

static u32 create_one(u32 inst_id)
{
	struct flash_part part = { .size = ERASE_SIZE, .mtd_name = "locked" };

	return create_parts(inst_id, &part, 1);
}

/* While somebody holds the lock: what has to take it is refused at once and without effect, the rest works. */
static void check_held(const struct known_lock *lock, u32 size_status)
{
	CHECK_EQ(create_one(lock->inst_id), 0);
	CHECK_EQ(take(lock), 0);
	CHECK_EQ(ask_size(lock->inst_id), size_status);
	CHECK_EQ(drv_flash_destroy(lock->inst_id), 0);
	CHECK_EQ(create_one(lock->inst_id), HARD_LOCK_BUSY);
	CHECK(!mtd_exists("locked"));
	CHECK_EQ(release(lock), 0);
	CHECK_EQ(ask_size(lock->inst_id), 0);
}

/* A lock that a refused request would have left behind would still be held here. */
static void check_refused_by_the_driver(const struct known_lock *lock)
{
	CHECK_EQ(create_one(lock->inst_id), 0);
	CHECK_EQ(create_one(lock->inst_id), SPI_FLASH_ALREADY_CREATED);
	check_free(lock);
	CHECK_EQ(drv_flash_destroy(lock->inst_id), 0);
}

void check_locks(void)
{
	check_held(&g_locked, HARD_LOCK_BUSY);
	check_held(&g_create_locked, 0);
	check_held(&g_any_values, HARD_LOCK_BUSY);
	check_refused_by_the_driver(&g_locked);
	check_refused_by_the_driver(&g_create_locked);
	check_free(&g_any_values);
}
