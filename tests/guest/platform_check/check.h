/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The harness of the checks in the kernel: each module of them compares answers with those that are expected.
 *
 * Loading such a module with only=<group> runs that group and succeeds when every answer was right. Otherwise, and when nothing was
 * checked, the load fails with EINVAL, and the kernel log names each wrong answer, with the module's name in front.
 */
#ifndef PLATFORM_CHECK_H
#define PLATFORM_CHECK_H

#include <linux/string.h>
#include <linux/types.h>

struct check_group {
	const char *name;
	void (*run)(void);
};

/* The groups of a module, which defines them. */
extern const struct check_group check_groups[];
extern const u32 check_group_count;

/* check_number() - count a check and report it when the numbers differ; any thread that may sleep; use through CHECK_EQ(). */
void check_number(const char *file, int line, const char *what, u64 actual, u64 expected);

#define CHECK_EQ(actual, expected) check_number(kbasename(__FILE__), __LINE__, #actual, (u64)(actual), (u64)(expected))
#define CHECK(condition) CHECK_EQ(!!(condition), 1)

#endif
