/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Where the observed calls of flash_mng arrive: one stub per function of calls.def, each naming its number in x17. The argument
 * registers are kept in a frame (struct lab_frame) while lab_on_call() decides; then the call goes on as if nothing had been between,
 * or goes on with its result watched, or does not happen at all.
 */
#include <linux/linkage.h>

#include "frame.h"

	.text

	.balign 8
SYM_CODE_START(lab_stubs)
	.set	number, 0
	.rept	LAB_STUBS
	mov	x17, #number
	b	arrive
	.set	number, number + 1
	.endr
SYM_CODE_END(lab_stubs)

	.macro	restore_arguments
	ldp	x0, x1, [sp, #LAB_FRAME_ARGUMENTS]
	ldp	x2, x3, [sp, #LAB_FRAME_ARGUMENTS + 16]
	ldp	x4, x5, [sp, #LAB_FRAME_ARGUMENTS + 32]
	ldp	x6, x7, [sp, #LAB_FRAME_ARGUMENTS + 48]
	ldr	x8, [sp, #LAB_FRAME_X8]
	ldr	x16, [sp, #LAB_FRAME_TARGET]
	.endm

SYM_CODE_START_LOCAL(arrive)
	stp	x29, x30, [sp, #-LAB_FRAME_SIZE]!
	mov	x29, sp
	stp	x0, x1, [sp, #LAB_FRAME_ARGUMENTS]
	stp	x2, x3, [sp, #LAB_FRAME_ARGUMENTS + 16]
	stp	x4, x5, [sp, #LAB_FRAME_ARGUMENTS + 32]
	stp	x6, x7, [sp, #LAB_FRAME_ARGUMENTS + 48]
	str	x8, [sp, #LAB_FRAME_X8]
	str	x17, [sp, #LAB_FRAME_FUNCTION]
	mov	x0, sp
	bl	lab_on_call
	cmp	w0, #LAB_GO_ON
	b.eq	go_on
	cmp	w0, #LAB_SKIP
	b.eq	leave

	restore_arguments
	blr	x16
	str	x0, [sp, #LAB_FRAME_RESULT]
	mov	x0, sp
	bl	lab_on_return
leave:
	ldr	x0, [sp, #LAB_FRAME_RESULT]
	ldp	x29, x30, [sp], #LAB_FRAME_SIZE
	ret

go_on:
	restore_arguments
	ldp	x29, x30, [sp], #LAB_FRAME_SIZE
	br	x16
SYM_CODE_END(arrive)
