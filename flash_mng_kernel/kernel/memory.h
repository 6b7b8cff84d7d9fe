/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the module needs of Linux's allocators. Allocations may sleep and give NULL on failure.
 */
#ifndef FLASH_MNG_KERNEL_MEMORY_H
#define FLASH_MNG_KERNEL_MEMORY_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

/* Zero-filled heap memory (GFP_KERNEL); released with kfree(). */
void *linux_kzalloc(size_t size);
/* A zero-filled array, the product checked for overflow; an absurd count fails without a report in the kernel log. */
void *linux_kcalloc(size_t count, size_t size);

/* A copy of a NUL-terminated text (GFP_KERNEL); released with kfree(). */
char *linux_kstrdup(const char *text);

/*
 * Linux's own; in parentheses the names of which newer Linux has macros. vzalloc() fills with zeros, vmalloc() does not; vfree() may sleep.
 * NULL may be freed.
 */
void kfree(const void *memory);
void *(vzalloc)(unsigned long size);
void *(vmalloc)(unsigned long size);
void vfree(const void *memory);

FLASH_MNG_C_END

#endif
