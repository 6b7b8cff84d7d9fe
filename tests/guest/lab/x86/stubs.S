/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Where the observed calls of flash_mng arrive: one stub per function of calls.def, each naming its number in r11. The argument
 * registers are kept in a frame (struct lab_frame) while lab_on_call() decides; then the call goes on as if nothing had been between,
 * or goes on with its result watched, or does not happen at all.
 */
#include <linux/linkage.h>
#include <asm/nospec-branch.h>

#include "frame.h"

	.text

	.balign LAB_STUB_SIZE
SYM_CODE_START(lab_stubs)
	.set	number, 0
	.rept	LAB_STUBS
	movl	$number, %r11d
	jmp	arrive
	.balign LAB_STUB_SIZE, 0xcc
	.set	number, number + 1
	.endr
SYM_CODE_END(lab_stubs)

	.macro	restore_arguments
	movq	(LAB_FRAME_ARGUMENTS)(%rsp), %rdi
	movq	(LAB_FRAME_ARGUMENTS + 8)(%rsp), %rsi
	movq	(LAB_FRAME_ARGUMENTS + 16)(%rsp), %rdx
	movq	(LAB_FRAME_ARGUMENTS + 24)(%rsp), %rcx
	movq	(LAB_FRAME_ARGUMENTS + 32)(%rsp), %r8
	movq	(LAB_FRAME_ARGUMENTS + 40)(%rsp), %r9
	movq	LAB_FRAME_RAX(%rsp), %rax
	movq	LAB_FRAME_TARGET(%rsp), %r11
	.endm

SYM_CODE_START_LOCAL(arrive)
	pushq	%rbp
	movq	%rsp, %rbp
	subq	$LAB_FRAME_SIZE, %rsp
	movq	%rax, LAB_FRAME_RAX(%rsp)
	movq	%rdi, (LAB_FRAME_ARGUMENTS)(%rsp)
	movq	%rsi, (LAB_FRAME_ARGUMENTS + 8)(%rsp)
	movq	%rdx, (LAB_FRAME_ARGUMENTS + 16)(%rsp)
	movq	%rcx, (LAB_FRAME_ARGUMENTS + 24)(%rsp)
	movq	%r8, (LAB_FRAME_ARGUMENTS + 32)(%rsp)
	movq	%r9, (LAB_FRAME_ARGUMENTS + 40)(%rsp)
	movq	16(%rbp), %rax
	movq	%rax, (LAB_FRAME_ARGUMENTS + 48)(%rsp)
	movq	24(%rbp), %rax
	movq	%rax, (LAB_FRAME_ARGUMENTS + 56)(%rsp)
	movq	%r11, LAB_FRAME_FUNCTION(%rsp)
	movq	%rsp, %rdi
	call	lab_on_call
	cmpl	$LAB_GO_ON, %eax
	je	go_on
	cmpl	$LAB_SKIP, %eax
	je	back

	restore_arguments
	CALL_NOSPEC r11
	movq	%rax, LAB_FRAME_RESULT(%rsp)
	movq	%rsp, %rdi
	call	lab_on_return
back:
	movq	LAB_FRAME_RESULT(%rsp), %rax
	leave
	RET

go_on:
	restore_arguments
	leave
	JMP_NOSPEC r11
SYM_CODE_END(arrive)
