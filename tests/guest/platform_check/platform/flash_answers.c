// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * What the flash buffer service makes of each answer that MTD may give: on a device of two erase blocks that gives the answers it is told.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>

#include "groups.h"
#include "failing_call.h"
#include "mtd_users.h"
#include "platform/flash_buffer.h"
#include "platform_status.h"

#define ERASE_SIZE	4096U
#define BLOCKS		2

struct answer {
	int result;
	u32 missing; /* bytes that are not done */
};

static struct {
	struct answer read, write;
	int erase, is_bad;
	u32 erased, written; /* how often */
} g_told;

static u8 g_content[BLOCKS * ERASE_SIZE];
static u8 g_data[ERASE_SIZE];
static u8 g_seen[ERASE_SIZE];
static char g_path[16];

static int give_bytes(struct mtd_info *mtd, loff_t from, size_t length, size_t *done, u8 *to)
{
	*done = length - g_told.read.missing;
	memcpy(to, g_content + from, *done);
	return g_told.read.result;
}

static int take_bytes(struct mtd_info *mtd, loff_t to, size_t length, size_t *done, const u8 *from)
{
	g_told.written++;
	*done = length - g_told.write.missing;
	memcpy(g_content + to, from, *done);
	return g_told.write.result;
}

static int erase_bytes(struct mtd_info *mtd, struct erase_info *request)
{
	g_told.erased++;
	if (!g_told.erase)
		memset(g_content + request->addr, 0xff, request->len);
	return g_told.erase;
}

static int tell_bad(struct mtd_info *mtd, loff_t address)
{
	return g_told.is_bad;
}

static struct mtd_info g_mtd = {
	.name = "answers",
	.type = MTD_NORFLASH,
	.flags = MTD_CAP_NORFLASH,
	.size = sizeof(g_content),
	.erasesize = ERASE_SIZE,
	.writesize = 1,
	.writebufsize = 1,
	.owner = THIS_MODULE,
	._read = give_bytes,
	._write = take_bytes,
	._erase = erase_bytes,
	._block_isbad = tell_bad,
};

/* Old content, and answers that all is well. */
static void begin(void)
{
	memset(&g_told, 0, sizeof(g_told));
	memset(g_content, 0x11, sizeof(g_content));
	memset(g_data, 0x22, sizeof(g_data));
	g_mtd.erasesize = ERASE_SIZE;
}

static u32 read_after(int result, u32 missing)
{
	begin();
	g_told.read = (struct answer){ result, missing };
	memset(g_seen, 0, sizeof(g_seen));
	return plat_mtd_read_buf(g_path, 100, g_seen, 200);
}

static void check_reads(void)
{
	CHECK_EQ(read_after(0, 0), 0);
	CHECK_EQ(g_seen[199], 0x11);
	CHECK_EQ(read_after(-EUCLEAN, 0), 0); /* ECC has corrected it */
	CHECK_EQ(g_seen[199], 0x11);
	CHECK_EQ(read_after(-EUCLEAN, 1), FLASH_BUFFER_READ_FAILED);
	CHECK_EQ(read_after(-EBADMSG, 0), FLASH_BUFFER_UNCORRECTABLE);
	CHECK_EQ(read_after(-EIO, 0), FLASH_BUFFER_READ_FAILED);
	CHECK_EQ(read_after(0, 1), FLASH_BUFFER_READ_FAILED);
	CHECK_EQ(read_after(0, 200), FLASH_BUFFER_READ_FAILED);
}

/* An update after such a read back. */
static u32 update_after(int result, u32 missing, u32 offset, u32 length)
{
	begin();
	g_told.read = (struct answer){ result, missing };
	return plat_mtd_update_buf(g_path, offset, g_data, length);
}

