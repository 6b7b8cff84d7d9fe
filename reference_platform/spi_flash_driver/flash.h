/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * One SPI flash, kept in memory, with the strict behaviour of NOR flash: an erase sets every bit of whole erase blocks, a write only
 * clears bits. Its partitions are MTD devices; the flash as a whole is none.
 *
 * Erases, writes and reads of one flash follow one another under its own mutex, a leaf.
 */
#ifndef REFERENCE_PLATFORM_SPI_FLASH_H
#define REFERENCE_PLATFORM_SPI_FLASH_H

#include <linux/atomic.h>
#include <linux/mtd/mtd.h>
#include <linux/mtd/partitions.h>
#include <linux/mutex.h>
#include <linux/sizes.h>

#define SPI_FLASH_ERASE_SIZE SZ_64K

/* struct spi_flash - the owner serialises spi_flash_open(), spi_flash_close() and spi_flash_free() */
struct spi_flash {
	u32 chip_id;
	u32 ctrl;
	u32 cs;
	u32 size; /* bytes */
	bool created; /* the partitions exist */
	atomic_t users; /* of the partitions; negative while nobody may open one */
	struct mutex content_lock;
	u8 *content; /* NULL until the first spi_flash_open() */
	char name[24];
	struct mtd_info mtd;
};

/*
 * spi_flash_open() - make the MTD partitions of a flash; sleeps.
 * @parts: their names, offsets and sizes, within the flash and on its erase block borders; not used after the call
 *
 * Nobody can open a partition before all of them exist. The content is that of the last spi_flash_close(), at first erased.
 *
 * Return: 0, SPI_FLASH_NO_MEMORY or SPI_FLASH_MTD_FAILED, with no partition left.
 */
u32 spi_flash_open(struct spi_flash *flash, const struct mtd_partition *parts, u32 count);

/*
 * spi_flash_close() - remove the partitions; the content stays; sleeps.
 *
 * Return: 0; SPI_FLASH_IN_USE while a partition is open, with all of them still there; SPI_FLASH_MTD_FAILED.
 */
u32 spi_flash_close(struct spi_flash *flash);

/* spi_flash_free() - forget the content of a flash without partitions; sleeps. */
void spi_flash_free(struct spi_flash *flash);

#endif
