// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/errno.h>
#include <linux/fcntl.h>
#include <linux/kernel.h>
#include <linux/sizes.h>

#include "bench.h"
#include "flash_mng.h"
#include "platform/flash_buffer.h"

#define DEFAULT_INSTANCE 0xffffffff

static u32 call(const struct bench_request *request, void *buffer)
{
	u64 size;

	switch (request->call) {
	case BENCH_PARTITION_READ:
		return drv_flash_mtd_read(request->name, request->offset, buffer, request->length);
	case BENCH_PARTITION_WRITE:
		return drv_flash_mtd_write(request->name, request->offset, buffer, request->length);
	case BENCH_PARTITION_SIZE:
		return drv_flash_get_mtd_size(request->name, &size);
	case BENCH_SECTION_READ:
		return drv_flash_read(DEFAULT_INSTANCE, request->section_id, request->offset, buffer, request->length);
	case BENCH_SECTION_WRITE:
		return drv_flash_write(DEFAULT_INSTANCE, request->section_id, request->offset, buffer, request->length);
	case BENCH_SERVICE_READ:
		return plat_mtd_read_buf(request->path, request->offset, buffer, request->length);
	case BENCH_SERVICE_UPDATE:
		return plat_mtd_update_buf(request->path, request->offset, buffer, request->length);
	case BENCH_LISTED_READ:
		return bench_listed_read(request);
	case BENCH_LISTED_WRITE:
		return bench_listed_write(request, buffer);
	case BENCH_IMAGE_READ:
		return bench_image_read(request, buffer);
	case BENCH_IMAGE_WRITE:
		return bench_image_write(request, buffer);
	case BENCH_BLOCK_READ:
		return bench_block_read(request, buffer);
	case BENCH_BLOCK_WRITE:
		return bench_block_write(request, buffer, 0);
	case BENCH_BLOCK_SYNC_WRITE:
		return bench_block_write(request, buffer, O_SYNC);
	case BENCH_DEVICE_BY_NAME:
		return bench_device_by_name(request);
	}
	return FLASH_MNG_UNKNOWN_COMMAND;
}

/* A write of what is there already is no write to a service that compares: each time there is a difference in each 4 KiB. */
static void change(u8 *buffer, u32 changed)
{
	u32 at;

	for (at = 0; at < changed; at += SZ_4K)
		buffer[at]++;
}

int bench_run(struct bench_request *request, void *buffer)
{
	u32 smallest = U32_MAX;
	u32 i, start, took;

	if (request->call >= BENCH_CALLS)
		return -EINVAL;
	for (i = 0; i < request->times; i++) {
		change(buffer, request->changed);
		start = bench_counter();
		if (request->search)
			bench_search(request->search, request->name);
		request->code = call(request, buffer);
		took = bench_counter() - start;
		smallest = min(smallest, took);
		if (request->code)
			break;
	}
	request->instructions = smallest;
	return 0;
}
