/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The frame of an observed call on AArch64.
 */
#ifndef FLASH_LAB_MACHINE_H
#define FLASH_LAB_MACHINE_H

#define LAB_FRAME_ARGUMENTS 16
#define LAB_FRAME_X8 80
#define LAB_FRAME_FUNCTION 88
#define LAB_FRAME_TARGET 96
#define LAB_FRAME_RESULT 104
#define LAB_FRAME_SIZE 112

#ifndef __ASSEMBLY__
#include <linux/types.h>

struct lab_frame {
	u64 record[2]; /* frame pointer and return address */
	u64 arguments[8];
	u64 x8;
	u64 function;
	u64 target;
	u64 result;
};

extern const u32 lab_stubs[LAB_STUBS][2];
#endif

#endif
