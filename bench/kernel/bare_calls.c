// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/mtd/mtd.h>
#include <linux/sizes.h>
#include <linux/string.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "bench.h"
#include "flash_mng.h"
#include "platform/flash_buffer.h"

static u8 *g_image; /* kept, so that its allocation is not counted; as large as the largest so far */
static u32 g_image_size;

static u8 *image(u32 size)
{
	if (size > g_image_size) {
		vfree(g_image);
		g_image = vmalloc(size);
		g_image_size = g_image ? size : 0;
	}
	return g_image;
}

void bench_free_image(void)
{
	vfree(g_image);
	g_image = NULL;
	g_image_size = 0;
}

/* The first bytes of the partition, into memory that stays. */
static u32 read_image(const struct bench_request *request, u32 size, u8 **to)
{
	*to = image(size);
	return *to ? plat_mtd_read_buf(request->path, 0, *to, size) : FLASH_MNG_NO_BUFFER;
}

u32 bench_listed_read(const struct bench_request *request)
{
	u8 *from;
	u32 status = read_image(request, request->offset + request->length, &from);

	if (!status && copy_to_user(u64_to_user_ptr(request->buffer), from + request->offset, request->length))
		return FLASH_MNG_USER_UNWRITABLE;
	return status;
}

/* The program's data stay as they are: what changes from call to call is taken from @buffer. */
u32 bench_listed_write(const struct bench_request *request, const void *buffer)
{
	u8 *to;
	u32 status = read_image(request, request->usable, &to);
	u32 at;

	if (status)
		return status;
	to += request->offset;
	if (copy_from_user(to, u64_to_user_ptr(request->buffer), request->length))
		return FLASH_MNG_USER_UNREADABLE;
	for (at = 0; at < request->length; at += SZ_4K)
		to[at] = ((const u8 *)buffer)[at];
	return plat_mtd_update_buf(request->path, 0, to - request->offset, request->usable);
}

u32 bench_image_read(const struct bench_request *request, void *buffer)
{
	u8 *from;
	u32 status = read_image(request, request->offset + request->length, &from);

	if (!status)
		memcpy(buffer, from + request->offset, request->length);
	return status;
}

u32 bench_image_write(const struct bench_request *request, const void *buffer)
{
	u8 *to;
	u32 status = read_image(request, request->usable, &to);

	if (status)
		return status;
	memcpy(to + request->offset, buffer, request->length);
	return plat_mtd_update_buf(request->path, 0, to, request->usable);
}

u32 bench_block_read(const struct bench_request *request, void *buffer)
{
	struct file *file = filp_open(request->path, O_RDONLY, 0);
	loff_t position;
	u32 code = 0;

	if (IS_ERR(file))
		return FLASH_MNG_NOT_OPENED;
	position = vfs_llseek(file, request->offset, SEEK_SET);
	if (kernel_read(file, buffer, request->length, &position) != request->length)
		code = FLASH_MNG_SHORT_READ;
	filp_close(file, NULL);
	return code;
}

u32 bench_block_write(const struct bench_request *request, const void *buffer, int flags)
{
	struct file *file = filp_open(request->path, O_RDWR | flags, 0);
	loff_t position;
	u32 code = 0;

	if (IS_ERR(file))
		return FLASH_MNG_NOT_OPENED;
	position = vfs_llseek(file, request->offset, SEEK_SET);
	if (kernel_write(file, buffer, request->length, &position) != request->length)
		code = FLASH_MNG_SHORT_WRITE;
	if (!flags)
		vfs_fsync(file, 0);
	filp_close(file, NULL);
	return code;
}

u32 bench_device_by_name(const struct bench_request *request)
{
	struct mtd_info *mtd = get_mtd_device_nm(request->name);

	if (IS_ERR(mtd))
		return FLASH_MNG_NO_PARTITION;
	put_mtd_device(mtd);
	return 0;
}
