/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#ifndef POWERCUT_LINUX_TYPES_H
#define POWERCUT_LINUX_TYPES_H

#include <stdbool.h>
#include <stddef.h>

typedef unsigned char u8;
typedef unsigned short u16;
typedef unsigned int u32;
typedef unsigned long long u64;
typedef int s32;
typedef long long s64;

#endif
