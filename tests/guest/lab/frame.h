/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What stubs.S and observer.c share: the frame of an observed call, and what to do with the call.
 */
#ifndef FLASH_LAB_FRAME_H
#define FLASH_LAB_FRAME_H

#define LAB_STUBS 96 /* most functions in calls.def */

#define FRAME_ARGUMENTS 16
#define FRAME_X8 80
#define FRAME_FUNCTION 88
#define FRAME_TARGET 96
#define FRAME_RESULT 104
#define FRAME_SIZE 112

#define LAB_GO_ON 0 /* the function is called and returns to flash_mng */
#define LAB_SKIP 1  /* it is not called; flash_mng gets the frame's result */
#define LAB_WATCH 2 /* it is called and its result is looked at; for functions without arguments on the stack */

#ifndef __ASSEMBLY__
#include <linux/types.h>

struct lab_frame {
	u64 record[2]; /* frame pointer and return address */
	u64 arguments[8];
	u64 x8;
	u64 function; /* index into calls.def */
	u64 target;   /* the function's address */
	u64 result;
};

extern const u32 lab_stubs[LAB_STUBS][2];

int lab_on_call(struct lab_frame *frame);
void lab_on_return(struct lab_frame *frame);
#endif

#endif
