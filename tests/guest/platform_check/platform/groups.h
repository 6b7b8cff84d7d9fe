/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The groups of platform_check: each calls a service of the platform and compares its answers. They want the board description "check",
 * and the flash groups want simulated NAND flash as their own comments say.
 */
#ifndef PLATFORM_CHECK_PLATFORM_GROUPS_H
#define PLATFORM_CHECK_PLATFORM_GROUPS_H

#include "check.h"

#define CHECK_BOARD_ID 0xffffffffU /* the default instance of the board "check" */

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
