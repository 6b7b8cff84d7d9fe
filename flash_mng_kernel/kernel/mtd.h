/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the module needs of Linux's MTD core. All functions may sleep but the accessors, which only read fields.
 */
#ifndef FLASH_MNG_KERNEL_MTD_H
#define FLASH_MNG_KERNEL_MTD_H

#include "flash_mng_types.h"
#include "uapi/flash_mng.h"

FLASH_MNG_C_BEGIN

struct mtd_info;

/* Linux's type codes of NAND flash. */
#define LINUX_MTD_NANDFLASH	4
#define LINUX_MTD_MLCNANDFLASH	8

/* Linux's own. Both give a referenced device, NULL or an error pointer. */
struct mtd_info *get_mtd_device_nm(const char *name);
struct mtd_info *get_mtd_device(struct mtd_info *mtd, int num);
void put_mtd_device(struct mtd_info *mtd);

/* Fields of a referenced device. */
u64 linux_mtd_size(const struct mtd_info *mtd);	 /* bytes */
u32 linux_mtd_index(const struct mtd_info *mtd); /* N of /dev/mtdN */
u32 linux_mtd_type(const struct mtd_info *mtd);	 /* MTD_* type code */

/* Fills an entry of the statistics, all but the name. Gives the name instead, which is the device's own and may be NULL. */
const char *linux_mtd_describe(const struct mtd_info *mtd, struct flash_mtd_stat_entry *entry);

FLASH_MNG_C_END

#endif
