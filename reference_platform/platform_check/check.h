/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The platform's own test, on the board: calls every service and compares each answer with the one expected.
 *
 * Loading platform_check with only=<group> runs that group and succeeds when every answer was right; otherwise the load fails and the
 * kernel log names each wrong answer. It wants the board description "check", and the flash groups want simulated NAND flash as their
 * own comments say.
 */
#ifndef REFERENCE_PLATFORM_CHECK_H
#define REFERENCE_PLATFORM_CHECK_H

#include <linux/string.h>
#include <linux/types.h>

#define CHECK_BOARD_ID 0xffffffffU /* the default instance of the board "check" */

/* check_number() - count a check and report it when the numbers differ; use through CHECK_EQ(). */
void check_number(const char *file, int line, const char *what, u64 actual, u64 expected);

#define CHECK_EQ(actual, expected) check_number(kbasename(__FILE__), __LINE__, #actual, (u64)(actual), (u64)(expected))
#define CHECK(condition) CHECK_EQ(!!(condition), 1)

void check_bounded(void);
void check_configuration(void);
void check_instances(void);
void check_logs(void);
void check_switched(void);
void check_good_flash(void);
void check_worn_flash(void);
void check_flipping_flash(void);
void check_flash_answers(void);
void check_many_logs(void);

#endif
