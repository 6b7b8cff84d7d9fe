// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/build_bug.h>
#include <linux/mutex.h>
#include <linux/semaphore.h>

#include "kernel/lock.h"
#include "lock_layout.h"

static_assert(sizeof(struct mutex) == LINUX_MUTEX_SIZE && __alignof__(struct mutex) == LINUX_MUTEX_ALIGN);
static_assert(sizeof(struct semaphore) == LINUX_SEMAPHORE_SIZE && __alignof__(struct semaphore) == LINUX_SEMAPHORE_ALIGN);

static struct lock_class_key g_mutex_class;

void linux_mutex_init(struct mutex *lock, const char *name)
{
	__mutex_init(lock, name, &g_mutex_class);
}

void linux_mutex_lock(struct mutex *lock)
{
	mutex_lock(lock);
}

/* A macro where the real-time patches of 5.10 are. */
#ifdef mutex_unlock
#undef mutex_unlock
void mutex_unlock(struct mutex *lock);
void mutex_unlock(struct mutex *lock)
{
	_mutex_unlock(lock);
}
#endif

void linux_semaphore_init(struct semaphore *semaphore, int count)
{
	sema_init(semaphore, count);
}
