/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the module needs of Linux's spinlocks. Nothing that may sleep is called while one is held.
 */
#ifndef FLASH_MNG_KERNEL_SPINLOCK_H
#define FLASH_MNG_KERNEL_SPINLOCK_H

#include "flash_mng_types.h"
#include "kernel/thread_safety.h"

FLASH_MNG_C_BEGIN

struct LOCK_TYPE("spinlock") spinlock;

/* Guards the links and the names of the registry of SPI flashes; defined, unlocked, in spinlock.c. */
extern struct spinlock g_spi_flash_info_list_lock;

void linux_spin_lock(struct spinlock *lock) TAKES(*lock);
void linux_spin_unlock(struct spinlock *lock) GIVES_BACK(*lock);

FLASH_MNG_C_END

#endif
