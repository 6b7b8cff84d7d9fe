/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The command of /dev/flash_calls, shared by the kernel module flash_calls and the programs that use it: one call of a function that
 * flash_mng exports, made in the calling task.
 */
#ifndef FLASH_CALLS_ABI_H
#define FLASH_CALLS_ABI_H

#include <linux/ioctl.h>
#include <linux/types.h>

#include "argument_abi.h"

#define FLASH_CALL_ARGUMENTS 5

/* FLASH_EXPORT(function, count of its arguments) */
#define FLASH_EXPORTS \
	FLASH_EXPORT(drv_flash_read, 5) \
	FLASH_EXPORT(drv_flash_write, 5) \
	FLASH_EXPORT(drv_flash_mtd_read, 4) \
	FLASH_EXPORT(drv_flash_mtd_write, 4) \
	FLASH_EXPORT(drv_flash_get_mtd_size, 2) \
	FLASH_EXPORT(drv_flash_get_nand_part_num, 1) \
	FLASH_EXPORT(drv_flash_get_nand_part_size_info, 1) \
	FLASH_EXPORT(drv_flash_get_nand_is_exist, 1) \
	FLASH_EXPORT(drv_flash_driver_register, 3) \
	FLASH_EXPORT(drv_flash_driver_unregister, 0) \
	FLASH_EXPORT(drv_flash_get_size, 3) \
	FLASH_EXPORT(drv_flash_create, 2) \
	FLASH_EXPORT(drv_flash_destroy, 1) \
	FLASH_EXPORT(drv_flash_get_type, 2) \
	FLASH_EXPORT(flash_mng_drv_patch_func1, 0) \
	FLASH_EXPORT(flash_mng_drv_patch_func2, 0)

/* The functions that can be called: the exports, and the platform's release of a hardware lock that flash_mng was kept from making. */
#define FLASH_EXPORT(function, arguments) FLASH_CALL_##function,
enum flash_call_function {
	FLASH_EXPORTS
	FLASH_CALL_drv_hard_unlock,
	FLASH_CALL_FUNCTIONS
};
#undef FLASH_EXPORT

struct flash_call {
	__u32 function;
	__u32 fail_nth; /* the n-th fault point that the call reaches fails, as /proc/<pid>/fail-nth does it; 0: none */
	struct call_argument arguments[FLASH_CALL_ARGUMENTS]; /* driver: that of flash_calls, whose functions succeed; NULL for value 0 */
	__u64 result;	 /* out: the whole result register */
	__u32 fail_left; /* out: 0 when that fault happened, otherwise what was left to count */
	__u32 reserved;
};

#define FLASH_CALLS_DEVICE "/dev/flash_calls"
#define FLASH_CALLS_CALL _IOWR('C', 1, struct flash_call)

#endif
