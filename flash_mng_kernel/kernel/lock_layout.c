// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* Compiled to assembler only: lock_layout.h is made of the lines that DEFINE leaves there. */
#include <linux/kbuild.h>
#include <linux/mutex.h>
#include <linux/semaphore.h>

int main(void)
{
	DEFINE(LINUX_MUTEX_SIZE, sizeof(struct mutex));
	DEFINE(LINUX_MUTEX_ALIGN, __alignof__(struct mutex));
	DEFINE(LINUX_SEMAPHORE_SIZE, sizeof(struct semaphore));
	DEFINE(LINUX_SEMAPHORE_ALIGN, __alignof__(struct semaphore));
	return 0;
}
