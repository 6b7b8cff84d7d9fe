// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * How a flash behaves under MTD's functions, and under transfers of flash_mng, which go through its block devices.
 */
#include <linux/err.h>
#include <linux/mtd/mtd.h>

#include "groups.h"

#define NAME		"mtd_00000011_settings"
#define LAST_BLOCK	ERASE_SIZE /* of the two of this partition */

static bool holds(struct mtd_info *mtd, u64 address, const u8 *expected, u32 length)
{
	u8 seen[16] = {};
	size_t done = 0;

	CHECK_EQ(mtd_read(mtd, address, length, &done, seen), 0);
	CHECK_EQ(done, length);
	return !memcmp(seen, expected, length);
}

static int store(struct mtd_info *mtd, u64 address, const u8 *from, u32 length)
{
	size_t done = 0;
	int result = mtd_write(mtd, address, length, &done, from);

	if (!result)
		CHECK_EQ(done, length);
	return result;
}

static int erase(struct mtd_info *mtd, u64 address, u64 length)
{
	struct erase_info request = { .addr = address, .len = length };

	return mtd_erase(mtd, &request);
}

static void check_nor(struct mtd_info *mtd)
{
	static const u8 blank[4] = { 0xff, 0xff, 0xff, 0xff };
	static const u8 first[4] = { 0xf0, 0x0f, 0x55, 0xff };
	static const u8 second[4] = { 0x3c, 0xff, 0xaa, 0x01 };
	static const u8 both[4] = { 0x30, 0x0f, 0x00, 0x01 };

	CHECK_EQ(mtd->type, MTD_NORFLASH);
	CHECK_EQ(mtd->erasesize, ERASE_SIZE);
	CHECK_EQ(mtd->writesize, 1);
	CHECK(holds(mtd, LAST_BLOCK, blank, 4));
	CHECK_EQ(store(mtd, LAST_BLOCK, first, 4), 0);
	CHECK_EQ(store(mtd, LAST_BLOCK - 1, first, 1), 0);
	CHECK(holds(mtd, LAST_BLOCK, first, 4));
	CHECK_EQ(store(mtd, LAST_BLOCK, second, 4), 0);
	CHECK(holds(mtd, LAST_BLOCK, both, 4));
	CHECK_EQ(erase(mtd, LAST_BLOCK, ERASE_SIZE), 0);
	CHECK(holds(mtd, LAST_BLOCK, blank, 4));
	CHECK(holds(mtd, LAST_BLOCK - 1, first, 1));
}

static void check_nor_limits(struct mtd_info *mtd)
{
	static const u8 bytes[2] = { 0x12, 0x34 };

	CHECK_EQ(erase(mtd, 1, ERASE_SIZE), -EINVAL);
	CHECK_EQ(erase(mtd, 0, ERASE_SIZE - 1), -EINVAL);
	CHECK_EQ(erase(mtd, LAST_BLOCK, 2 * ERASE_SIZE), -EINVAL);
	CHECK_EQ(store(mtd, 2 * ERASE_SIZE - 2, bytes, 2), 0);
	CHECK(holds(mtd, 2 * ERASE_SIZE - 2, bytes, 2));
	CHECK_EQ(store(mtd, 2 * ERASE_SIZE - 1, bytes, 2), -EINVAL);
}

/* The content of a flash outlives its partitions, and shows wherever a later partition covers it. */
static void check_lasting_content(void)
{
	static const u8 last[2] = { 0x12, 0x34 };
	struct flash_part part = { .offset = 0x90000, .size = ERASE_SIZE, .mtd_name = "later" };
	struct mtd_info *mtd;

	CHECK_EQ(create_parts(UNLOCKED_CARD, &part, 1), 0);
	mtd = get_mtd_device_nm("later");
	CHECK(!IS_ERR(mtd));
	if (!IS_ERR(mtd)) {
		CHECK(holds(mtd, ERASE_SIZE - 2, last, 2));
		put_mtd_device(mtd);
	}
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
}

void check_content(void)
{
	struct mtd_info *mtd;

	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	mtd = get_mtd_device_nm(NAME);
	CHECK(!IS_ERR(mtd));
	if (!IS_ERR(mtd)) {
		check_nor(mtd);
		check_nor_limits(mtd);
		put_mtd_device(mtd);
	}
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
	check_lasting_content();
}

/*
 * Leaves the instance behind: Linux releases a file that is closed in the kernel only when the task returns to user space, so the
 * partition stays open until then.
 */
void check_transfers(void)
{
	static const char text[] = "over the border of two erase blocks";
	char seen[sizeof(text)] = "";

	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	CHECK_EQ(drv_flash_mtd_write(NAME, ERASE_SIZE - 10, text, sizeof(text)), 0);
	CHECK_EQ(drv_flash_mtd_write(NAME, ERASE_SIZE - 10, "O", 1), 0);
	CHECK_EQ(drv_flash_mtd_read(NAME, ERASE_SIZE - 10, seen, sizeof(seen)), 0);
	CHECK_EQ(seen[0], 'O');
	CHECK(!memcmp(seen + 1, text + 1, sizeof(text) - 1));
	CHECK_EQ(drv_flash_mtd_read("mtd_00000011_firmware", 0x7fff0, seen, 16), 0);
	CHECK(!memchr_inv(seen, 0xff, 16));
}
