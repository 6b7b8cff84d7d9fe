// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#include "flash.h"
#include "platform_status.h"

#define CLOSED (-1)

static struct spi_flash *flash_of(struct mtd_info *mtd)
{
	return mtd_get_master(mtd)->priv;
}

static int begin_use(struct mtd_info *mtd)
{
	return atomic_inc_unless_negative(&flash_of(mtd)->users) ? 0 : -EBUSY;
}

static void end_use(struct mtd_info *mtd)
{
	atomic_dec(&flash_of(mtd)->users);
}

static int erase_content(struct mtd_info *mtd, struct erase_info *request)
{
	struct spi_flash *flash = flash_of(mtd);

	if (!IS_ALIGNED(request->addr, SPI_FLASH_ERASE_SIZE) || !IS_ALIGNED(request->len, SPI_FLASH_ERASE_SIZE)) {
		pr_err("%s: erase of 0x%llx bytes at 0x%llx: not whole erase blocks\n", flash->name, request->len, request->addr);
		return -EINVAL;
	}
	mutex_lock(&flash->content_lock);
	memset(flash->content + request->addr, 0xff, request->len);
	mutex_unlock(&flash->content_lock);
	return 0;
}

static int read_content(struct mtd_info *mtd, loff_t from, size_t length, size_t *done, u8 *to)
{
	struct spi_flash *flash = flash_of(mtd);

	mutex_lock(&flash->content_lock);
	memcpy(to, flash->content + from, length);
	mutex_unlock(&flash->content_lock);
	*done = length;
	return 0;
}

static int write_content(struct mtd_info *mtd, loff_t to, size_t length, size_t *done, const u8 *from)
{
	struct spi_flash *flash = flash_of(mtd);
	size_t i;

	mutex_lock(&flash->content_lock);
	for (i = 0; i < length; i++)
		flash->content[to + i] &= from[i];
	mutex_unlock(&flash->content_lock);
	*done = length;
	return 0;
}

static void describe(struct spi_flash *flash)
{
	scnprintf(flash->name, sizeof(flash->name), "spi%u.%u.%u", flash->chip_id, flash->ctrl, flash->cs);
	flash->mtd = (struct mtd_info){
		.name = flash->name,
		.type = MTD_NORFLASH,
		.flags = MTD_CAP_NORFLASH,
		.size = flash->size,
		.erasesize = SPI_FLASH_ERASE_SIZE,
		.writesize = 1,
		.writebufsize = 1,
		.owner = THIS_MODULE,
		.priv = flash,
		._erase = erase_content,
		._read = read_content,
		._write = write_content,
		._get_device = begin_use,
		._put_device = end_use,
	};
}

static u32 provide_content(struct spi_flash *flash)
{
	if (flash->content)
		return 0;
	flash->content = vmalloc(flash->size);
	if (!flash->content)
		return SPI_FLASH_NO_MEMORY;
	memset(flash->content, 0xff, flash->size);
	mutex_init(&flash->content_lock);
	return 0;
}

u32 spi_flash_open(struct spi_flash *flash, const struct mtd_partition *parts, u32 count)
{
	static const char *const no_parsers[] = { NULL };
	u32 status = provide_content(flash);
	int result;

	if (status)
		return status;
	describe(flash);
	atomic_set(&flash->users, CLOSED);
	result = mtd_device_parse_register(&flash->mtd, no_parsers, NULL, parts, count);
	if (result) {
		pr_err("%s: MTD does not take the partitions, error %d\n", flash->name, result);
		return SPI_FLASH_MTD_FAILED;
	}
	flash->created = true;
	atomic_set(&flash->users, 0);
	return 0;
}

u32 spi_flash_close(struct spi_flash *flash)
{
	int result;

	if (atomic_cmpxchg(&flash->users, 0, CLOSED))
		return SPI_FLASH_IN_USE;
	result = mtd_device_unregister(&flash->mtd);
	if (result) {
		pr_err("%s: MTD does not give the partitions back, error %d\n", flash->name, result);
		atomic_set(&flash->users, 0);
		return SPI_FLASH_MTD_FAILED;
	}
	flash->created = false;
	return 0;
}

void spi_flash_free(struct spi_flash *flash)
{
	vfree(flash->content);
	flash->content = NULL;
}
