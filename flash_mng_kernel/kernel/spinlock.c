// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/spinlock.h>

#include "kernel/spinlock.h"

DEFINE_SPINLOCK(g_spi_flash_info_list_lock);

void linux_spin_lock(struct spinlock *lock) __acquires(lock)
{
	spin_lock(lock);
}

void linux_spin_unlock(struct spinlock *lock) __releases(lock)
{
	spin_unlock(lock);
}
