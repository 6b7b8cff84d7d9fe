/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The partitions that a caller asks for, checked and put in MTD's form.
 */
#ifndef REFERENCE_PLATFORM_SPI_FLASH_PARTS_H
#define REFERENCE_PLATFORM_SPI_FLASH_PARTS_H

#include "flash.h"
#include "flash_mng.h"

/*
 * mtd_parts_make() - check parts against a flash, against each other and against the names of all MTD devices; sleeps.
 * @info: what the caller asks for
 * @parts: receives info->part_num partitions, to be freed with kfree(); their names are those in @info, which has to outlive them
 *
 * The reason of a refusal goes to the kernel log. The first part that is wrong decides, and the first thing wrong with it in this order:
 * name, range, parts before it, other devices' names.
 *
 * Return: 0; SPI_FLASH_NO_PARTS, SPI_FLASH_TOO_MANY_PARTS, SPI_FLASH_BAD_NAME, SPI_FLASH_BAD_ALIGNMENT, SPI_FLASH_BEYOND_END,
 * SPI_FLASH_NAME_TWICE, SPI_FLASH_OVERLAP, SPI_FLASH_NAME_IN_USE, SPI_FLASH_NO_MEMORY.
 */
u32 mtd_parts_make(const struct spi_flash *flash, const struct flash_parts_info *info, struct mtd_partition **parts);

#endif
