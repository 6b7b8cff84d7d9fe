/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Room that the simulated locks take in a record: what Linux's take on 64-bit Arm without lock debugging.
 */
#define LINUX_MUTEX_SIZE 32
#define LINUX_MUTEX_ALIGN 8
#define LINUX_SEMAPHORE_SIZE 24
#define LINUX_SEMAPHORE_ALIGN 8
