// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Included before each source of the module where it is compiled for these schedules: the routines of memory, which the compiler has no
// hooks for.
#pragma once

extern "C" {
int watched_strcmp(const char *one, const char *other);
unsigned long watched_strlen(const char *text);
void *watched_memcpy(void *to, const void *from, unsigned long size);
void *watched_memchr(const void *where, int byte, unsigned long size);
}

#ifdef FLASH_MNG_WATCHED
#define __builtin_strcmp watched_strcmp
#define __builtin_strlen watched_strlen
#define __builtin_memcpy watched_memcpy
#define __builtin_memchr watched_memchr
#endif
