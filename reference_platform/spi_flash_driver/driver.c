// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The flash driver of a board without SPI flash controllers: its flashes are kept in memory, as long as the module is loaded.
 *
 * Two chips with two controllers each, which have a flash of 4 MiB at chip select 0 and one of 2 MiB at chip select 1, all with erase
 * blocks of 64 KiB. The size that is stored for a caller is a u64. The instance that held the settings is only named in messages.
 *
 * Locking: g_flashes_lock makes create and destroy follow one another. It is taken after the hardware lock and before the locks of MTD;
 * transfers do not take it. A partition holds the module while it is open; instances that still exist when the module goes are removed.
 * In debugfs, /sys/kernel/debug/spi_flash_driver/switches: see fault_switches.h.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/debugfs.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/slab.h>

#include "fault_switches.h"
#include "flash.h"
#include "flash_mng.h"
#include "parts.h"
#include "platform_status.h"

static struct fault_switch g_switch_table[] = {
	{ .function = "spi_flash_get_size" },
	{ .function = "spi_flash_create" },
	{ .function = "spi_flash_destroy" },
};
static DEFINE_FAULT_SWITCHES(g_switches, g_switch_table);

static struct spi_flash g_flashes[] = {
	{ .chip_id = 0, .ctrl = 0, .cs = 0, .size = SZ_4M },
	{ .chip_id = 0, .ctrl = 0, .cs = 1, .size = SZ_2M },
	{ .chip_id = 0, .ctrl = 1, .cs = 0, .size = SZ_4M },
	{ .chip_id = 0, .ctrl = 1, .cs = 1, .size = SZ_2M },
	{ .chip_id = 1, .ctrl = 0, .cs = 0, .size = SZ_4M },
	{ .chip_id = 1, .ctrl = 0, .cs = 1, .size = SZ_2M },
	{ .chip_id = 1, .ctrl = 1, .cs = 0, .size = SZ_4M },
	{ .chip_id = 1, .ctrl = 1, .cs = 1, .size = SZ_2M },
};

static DEFINE_MUTEX(g_flashes_lock);
static struct dentry *g_directory;

static struct spi_flash *find_flash(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs)
{
	u32 i;

	for (i = 0; i < ARRAY_SIZE(g_flashes); i++)
		if (g_flashes[i].chip_id == chip_id && g_flashes[i].ctrl == ctrl && g_flashes[i].cs == cs)
			return &g_flashes[i];
	pr_err("instance 0x%x: there is no flash at chip %u, controller %u, select %u; correct spi_flash_info of this instance\n",
	       cfg_inst_id, chip_id, ctrl, cs);
	return NULL;
}

static u32 create_locked(struct spi_flash *flash, const struct flash_parts_info *parts_info)
{
	struct mtd_partition *parts;
	u32 status;

	if (flash->created)
		return SPI_FLASH_ALREADY_CREATED;
	status = mtd_parts_make(flash, parts_info, &parts);
	if (status)
		return status;
	status = spi_flash_open(flash, parts, parts_info->part_num);
	kfree(parts);
	return status;
}

static u32 spi_flash_get_size(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs, void *size)
{
	const struct spi_flash *flash;
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	if (!size)
		return SPI_FLASH_BAD_ARGUMENT;
	flash = find_flash(cfg_inst_id, chip_id, ctrl, cs);
	if (!flash)
		return SPI_FLASH_UNKNOWN;
	*(u64 *)size = flash->size;
	return 0;
}

static u32 spi_flash_create(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs, struct flash_parts_info *parts_info)
{
	struct spi_flash *flash;
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	flash = find_flash(cfg_inst_id, chip_id, ctrl, cs);
	if (!flash)
		return SPI_FLASH_UNKNOWN;
	mutex_lock(&g_flashes_lock);
	status = create_locked(flash, parts_info);
	mutex_unlock(&g_flashes_lock);
	if (status)
		pr_err("instance 0x%x: the flash at chip %u, controller %u, select %u is not created, status 0x%x\n", cfg_inst_id,
		       chip_id, ctrl, cs, status);
	return status;
}

static u32 spi_flash_destroy(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs)
{
	struct spi_flash *flash;
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	flash = find_flash(cfg_inst_id, chip_id, ctrl, cs);
	if (!flash)
		return SPI_FLASH_UNKNOWN;
	mutex_lock(&g_flashes_lock);
	status = flash->created ? spi_flash_close(flash) : SPI_FLASH_NOT_CREATED;
	mutex_unlock(&g_flashes_lock);
	if (status)
		pr_err("instance 0x%x: the flash at chip %u, controller %u, select %u is not destroyed, status 0x%x\n", cfg_inst_id,
		       chip_id, ctrl, cs, status);
	return status;
}

static const struct flash_driver_ops operations = {
	.get_size = spi_flash_get_size,
	.create = spi_flash_create,
	.destroy = spi_flash_destroy,
};

static int __init spi_flash_driver_init(void)
{
	g_directory = debugfs_create_dir(KBUILD_MODNAME, NULL);
	fault_switches_create(&g_switches, g_directory);
	drv_flash_driver_register(0, 0, &operations);
	return 0;
}

static void __exit spi_flash_driver_exit(void)
{
	u32 i;

	drv_flash_driver_unregister();
	debugfs_remove_recursive(g_directory);
	for (i = 0; i < ARRAY_SIZE(g_flashes); i++) {
		if (g_flashes[i].created)
			WARN_ON(spi_flash_close(&g_flashes[i]));
		spi_flash_free(&g_flashes[i]);
	}
}

module_init(spi_flash_driver_init);
module_exit(spi_flash_driver_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: flash driver for SPI flashes in memory");
