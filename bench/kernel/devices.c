// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/errno.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>
#include <linux/sizes.h>
#include <linux/string.h>

#include "bench.h"

#define MOST_DEVICES 128

static struct mtd_info g_devices[MOST_DEVICES];
static char g_names[MOST_DEVICES][16];
static u32 g_count;

/* The devices are listed, never read. */
static int read_ones(struct mtd_info *mtd, loff_t from, size_t length, size_t *done, u_char *to)
{
	memset(to, 0xff, length);
	*done = length;
	return 0;
}

static int add_device(u32 number)
{
	struct mtd_info *mtd = &g_devices[number];

	scnprintf(g_names[number], sizeof(g_names[number]), "part%u", number + 1);
	*mtd = (struct mtd_info){
		.owner = THIS_MODULE,
		.name = g_names[number],
		.type = MTD_NORFLASH,
		.flags = MTD_NO_ERASE,
		.size = SZ_1M,
		.erasesize = SZ_64K,
		.writesize = 1,
		.writebufsize = 1,
		._read = read_ones,
	};
	return mtd_device_register(mtd, NULL, 0);
}

int bench_devices(u32 count)
{
	int result = 0;

	if (count > MOST_DEVICES)
		return -EINVAL;
	while (!result && g_count > count) {
		result = mtd_device_unregister(&g_devices[g_count - 1]);
		if (!result)
			g_count--;
	}
	while (!result && g_count < count) {
		result = add_device(g_count);
		if (!result)
			g_count++;
	}
	return result;
}
