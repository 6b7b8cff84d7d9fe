// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/mtd/mtd.h>

#include "kernel/mtd.h"

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

u32 linux_mtd_erase_size(const struct mtd_info *mtd)
{
	return mtd->erasesize;
}

u32 linux_mtd_partition_flags(const struct mtd_info *mtd)
{
	return mtd_is_partition(mtd) ? mtd->part.flags : 0;
}

const char *linux_mtd_name(const struct mtd_info *mtd)
{
	return mtd->name;
}
