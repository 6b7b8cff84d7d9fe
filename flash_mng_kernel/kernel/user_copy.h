/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Copies between the kernel and the calling process. Both give the number of bytes left uncopied, 0 on success, and all of them when
 * the range is no user memory. A count above 0x7FFFFFFF raises Linux's one-time warning and copies nothing. Both may sleep.
 */
#ifndef FLASH_MNG_KERNEL_USER_COPY_H
#define FLASH_MNG_KERNEL_USER_COPY_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

unsigned long linux_copy_to_user(unsigned long user_address, const void *from, unsigned long count);
/* What could not be read is left zero-filled in @to. */
unsigned long linux_copy_from_user(void *to, unsigned long user_address, unsigned long count);

FLASH_MNG_C_END

#endif
