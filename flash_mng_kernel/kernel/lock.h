/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the module needs of Linux's sleeping locks. Locks stand inline in the module's records: C++ sees storage of the size and
 * alignment that Linux's types have in this very configuration (lock_layout.h, generated), C sees Linux's types.
 */
#ifndef FLASH_MNG_KERNEL_LOCK_H
#define FLASH_MNG_KERNEL_LOCK_H

#include "flash_mng_types.h"
#include "kernel/thread_safety.h"

#ifdef __cplusplus
#include "lock_layout.h"

struct LOCK_TYPE("mutex") alignas(LINUX_MUTEX_ALIGN) mutex {
	unsigned char storage[LINUX_MUTEX_SIZE];
};

struct alignas(LINUX_SEMAPHORE_ALIGN) semaphore {
	unsigned char storage[LINUX_SEMAPHORE_SIZE];
};
#else
struct mutex;
struct semaphore;
#endif

FLASH_MNG_C_BEGIN

/* Prepares a mutex. All mutexes of the module form one lock class; the name is kept, not copied. */
void linux_mutex_init(struct mutex *lock, const char *name);
void linux_mutex_lock(struct mutex *lock) TAKES(*lock);
void mutex_unlock(struct mutex *lock) GIVES_BACK(*lock);

/* Prepares a counting semaphore. */
void linux_semaphore_init(struct semaphore *semaphore, int count);
/* Linux's own: 0, or -EINTR when the waiting task was killed. */
int down_killable(struct semaphore *semaphore);
void up(struct semaphore *semaphore);

FLASH_MNG_C_END

#endif
