// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* The walk over good blocks, for any range on any device of up to BLOCKS erase blocks, any of them bad. */
#include "proof.h"

#include "../../reference_platform/plat_extern_api/good_blocks.c"

#define BLOCKS 4
#define BLOCK_SIZE 4

static struct mtd_info g_mtd;
static bool g_bad[BLOCKS + 1];
static bool g_check_fails;

int mtd_block_isbad(struct mtd_info *mtd, loff_t address)
{
	proved(mtd == &g_mtd && address >= 0 && address % BLOCK_SIZE == 0, "asked of the start of a block");
	proved(address + BLOCK_SIZE <= g_mtd.size, "asked within the device");
	if (nondet_bool()) {
		g_check_fails = true;
		return -EIO;
	}
	return g_bad[address / BLOCK_SIZE];
}

static u32 whole_blocks(void)
{
	return (u32)g_mtd.size / BLOCK_SIZE;
}

/* good_before() - usable bytes in front of a block. */
static u64 good_before(u32 block)
{
	u64 bytes = 0;
	u32 i;

	for (i = 0; i < BLOCKS; i++)
		if (i < block && !g_bad[i])
			bytes += BLOCK_SIZE;
	return bytes;
}

static void any_device(void)
{
	u32 i;

	g_mtd.erasesize = BLOCK_SIZE;
	g_mtd.size = below((BLOCKS + 1) * BLOCK_SIZE);
	for (i = 0; i < BLOCKS; i++)
		g_bad[i] = nondet_bool();
}

static void check_span(const struct good_span *span, u64 position, u64 end)
{
	u32 block = (u32)span->block / BLOCK_SIZE;

	proved(span->block % BLOCK_SIZE == 0 && block < whole_blocks(), "a span lies in a whole block of the device");
	proved(!g_bad[block], "a span is never in a bad block");
	proved(span->offset < BLOCK_SIZE && span->length <= BLOCK_SIZE - span->offset, "a span does not leave its block");
	proved(good_before(block) + span->offset == position, "a span starts where the one before ended");
	proved(span->length <= end - position, "no span goes on behind the range");
}

void proof_walk(void)
{
	struct good_walk walk;
	struct good_span span;
	u64 offset = nondet_u64();
	u64 length = nondet_u64();
	u64 position = offset;
	u32 status;

	any_device();
	status = good_walk_start(&walk, &g_mtd, offset, length);
	proved((status == 0) == (length <= g_mtd.size && offset <= g_mtd.size - length), "taken when it is in the device");
	while (!status) {
		status = good_walk_next(&walk, &span);
		if (status || !span.length)
			break;
		check_span(&span, position, offset + length);
		position += span.length;
	}
	if (!status)
		proved(position == offset + length, "every byte comes once");
	if (status == FLASH_BUFFER_OUT_OF_BLOCKS)
		proved(good_before(whole_blocks()) < offset + length, "refused only where the good blocks do not reach");
	if (status == FLASH_BUFFER_BAD_BLOCK_CHECK)
		proved(g_check_fails, "a failed check is one");
	else
		proved(!g_check_fails, "no failed check is passed over");
}

void proof_no_erase_blocks(void)
{
	struct good_walk walk;

	g_mtd.erasesize = 0;
	g_mtd.size = nondet_u64();
	proved(good_walk_start(&walk, &g_mtd, nondet_u64(), nondet_u64()) == FLASH_BUFFER_NO_ERASE_BLOCKS, "refused without erase blocks");
}
