/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The usable bytes of an MTD device: its good erase blocks, one after the other, as if the bad ones were not there.
 */
#ifndef REFERENCE_PLATFORM_GOOD_BLOCKS_H
#define REFERENCE_PLATFORM_GOOD_BLOCKS_H

#include <linux/mtd/mtd.h>

/* struct good_span - the part of a range that lies in one erase block */
struct good_span {
	u64 block; /* device address of the erase block */
	u32 offset; /* first byte within the block */
	u32 length;
};

/* struct good_walk - a walk over a range of usable bytes, erase block by erase block */
struct good_walk {
	struct mtd_info *mtd;
	u64 block; /* device address of the next erase block to look at */
	u64 usable; /* usable bytes before it */
	u64 position; /* of the range, what is still to come */
	u64 end;
};

/*
 * good_walk_start() - start a walk.
 * @offset: first usable byte
 * @length: number of bytes
 *
 * Return: 0, FLASH_BUFFER_NO_ERASE_BLOCKS, or FLASH_BUFFER_BEYOND_END when the range is longer than the device.
 */
u32 good_walk_start(struct good_walk *walk, struct mtd_info *mtd, u64 offset, u64 length);

/*
 * good_walk_next() - the next part of the range; sleeps.
 * @span: receives it; a length of 0 is the end
 *
 * Return: 0, FLASH_BUFFER_BAD_BLOCK_CHECK, or FLASH_BUFFER_OUT_OF_BLOCKS when the good blocks do not reach that far.
 */
u32 good_walk_next(struct good_walk *walk, struct good_span *span);

#endif
