/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Bounded string and memory routines of the platform module "drv_basic".
 *
 * Sizes and counts are in bytes. None of them allocates or sleeps.
 */
#ifndef FLASH_MNG_PLATFORM_BOUNDED_H
#define FLASH_MNG_PLATFORM_BOUNDED_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

/** strcpy_s() - copy @src with its NUL. Return: 0; non-zero when it does not fit into @dest_size or an argument is bad. */
int strcpy_s(char *dest, size_t dest_size, const char *src);

/**
 * memcpy_s() - copy @count bytes.
 *
 * Return: 0; non-zero, with nothing written, when @count is over @dest_size, @dest_size is 0 or an argument is bad.
 */
int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count);

/** memset_s() - fill @count bytes with @c. Return: 0; non-zero when @count is over @dest_size or an argument is bad. */
int memset_s(void *dest, size_t dest_size, int c, size_t count);

/** sprintf_s() - format into @dest. Return: number of characters without the NUL; negative when they do not fit. */
int sprintf_s(char *dest, size_t dest_size, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

/** snprintf_s() - format at most @count characters and a NUL into @dest. Return: as sprintf_s(). */
int snprintf_s(char *dest, size_t dest_size, size_t count, const char *fmt, ...) __attribute__((format(printf, 4, 5)));

FLASH_MNG_C_END

#endif
