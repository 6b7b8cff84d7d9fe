/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Copies between the kernel and the calling process. All give the number of bytes left uncopied, 0 on success, and all of them when
 * the range is no user memory. A count above 0x7FFFFFFF raises Linux's one-time warning and copies nothing. All may sleep.
 */
#ifndef FLASH_MNG_KERNEL_USER_COPY_H
#define FLASH_MNG_KERNEL_USER_COPY_H

#include "flash_mng_types.h"
#include "uapi/flash_mng.h"

FLASH_MNG_C_BEGIN

/* Bytes of a count that only the caller knows. Linux checks them against the memory that they are in, call by call. */
unsigned long linux_copy_to_user(unsigned long user_address, const void *from, unsigned long count);
/* What could not be read is left zero-filled in @to. */
unsigned long linux_copy_from_user(void *to, unsigned long user_address, unsigned long count);

/* Whole records: their sizes are known when these are compiled, and nothing is left to be checked in a call. */
unsigned long linux_copy_number_to_user(unsigned long user_address, const u32 *from);
unsigned long linux_copy_part_info_to_user(unsigned long user_address, const struct nand_part_info *from);
unsigned long linux_copy_statistics_to_user(unsigned long user_address, const struct flash_mtd_statistics *from);
unsigned long linux_copy_config_query_to_user(unsigned long user_address, const struct flash_find_config_arg *from);
unsigned long linux_copy_config_query_from_user(struct flash_find_config_arg *to, unsigned long user_address);
unsigned long linux_copy_io_request_from_user(struct flash_mtd_io_arg *to, unsigned long user_address);

FLASH_MNG_C_END

#endif
