// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/build_bug.h>
#include <linux/mtd/mtd.h>

#include "kernel/mtd.h"

static_assert(LINUX_MTD_NANDFLASH == MTD_NANDFLASH && LINUX_MTD_MLCNANDFLASH == MTD_MLCNANDFLASH);

u64 linux_mtd_size(const struct mtd_info *mtd)
{
	return mtd->size;
}

u32 linux_mtd_index(const struct mtd_info *mtd)
{
	return mtd->index;
}

u32 linux_mtd_type(const struct mtd_info *mtd)
{
	return mtd->type;
}

/* All is read before anything is written: to the compiler the entry could be a part of the device. */
const char *linux_mtd_describe(const struct mtd_info *mtd, struct flash_mtd_stat_entry *entry)
{
	const u64 size = mtd->size;
	const u32 index = mtd->index;
	const u32 type = mtd->type;
	const u32 erase_size = mtd->erasesize;
	const u32 flags = mtd_is_partition(mtd) ? mtd->part.flags : 0;

	entry->size = size;
	entry->index = index;
	entry->type = type;
	entry->erasesize = erase_size;
	entry->flags = flags;
	return mtd->name;
}
