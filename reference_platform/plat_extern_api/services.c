// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The flash buffer service on the kernel's MTD functions, for NAND and for any other device that has erase blocks.
 *
 * Bad erase blocks are skipped. Data that ECC corrected is good data; data that it could not correct is a failure, unless an update
 * replaces the whole block. An update erases and programs only the erase blocks whose content changes, each of them whole; a failed
 * erase or write ends it. Nothing is marked bad here.
 *
 * Locking: reads share g_access, an update holds it alone, so that a read never sees a block between erase and write. It is taken after
 * any lock of the caller and before the locks of MTD. In debugfs, /sys/kernel/debug/plat_extern_api/switches: see fault_switches.h.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/ctype.h>
#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>
#include <linux/rwsem.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#include "fault_switches.h"
#include "good_blocks.h"
#include "platform/flash_buffer.h"
#include "platform_status.h"

#define DEVICE_PATH_START "/dev/mtd"

static struct fault_switch g_switch_table[] = {
	{ .function = "plat_mtd_read_buf" },
	{ .function = "plat_mtd_update_buf" },
};
static DEFINE_FAULT_SWITCHES(g_switches, g_switch_table);

static DECLARE_RWSEM(g_access);
static struct dentry *g_directory;

static bool parse_path(const char *path, u32 *index)
{
	const char *digits = path + strlen(DEVICE_PATH_START);
	const char *digit;

	if (strncmp(path, DEVICE_PATH_START, strlen(DEVICE_PATH_START)))
		return false;
	for (digit = digits; *digit; digit++)
		if (!isdigit(*digit))
			return false;
	if (digits[0] == '0' && digits[1])
		return false;
	return !kstrtou32(digits, 10, index) && *index <= INT_MAX;
}

static u32 open_device(const char *path, struct mtd_info **mtd)
{
	u32 index;

	if (!parse_path(path, &index))
		return FLASH_BUFFER_BAD_PATH;
	*mtd = get_mtd_device(NULL, index);
	return IS_ERR_OR_NULL(*mtd) ? FLASH_BUFFER_NO_DEVICE : 0;
}

static u32 read_bytes(struct mtd_info *mtd, u64 address, u8 *to, u32 length)
{
	size_t done = 0;
	int result = mtd_read(mtd, address, length, &done, to);

	if (mtd_is_eccerr(result))
		return FLASH_BUFFER_UNCORRECTABLE;
	return (result && !mtd_is_bitflip(result)) || done != length ? FLASH_BUFFER_READ_FAILED : 0;
}

static u32 rewrite_block(struct mtd_info *mtd, u64 block, const u8 *image)
{
	struct erase_info erase = { .addr = block, .len = mtd->erasesize };
	size_t done = 0;

	if (mtd_erase(mtd, &erase))
		return FLASH_BUFFER_ERASE_FAILED;
	if (mtd_write(mtd, block, mtd->erasesize, &done, image) || done != mtd->erasesize)
		return FLASH_BUFFER_WRITE_FAILED;
	return 0;
}

static u32 update_block(struct mtd_info *mtd, const struct good_span *span, const u8 *from, u8 *image)
{
	u32 status = read_bytes(mtd, span->block, image, mtd->erasesize);
	bool readable = !status;

	if (status && (status != FLASH_BUFFER_UNCORRECTABLE || span->length != mtd->erasesize))
		return status;
	if (readable && !memcmp(image + span->offset, from, span->length))
		return 0;
	memcpy(image + span->offset, from, span->length);
	return rewrite_block(mtd, span->block, image);
}

static u32 read_range(struct mtd_info *mtd, u64 offset, u8 *to, u64 length)
{
	struct good_walk walk;
	struct good_span span;
	u32 status = good_walk_start(&walk, mtd, offset, length);

	while (!status) {
		status = good_walk_next(&walk, &span);
		if (status || !span.length)
			break;
		status = read_bytes(mtd, span.block + span.offset, to, span.length);
		to += span.length;
	}
	return status;
}

static u32 update_range(struct mtd_info *mtd, u64 offset, const u8 *from, u64 length)
{
	struct good_walk walk;
	struct good_span span;
	u32 status = good_walk_start(&walk, mtd, offset, length);
	u8 *image;

	if (status)
		return status;
	image = vmalloc(mtd->erasesize);
	if (!image)
		return FLASH_BUFFER_NO_MEMORY;
	while (!status) {
		status = good_walk_next(&walk, &span);
		if (status || !span.length)
			break;
		status = update_block(mtd, &span, from, image);
		from += span.length;
	}
	vfree(image);
	return status;
}

u32 plat_mtd_read_buf(const char *path, unsigned long offset, void *buf, unsigned long len)
{
	struct mtd_info *mtd;
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	if (!path || !buf)
		return FLASH_BUFFER_BAD_ARGUMENT;
	status = open_device(path, &mtd);
	if (status)
		return status;
	down_read(&g_access);
	status = read_range(mtd, offset, buf, len);
	up_read(&g_access);
	put_mtd_device(mtd);
	return status;
}
EXPORT_SYMBOL(plat_mtd_read_buf);

u32 plat_mtd_update_buf(const char *path, unsigned long offset, const void *buf, unsigned long len)
{
	struct mtd_info *mtd;
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	if (!path || !buf)
		return FLASH_BUFFER_BAD_ARGUMENT;
	status = open_device(path, &mtd);
	if (status)
		return status;
	down_write(&g_access);
	status = update_range(mtd, offset, buf, len);
	up_write(&g_access);
	put_mtd_device(mtd);
	return status;
}
EXPORT_SYMBOL(plat_mtd_update_buf);

static int __init plat_extern_api_init(void)
{
	g_directory = debugfs_create_dir(KBUILD_MODNAME, NULL);
	fault_switches_create(&g_switches, g_directory);
	return 0;
}

static void __exit plat_extern_api_exit(void)
{
	debugfs_remove_recursive(g_directory);
}

module_init(plat_extern_api_init);
module_exit(plat_extern_api_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: flash buffer service");
