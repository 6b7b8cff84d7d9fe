// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "parts.h"
#include "platform_status.h"

static u32 check_name(const struct flash_part *part, u32 index)
{
	size_t length = strnlen(part->mtd_name, sizeof(part->mtd_name));

	if (length && length < sizeof(part->mtd_name))
		return 0;
	pr_err("part %u: its name has to be 1 to %zu characters and a NUL\n", index, sizeof(part->mtd_name) - 1);
	return SPI_FLASH_BAD_NAME;
}

static u32 check_range(const struct flash_part *part, const struct spi_flash *flash)
{
	if (!part->size || !IS_ALIGNED(part->offset, SPI_FLASH_ERASE_SIZE) || !IS_ALIGNED(part->size, SPI_FLASH_ERASE_SIZE)) {
		pr_err("part %s: 0x%x bytes at 0x%x are not whole erase blocks of 0x%x bytes\n", part->mtd_name, part->size, part->offset,
		       SPI_FLASH_ERASE_SIZE);
		return SPI_FLASH_BAD_ALIGNMENT;
	}
	if ((u64)part->offset + part->size > flash->size) {
		pr_err("part %s: 0x%x bytes at 0x%x end behind the flash of 0x%x bytes\n", part->mtd_name, part->size, part->offset,
		       flash->size);
		return SPI_FLASH_BEYOND_END;
	}
	return 0;
}

static u32 check_pair(const struct flash_part *part, const struct flash_part *before)
{
	if (!strcmp(part->mtd_name, before->mtd_name)) {
		pr_err("part %s: the name is given twice\n", part->mtd_name);
		return SPI_FLASH_NAME_TWICE;
	}
	if (part->offset < before->offset + before->size && before->offset < part->offset + part->size) {
		pr_err("part %s: overlaps %s\n", part->mtd_name, before->mtd_name);
		return SPI_FLASH_OVERLAP;
	}
	return 0;
}

static u32 check_other_devices(const struct flash_part *part)
{
	struct mtd_info *other = get_mtd_device_nm(part->mtd_name);

	if (PTR_ERR(other) == -ENODEV)
		return 0;
	if (!IS_ERR(other))
		put_mtd_device(other);
	pr_err("part %s: there is an MTD device of this name already\n", part->mtd_name);
	return SPI_FLASH_NAME_IN_USE;
}

static u32 check_part(const struct spi_flash *flash, const struct flash_part *parts, u32 index)
{
	u32 status = check_name(&parts[index], index);
	u32 i;

	if (!status)
		status = check_range(&parts[index], flash);
	for (i = 0; !status && i < index; i++)
		status = check_pair(&parts[index], &parts[i]);
	return status ? status : check_other_devices(&parts[index]);
}

static u32 check_count(const struct spi_flash *flash, const struct flash_parts_info *info)
{
	u32 most = flash->size / SPI_FLASH_ERASE_SIZE;

	if (!info || !info->part_num || !info->parts) {
		pr_err("no parts are given\n");
		return SPI_FLASH_NO_PARTS;
	}
	if (info->part_num > most) {
		pr_err("%u parts do not fit into a flash of %u erase blocks\n", info->part_num, most);
		return SPI_FLASH_TOO_MANY_PARTS;
	}
	return 0;
}

u32 mtd_parts_make(const struct spi_flash *flash, const struct flash_parts_info *info, struct mtd_partition **parts)
{
	struct mtd_partition *made;
	u32 i, status = check_count(flash, info);

	if (status)
		return status;
	for (i = 0; !status && i < info->part_num; i++)
		status = check_part(flash, info->parts, i);
	if (status)
		return status;

	made = kcalloc(info->part_num, sizeof(*made), GFP_KERNEL);
	if (!made)
		return SPI_FLASH_NO_MEMORY;
	for (i = 0; i < info->part_num; i++)
		made[i] = (struct mtd_partition){
			.name = info->parts[i].mtd_name,
			.offset = info->parts[i].offset,
			.size = info->parts[i].size,
		};
	*parts = made;
	return 0;
}
