/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The frame of an observed call on x86_64.
 */
#ifndef FLASH_LAB_MACHINE_H
#define FLASH_LAB_MACHINE_H

#define LAB_STUB_SIZE 16

#define LAB_FRAME_ARGUMENTS 0
#define LAB_FRAME_RAX 64
#define LAB_FRAME_FUNCTION 72
#define LAB_FRAME_TARGET 80
#define LAB_FRAME_RESULT 88
#define LAB_FRAME_SIZE 96

#ifndef __ASSEMBLY__
#include <linux/types.h>

struct lab_frame {
	u64 arguments[8];
	u64 rax; /* says how many vector registers a call with a variable number of arguments uses */
	u64 function;
	u64 target;
	u64 result;
	/* Above it: frame pointer, return address, arguments on the stack. */
};

extern const u8 lab_stubs[LAB_STUBS][LAB_STUB_SIZE];
#endif

#endif
