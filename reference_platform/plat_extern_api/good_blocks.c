// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "good_blocks.h"

#include <linux/kernel.h>

#include "platform_status.h"

u32 good_walk_start(struct good_walk *walk, struct mtd_info *mtd, u64 offset, u64 length)
{
	if (!mtd->erasesize)
		return FLASH_BUFFER_NO_ERASE_BLOCKS;
	if (length > mtd->size || offset > mtd->size - length)
		return FLASH_BUFFER_BEYOND_END;
	*walk = (struct good_walk){ .mtd = mtd, .position = offset, .end = offset + length };
	return 0;
}

static void cut_span(struct good_walk *walk, struct good_span *span)
{
	u64 block_end = walk->usable + walk->mtd->erasesize;

	span->block = walk->block;
	span->offset = walk->position - walk->usable;
	span->length = min(walk->end, block_end) - walk->position;
	walk->position += span->length;
}

u32 good_walk_next(struct good_walk *walk, struct good_span *span)
{
	u32 block_size = walk->mtd->erasesize;
	int bad;

	span->length = 0;
	while (walk->position < walk->end && !span->length) {
		if (walk->block + block_size > walk->mtd->size)
			return FLASH_BUFFER_OUT_OF_BLOCKS;
		bad = mtd_block_isbad(walk->mtd, walk->block);
		if (bad < 0)
			return FLASH_BUFFER_BAD_BLOCK_CHECK;
		if (!bad && walk->position < walk->usable + block_size)
			cut_span(walk, span);
		if (!bad)
			walk->usable += block_size;
		walk->block += block_size;
	}
	return 0;
}
