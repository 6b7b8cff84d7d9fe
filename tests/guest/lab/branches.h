/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The part of the observer that knows the machine's instructions: arm64/branches.c, x86/branches.c.
 */
#ifndef FLASH_LAB_BRANCHES_H
#define FLASH_LAB_BRANCHES_H

struct module;

/* Needs lab_symbol(). */
int lab_branches_init(void);
/* lab_redirect_calls() - in the text of a module that does not run yet, lead each direct branch to a function of calls.def to its stub. */
int lab_redirect_calls(const struct module *module);

/* observer.c: the index of the function of calls.def at an address, or -ENOENT. */
int lab_function_at(unsigned long address);

#endif
