/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The kernel's fixed-width names, for every translation unit that declares or calls flash_mng.
 *
 * C code in the kernel has them from Linux. C++ code includes no Linux header, so they are defined here with the very types that
 * Linux uses on 64-bit Arm.
 */
#ifndef FLASH_MNG_TYPES_H
#define FLASH_MNG_TYPES_H

#ifdef __cplusplus
#include <stddef.h>

typedef unsigned char u8;
typedef unsigned short u16;
typedef unsigned int u32;
typedef unsigned long long u64;
typedef int s32;
typedef long long s64;

#define FLASH_MNG_C_BEGIN extern "C" {
#define FLASH_MNG_C_END }
#else
#include <linux/types.h>

#define FLASH_MNG_C_BEGIN
#define FLASH_MNG_C_END
#endif

#endif
