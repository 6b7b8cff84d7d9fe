// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * All groups use the partition "usrdata" of freshly simulated NAND flash: 8 MiB from erase block 40 on, 64 pages of 2 KiB a block.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/mtd/mtd.h>
#include <linux/vmalloc.h>

#include "groups.h"
#include "mtd_users.h"
#include "platform/flash_buffer.h"
#include "platform_status.h"

#define ERASE_SIZE	0x20000U
#define MOST_BYTES	(3 * ERASE_SIZE)

static struct mtd_info *g_mtd;
static char g_path[32];
static u8 *g_data; /* what is written */
static u8 *g_seen; /* what is read */

static bool prepare(void)
{
	u32 i, state = 1;

	g_mtd = get_mtd_device_nm("usrdata");
	CHECK(!IS_ERR(g_mtd));
	if (IS_ERR(g_mtd))
		return false;
	CHECK_EQ(g_mtd->erasesize, ERASE_SIZE);
	CHECK_EQ(g_mtd->size, 0x800000);
	scnprintf(g_path, sizeof(g_path), "/dev/mtd%d", g_mtd->index);
	g_data = vmalloc(MOST_BYTES);
	g_seen = vmalloc(MOST_BYTES);
	for (i = 0; g_data && i < MOST_BYTES; i++) {
		state = state * 1103515245 + 12345;
		g_data[i] = state >> 16;
	}
	CHECK(g_data && g_seen);
	return g_data && g_seen;
}

static void finish(void)
{
	vfree(g_data);
	vfree(g_seen);
	if (IS_ERR(g_mtd))
		return;
	CHECK_EQ(mtd_users(g_mtd), 1);
	put_mtd_device(g_mtd);
}

static bool reads_as(u64 offset, const u8 *expected, u32 length)
{
	memset(g_seen, ~expected[0], length);
	CHECK_EQ(plat_mtd_read_buf(g_path, offset, g_seen, length), 0);
	return !memcmp(g_seen, expected, length);
}

static bool is_blank(u64 offset, u32 length)
{
	CHECK_EQ(plat_mtd_read_buf(g_path, offset, g_seen, length), 0);
	return !memchr_inv(g_seen, 0xff, length);
}

/* What both functions say to a path. */
static u32 use_path(const char *path)
{
	u32 status = plat_mtd_read_buf(path, 0, g_seen, 1);

	CHECK_EQ(plat_mtd_update_buf(path, 0, g_data, 1), status);
	return status;
}

