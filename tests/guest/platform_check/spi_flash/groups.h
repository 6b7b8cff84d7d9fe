/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The groups of spi_flash_check: each asks for everything through flash_mng and compares the flash driver's answers. They want the board
 * description "cards", flash_mng and spi_flash_driver, the latter freshly loaded.
 */
#ifndef PLATFORM_CHECK_SPI_FLASH_GROUPS_H
#define PLATFORM_CHECK_SPI_FLASH_GROUPS_H

#include <linux/kernel.h>
#include <linux/string.h>
#include <linux/types.h>

#include "check.h"
#include "flash_mng.h"

/* instances of the board "cards" */
#define UNLOCKED_CARD	0x11 /* chip 0, controller 0, select 0: 4 MiB */
#define LOCKED_CARD	0x12 /* chip 0, controller 0, select 1: 2 MiB; lock type 0 */
#define CREATE_LOCKED_CARD 0x13 /* chip 0, controller 1, select 0: 4 MiB; lock type 2 */
#define ABSENT_CARD	0x14 /* a flash that the driver does not have */
#define OWN_SETTINGS	0x20 /* chip 1, controller 1, select 1: 2 MiB */
#define NO_CARRIER	0x21 /* chip 1, controller 0, select 0: 4 MiB; lock type 0 */

#define ERASE_SIZE	0x10000U

/* mtd_exists() - whether there is an MTD device of this name. */
bool mtd_exists(const char *name);

/* create_parts() - drv_flash_create() with these parts. */
u32 create_parts(u32 inst_id, struct flash_part *parts, u32 count);

/* create_from_board() - drv_flash_create() with the parts of the instance's spi_flash_map. */
u32 create_from_board(u32 inst_id);

void check_board_parts(void);
void check_sizes(void);
void check_refusals(void);
void check_driver_itself(void);
void check_failing_kernel(void);
void check_locks(void);
void check_open_partitions(void);
void check_content(void);
void check_transfers(void);
void check_threads(void);
void check_switched(void);
void check_leave(void);

#endif
