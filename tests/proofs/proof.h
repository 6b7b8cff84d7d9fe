/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * For every proof, in front of the source that it is about: the source is compiled as in a module, with Linux's own headers, and CBMC reads
 * what the preprocessor left. Linux's functions without a body here return anything.
 */
#ifndef PROOFS_PROOF_H
#define PROOFS_PROOF_H

#include <linux/bits.h>

/* A check at compile time that CBMC does not take for a constant. */
#undef GENMASK_INPUT_CHECK
#define GENMASK_INPUT_CHECK(h, l) 0

#include <linux/types.h>

/* Any value of the type: what CBMC makes of functions without a body whose names begin so. */
bool nondet_bool(void);
u8 nondet_u8(void);
u32 nondet_u32(void);
u64 nondet_u64(void);
int nondet_int(void);

void __CPROVER_assume(_Bool condition);
void __CPROVER_assert(_Bool condition, const char *text);

#define assume(condition) __CPROVER_assume(condition)
#define proved(condition, text) __CPROVER_assert(condition, text)

/* below() - any number under a limit. */
static inline u32 below(u32 limit)
{
	u32 number = nondet_u32();

	assume(number < limit);
	return number;
}

#endif