static void check_paths(void)
{
	CHECK_EQ(use_path(NULL), FLASH_BUFFER_BAD_ARGUMENT);
	CHECK_EQ(plat_mtd_read_buf(g_path, 0, NULL, 1), FLASH_BUFFER_BAD_ARGUMENT);
	CHECK_EQ(plat_mtd_update_buf(g_path, 0, NULL, 1), FLASH_BUFFER_BAD_ARGUMENT);
	CHECK_EQ(use_path("/dev/mtd"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd01"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd1 "), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd-1"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtdblock1"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd4294967296"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd2147483648"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd2147483647"), FLASH_BUFFER_NO_DEVICE);
	CHECK_EQ(use_path(""), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("dev/mtd1"), FLASH_BUFFER_BAD_PATH);
	CHECK_EQ(use_path("/dev/mtd4000"), FLASH_BUFFER_NO_DEVICE);
}

static void check_round_trip(void)
{
	const u32 offset = 0x1234, length = 2 * ERASE_SIZE + 0x800;

	CHECK(is_blank(0, MOST_BYTES));
	CHECK_EQ(plat_mtd_update_buf(g_path, offset, g_data, length), 0);
	CHECK(reads_as(offset, g_data, length));
	CHECK(is_blank(0, offset));
	CHECK(is_blank(offset + length, ERASE_SIZE / 2));
	g_data[ERASE_SIZE] ^= 0xff;
	CHECK_EQ(plat_mtd_update_buf(g_path, offset + ERASE_SIZE, g_data + ERASE_SIZE, 1), 0);
	CHECK(reads_as(offset, g_data, length));
}

/* Makes the second block bad: what follows moves up by one block. */
static void check_bad_block(void)
{
	size_t done;

	CHECK_EQ(mtd_block_markbad(g_mtd, ERASE_SIZE), 0);
	CHECK_EQ(plat_mtd_update_buf(g_path, 0, g_data, MOST_BYTES), 0);
	CHECK(reads_as(0, g_data, MOST_BYTES));
	CHECK_EQ(mtd_read(g_mtd, 2 * ERASE_SIZE, 16, &done, g_seen), 0);
	CHECK(!memcmp(g_seen, g_data + ERASE_SIZE, 16));
}

static void check_ends(void)
{
	const u64 usable = g_mtd->size - ERASE_SIZE; /* one block is bad */

	CHECK_EQ(plat_mtd_update_buf(g_path, usable - 7, g_data, 7), 0);
	CHECK(reads_as(usable - 7, g_data, 7));
	CHECK_EQ(plat_mtd_update_buf(g_path, usable - 7, g_data, 8), FLASH_BUFFER_OUT_OF_BLOCKS);
	CHECK_EQ(plat_mtd_read_buf(g_path, usable, g_seen, 1), FLASH_BUFFER_OUT_OF_BLOCKS);
	CHECK_EQ(plat_mtd_read_buf(g_path, g_mtd->size, g_seen, 1), FLASH_BUFFER_BEYOND_END);
	CHECK_EQ(plat_mtd_read_buf(g_path, 1, g_seen, ~0UL), FLASH_BUFFER_BEYOND_END);
	CHECK_EQ(plat_mtd_read_buf(g_path, ~0UL, g_seen, 2), FLASH_BUFFER_BEYOND_END);
	CHECK_EQ(plat_mtd_read_buf(g_path, g_mtd->size, g_seen, 0), 0);
}

void check_good_flash(void)
{
	if (prepare()) {
		check_paths();
		check_round_trip();
		check_bad_block();
		check_ends();
	}
	finish();
}

/*
 * Wants nandsim with gravepages=2691:1 (page 3 of block 2: unreadable after one read), weakblocks=44:1 (block 4: one erase) and
 * weakpages=2880:1 (first page of block 5: one write). That an unchanged block is not touched shows in the third update of blocks 4
 * and 5, which alone has to erase or write again.
 */
static void check_unreadable_page(void)
{
	const u64 block = 2 * ERASE_SIZE;

	CHECK_EQ(plat_mtd_update_buf(g_path, block, g_data, ERASE_SIZE), 0);
	CHECK(reads_as(block, g_data, ERASE_SIZE));
	CHECK_EQ(plat_mtd_read_buf(g_path, block, g_seen, ERASE_SIZE), FLASH_BUFFER_UNCORRECTABLE);
	CHECK_EQ(plat_mtd_update_buf(g_path, block + 1, g_data, 10), FLASH_BUFFER_UNCORRECTABLE);
	CHECK_EQ(plat_mtd_update_buf(g_path, block, g_data + 1, ERASE_SIZE), 0);
}

static void check_third_update(u64 block, u32 status)
{
	CHECK_EQ(plat_mtd_update_buf(g_path, block, g_data, ERASE_SIZE), 0);
	CHECK_EQ(plat_mtd_update_buf(g_path, block, g_data, ERASE_SIZE), 0);
	CHECK_EQ(plat_mtd_update_buf(g_path, block, g_data + 1, ERASE_SIZE), status);
}

void check_worn_flash(void)
{
	if (prepare()) {
		check_unreadable_page();
		check_third_update(4 * ERASE_SIZE, FLASH_BUFFER_ERASE_FAILED);
		check_third_update(5 * ERASE_SIZE, FLASH_BUFFER_WRITE_FAILED);
	}
	finish();
}

/* Wants nandsim with bitflips=1: now and then a bit of a page comes out wrong, and ECC corrects it. */
void check_flipping_flash(void)
{
	u32 i;

	if (prepare()) {
		CHECK_EQ(plat_mtd_update_buf(g_path, 100, g_data, 2 * ERASE_SIZE), 0);
		for (i = 0; i < 100 && !g_mtd->ecc_stats.corrected; i++)
			CHECK(reads_as(100, g_data, 2 * ERASE_SIZE));
		CHECK(g_mtd->ecc_stats.corrected);
		CHECK_EQ(g_mtd->ecc_stats.failed, 0);
	}
	finish();
}
