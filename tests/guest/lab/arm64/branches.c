// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Branches of AArch64: every word of the text is one instruction.
 */
#include <linux/build_bug.h>
#include <linux/module.h>
#include <linux/pfn.h>
#include <linux/stddef.h>
#include <linux/version.h>

#include <asm/cacheflush.h>

#include "branches.h"
#include "frame.h"
#include "lab.h"

#define BRANCH_MASK 0x7c000000u /* of B and BL */
#define BRANCH_CODE 0x14000000u
#define BRANCH_OFFSET 0x03ffffffu
#define BRANCH_REACH (128l << 20)

static int (*set_writable)(unsigned long address, int pages);
static int (*set_read_only)(unsigned long address, int pages);

static bool is_branch(u32 instruction)
{
	return (instruction & BRANCH_MASK) == BRANCH_CODE;
}

static unsigned long branch_target(const u32 *at, u32 instruction)
{
	return (unsigned long)at + sign_extend64((instruction & BRANCH_OFFSET) << 2, 27);
}

static int lead_to_stub(u32 *at, u32 instruction, int function)
{
	long offset = (unsigned long)lab_stubs[function] - (unsigned long)at;

	if (offset < -BRANCH_REACH || offset >= BRANCH_REACH) {
		pr_err("a call at %px is too far from its stub\n", at);
		return -ERANGE;
	}
	*at = (__force u32)cpu_to_le32((instruction & ~BRANCH_OFFSET) | ((offset >> 2) & BRANCH_OFFSET));
	return 0;
}

/* A call of a function too far away goes through the module's own veneers, which would have to be followed. */
static int redirect_branches(u32 *text, unsigned long size)
{
	u32 *at;
	int error = 0;

	for (at = text; at < text + size / sizeof(*at) && !error; at++) {
		u32 instruction = le32_to_cpup((__le32 *)at);
		int function = is_branch(instruction) ? lab_function_at(branch_target(at, instruction)) : -ENOENT;

		if (function >= 0)
			error = lead_to_stub(at, instruction, function);
	}
	return error;
}

/* Nothing of the text runs yet, so it can be writable for a moment as a whole. */
static int redirect_in(u32 *text, unsigned long size)
{
	unsigned long start = (unsigned long)text;
	int error = set_writable(start, PFN_UP(size));

	if (error)
		return error;
	error = redirect_branches(text, size);
	flush_icache_range(start, start + size);
	return error ?: set_read_only(start, PFN_UP(size));
}

#if LINUX_VERSION_CODE < KERNEL_VERSION(6, 4, 0)
static int redirect_in_text(const struct module *module)
{
	return redirect_in(module->core_layout.base, module->core_layout.text_size) ?:
	       redirect_in(module->init_layout.base, module->init_layout.text_size);
}
#else
static int redirect_in_text(const struct module *module)
{
	return redirect_in(module->mem[MOD_TEXT].base, module->mem[MOD_TEXT].size) ?:
	       redirect_in(module->mem[MOD_INIT_TEXT].base, module->mem[MOD_INIT_TEXT].size);
}
#endif

int lab_redirect_calls(const struct module *module)
{
	return redirect_in_text(module);
}

int lab_branches_init(void)
{
	BUILD_BUG_ON(offsetof(struct lab_frame, arguments) != LAB_FRAME_ARGUMENTS);
	BUILD_BUG_ON(offsetof(struct lab_frame, x8) != LAB_FRAME_X8);
	BUILD_BUG_ON(offsetof(struct lab_frame, function) != LAB_FRAME_FUNCTION);
	BUILD_BUG_ON(offsetof(struct lab_frame, target) != LAB_FRAME_TARGET);
	BUILD_BUG_ON(offsetof(struct lab_frame, result) != LAB_FRAME_RESULT);
	BUILD_BUG_ON(sizeof(struct lab_frame) != LAB_FRAME_SIZE);

	set_writable = (void *)lab_symbol("set_memory_rw");
	set_read_only = (void *)lab_symbol("set_memory_ro");
	if (!set_writable || !set_read_only) {
		pr_err("the kernel does not name set_memory_rw and set_memory_ro: it needs CONFIG_KALLSYMS\n");
		return -ENOENT;
	}
	return 0;
}
