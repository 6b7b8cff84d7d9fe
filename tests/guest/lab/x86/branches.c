// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Branches of x86_64. Instructions have no fixed length and there may be anything between functions: so each function is decoded by
 * itself, from its first instruction on, with the kernel's decoder.
 */
#include <linux/build_bug.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/rcupdate.h>
#include <linux/stddef.h>
#include <asm/insn.h>

#include "branches.h"
#include "frame.h"
#include "lab.h"

#define CALL_OPCODE 0xe8 /* with a displacement of 32 bits, as compilers emit it */
#define JUMP_OPCODE 0xe9
#define BRANCH_SIZE 5

static void (*start_decoding)(struct insn *insn, const void *at, int size, int is_64_bits);
static int (*decode_length)(struct insn *insn);
static void *(*poke)(void *at, const void *bytes, size_t count);
static struct mutex *poke_lock;

static bool is_branch(struct insn *insn)
{
	u8 opcode = insn->opcode.bytes[0];

	return insn->length == BRANCH_SIZE && (opcode == CALL_OPCODE || opcode == JUMP_OPCODE);
}

static unsigned long branch_target(const u8 *at, struct insn *insn)
{
	return (unsigned long)at + BRANCH_SIZE + insn->immediate.value;
}

/* Modules are never further apart than a displacement reaches. */
static void lead_to_stub(u8 *at, int function)
{
	s32 displacement = (unsigned long)lab_stubs[function] - (unsigned long)at - BRANCH_SIZE;

	mutex_lock(poke_lock);
	poke(at + 1, &displacement, sizeof(displacement));
	mutex_unlock(poke_lock);
}

static int redirect_in(const char *name, u8 *text, size_t size)
{
	struct insn insn;
	u8 *at;

	for (at = text; at < text + size; at += insn.length) {
		int function;

		start_decoding(&insn, at, min_t(size_t, text + size - at, MAX_INSN_SIZE), true);
		decode_length(&insn);
		if (!insn.length || !insn_complete(&insn)) {
			pr_err("no instruction at %s+0x%zx\n", name, at - text);
			return -EINVAL;
		}
		function = is_branch(&insn) ? lab_function_at(branch_target(at, &insn)) : -ENOENT;
		if (function >= 0)
			lead_to_stub(at, function);
	}
	return 0;
}

static bool is_function(const Elf_Sym *symbol)
{
	return ELF_ST_TYPE(symbol->st_info) == STT_FUNC && symbol->st_shndx != SHN_UNDEF;
}

/* A module that is being loaded has the whole of its symbol table, and nobody replaces it meanwhile. */
int lab_redirect_calls(const struct module *module)
{
	const struct mod_kallsyms *symbols = rcu_dereference_protected(module->kallsyms, true);
	int error = 0;
	unsigned int i;

	for (i = 0; i < symbols->num_symtab && !error; i++) {
		const Elf_Sym *symbol = &symbols->symtab[i];

		if (is_function(symbol))
			error = redirect_in(symbols->strtab + symbol->st_name, (u8 *)symbol->st_value, symbol->st_size);
	}
	return error;
}

int lab_branches_init(void)
{
	BUILD_BUG_ON(offsetof(struct lab_frame, arguments) != LAB_FRAME_ARGUMENTS);
	BUILD_BUG_ON(offsetof(struct lab_frame, rax) != LAB_FRAME_RAX);
	BUILD_BUG_ON(offsetof(struct lab_frame, function) != LAB_FRAME_FUNCTION);
	BUILD_BUG_ON(offsetof(struct lab_frame, target) != LAB_FRAME_TARGET);
	BUILD_BUG_ON(offsetof(struct lab_frame, result) != LAB_FRAME_RESULT);
	BUILD_BUG_ON(sizeof(struct lab_frame) != LAB_FRAME_SIZE);

	start_decoding = (void *)lab_symbol("insn_init");
	decode_length = (void *)lab_symbol("insn_get_length");
	poke = (void *)lab_symbol("text_poke");
	poke_lock = (void *)lab_symbol("text_mutex");
	if (!start_decoding || !decode_length || !poke || !poke_lock) {
		pr_err("the kernel does not name insn_init, insn_get_length, text_poke or text_mutex: it needs CONFIG_KALLSYMS_ALL\n");
		return -ENOENT;
	}
	return 0;
}
