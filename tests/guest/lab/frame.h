/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * An observed call on its way: what stubs.S, observer.c and branches.c of the machine share. A machine's lab_machine.h has its
 * struct lab_frame with at least
 *
 *	u64 arguments[8];  those on the stack too, to be looked at
 *	u64 function;	   index into calls.def
 *	u64 target;	   the function's address
 *	u64 result;
 */
#ifndef FLASH_LAB_FRAME_H
#define FLASH_LAB_FRAME_H

#define LAB_STUBS 96 /* most functions in calls.def */

#define LAB_GO_ON 0 /* the function is called and returns to flash_mng */
#define LAB_SKIP 1  /* it is not called; flash_mng gets the frame's result */
#define LAB_WATCH 2 /* it is called and its result is looked at; for functions without arguments on the stack */

#include "lab_machine.h"

#ifndef __ASSEMBLY__
int lab_on_call(struct lab_frame *frame);
void lab_on_return(struct lab_frame *frame);
#endif

#endif
