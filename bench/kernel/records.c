// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/errno.h>
#include <linux/kernel.h>

#include "bench.h"
#include "flash_mng.h"

/* A flash driver for whom everything succeeds: flash_mng keeps its records, and there is no flash. */
static u32 no_flash_create(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs, struct flash_parts_info *parts_info)
{
	return 0;
}

static u32 no_flash_destroy(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs)
{
	return 0;
}

static const struct flash_driver_ops g_ops = {
	.create = no_flash_create,
	.destroy = no_flash_destroy,
};

static u32 g_count;

static u32 add_record(u32 inst_id)
{
	struct flash_part part = {};
	struct flash_parts_info info = { .part_num = 1, .parts = &part };

	scnprintf(part.mtd_name, sizeof(part.mtd_name), "part%u", inst_id);
	return drv_flash_create(inst_id, &info);
}

int bench_records(u32 count)
{
	for (; g_count < count; g_count++)
		if (add_record(g_count + 1))
			return -EIO;
	for (; g_count > count; g_count--)
		if (drv_flash_destroy(g_count))
			return -EIO;
	return 0;
}

void bench_register_driver(void)
{
	drv_flash_driver_register(0, 0, &g_ops);
}

void bench_unregister_driver(void)
{
	drv_flash_driver_unregister();
}