static void check_read_backs(void)
{
	CHECK_EQ(update_after(-EUCLEAN, 0, 1, 10), 0);
	CHECK_EQ(g_content[0], 0x11);
	CHECK_EQ(g_content[10], 0x22);
	CHECK_EQ(g_content[11], 0x11);
	CHECK_EQ(update_after(-EUCLEAN, 1, 1, 10), FLASH_BUFFER_READ_FAILED);
	CHECK_EQ(update_after(-EIO, 0, 0, ERASE_SIZE), FLASH_BUFFER_READ_FAILED);
	CHECK_EQ(update_after(0, 1, 1, 10), FLASH_BUFFER_READ_FAILED);
	CHECK_EQ(update_after(-EBADMSG, 0, 1, 10), FLASH_BUFFER_UNCORRECTABLE);
	CHECK_EQ(g_told.erased + g_told.written, 0);
	CHECK_EQ(update_after(-EBADMSG, 0, 0, ERASE_SIZE), 0); /* nothing of the old content stays */
	CHECK_EQ(g_told.erased, 1);
	CHECK_EQ(g_content[ERASE_SIZE - 1], 0x22);
}

static u32 update_with(int erase, int write, u32 missing)
{
	begin();
	g_told.erase = erase;
	g_told.write = (struct answer){ write, missing };
	return plat_mtd_update_buf(g_path, 1, g_data, sizeof(g_data)); /* of both blocks */
}

static void check_erases_and_writes(void)
{
	CHECK_EQ(update_with(0, 0, 0), 0);
	CHECK_EQ(g_told.erased, 2);
	CHECK_EQ(g_told.written, 2);
	CHECK_EQ(update_with(-EIO, 0, 0), FLASH_BUFFER_ERASE_FAILED);
	CHECK_EQ(g_told.written, 0);
	CHECK_EQ(update_with(0, -EIO, 0), FLASH_BUFFER_WRITE_FAILED);
	CHECK_EQ(g_told.erased, 1);
	CHECK_EQ(update_with(0, 0, 1), FLASH_BUFFER_WRITE_FAILED);
	CHECK_EQ(g_told.erased, 1);
	CHECK_EQ(update_with(0, 0, ERASE_SIZE), FLASH_BUFFER_WRITE_FAILED);
}

/* Both functions, of one byte. */
static void check_both(u32 status)
{
	CHECK_EQ(plat_mtd_read_buf(g_path, 0, g_seen, 1), status);
	CHECK_EQ(plat_mtd_update_buf(g_path, 0, g_data, 1), status);
	CHECK_EQ(g_told.erased + g_told.written, 0);
}

static void check_blocks(void)
{
	begin();
	g_told.is_bad = -EIO;
	check_both(FLASH_BUFFER_BAD_BLOCK_CHECK);
	begin();
	g_told.is_bad = 1;
	check_both(FLASH_BUFFER_OUT_OF_BLOCKS);
	begin();
	g_mtd.erasesize = 0;
	check_both(FLASH_BUFFER_NO_ERASE_BLOCKS);
	begin();
	CHECK_EQ(plat_mtd_update_buf(g_path, sizeof(g_content), g_data, 1), FLASH_BUFFER_BEYOND_END);
	CHECK_EQ(plat_mtd_update_buf(g_path, 1, g_data, ~0UL), FLASH_BUFFER_BEYOND_END);
}

static void check_memory(void)
{
	struct failing_call allocation;

	begin();
	CHECK(failing_call_begin(&allocation, "vmalloc", 0));
	CHECK_EQ(plat_mtd_update_buf(g_path, 0, g_data, 1), FLASH_BUFFER_NO_MEMORY);
	CHECK(failing_call_end(&allocation));
	CHECK_EQ(g_told.erased + g_told.written, 0);
}

void check_flash_answers(void)
{
	int result;

	begin();
	result = mtd_device_register(&g_mtd, NULL, 0);
	CHECK_EQ(result, 0);
	if (result)
		return;
	scnprintf(g_path, sizeof(g_path), "/dev/mtd%d", g_mtd.index);
	check_reads();
	check_read_backs();
	check_erases_and_writes();
	check_blocks();
	check_memory();
	CHECK_EQ(mtd_users(&g_mtd), 0);
	begin();
	CHECK_EQ(mtd_device_unregister(&g_mtd), 0);
}
