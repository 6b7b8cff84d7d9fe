// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/err.h>
#include <linux/mtd/mtd.h>
#include <linux/slab.h>

#include "groups.h"
#include "failing_call.h"
#include "platform_status.h"

#define CARD_BLOCKS 64 /* erase blocks of UNLOCKED_CARD */

static u64 size_of(u32 inst_id)
{
	u64 size = 77;

	CHECK_EQ(drv_flash_get_size(inst_id, 0, &size), 0);
	return size;
}

void check_sizes(void)
{
	u64 size = 77;

	CHECK_EQ(size_of(UNLOCKED_CARD), 0x400000);
	CHECK_EQ(size_of(LOCKED_CARD), 0x200000);
	CHECK_EQ(size_of(CREATE_LOCKED_CARD), 0x400000);
	CHECK_EQ(size_of(OWN_SETTINGS), 0x200000);
	CHECK_EQ(size_of(NO_CARRIER), 0x400000);
	CHECK_EQ(drv_flash_get_size(ABSENT_CARD, 0, &size), SPI_FLASH_UNKNOWN);
	CHECK_EQ(drv_flash_get_size(UNLOCKED_CARD, 0, NULL), FLASH_MNG_NULL_POINTER);
	CHECK_EQ(size, 77);
}

/* Two parts of which the second is wrong; nothing of the first is left. */
static u32 create_second(u32 offset, u32 size, const char *name)
{
	struct flash_part parts[2] = {
		{ .offset = 0x20000, .size = 0x20000, .mtd_name = "first" },
		{ .offset = offset, .size = size },
	};
	u32 status;

	memcpy(parts[1].mtd_name, name, min(strlen(name) + 1, sizeof(parts[1].mtd_name)));
	status = create_parts(UNLOCKED_CARD, parts, ARRAY_SIZE(parts));
	if (status)
		CHECK(!mtd_exists("first"));
	return status;
}

static void check_ranges(void)
{
	CHECK_EQ(create_second(0x40000, 0, "second"), SPI_FLASH_BAD_ALIGNMENT);
	CHECK_EQ(create_second(0x48000, 0x10000, "second"), SPI_FLASH_BAD_ALIGNMENT);
	CHECK_EQ(create_second(0x40000, 0x18000, "second"), SPI_FLASH_BAD_ALIGNMENT);
	CHECK_EQ(create_second(0x40001, 0xffff, "second"), SPI_FLASH_BAD_ALIGNMENT);
	CHECK_EQ(create_second(0x400000, 0x10000, "second"), SPI_FLASH_BEYOND_END);
	CHECK_EQ(create_second(0x3f0000, 0x20000, "second"), SPI_FLASH_BEYOND_END);
	CHECK_EQ(create_second(0x10000, 0xffff0000, "second"), SPI_FLASH_BEYOND_END);
	CHECK_EQ(create_second(0x20000, 0x20000, "second"), SPI_FLASH_OVERLAP);
	CHECK_EQ(create_second(0x30000, 0x20000, "second"), SPI_FLASH_OVERLAP);
	CHECK_EQ(create_second(0x10000, 0x20000, "second"), SPI_FLASH_OVERLAP);
	CHECK_EQ(create_second(0, 0x400000, "second"), SPI_FLASH_OVERLAP);
}

static void check_names(void)
{
	CHECK_EQ(create_second(0x40000, 0x10000, ""), SPI_FLASH_BAD_NAME);
	CHECK_EQ(create_second(0x40000, 0x10000, "first"), SPI_FLASH_NAME_TWICE);
	CHECK_EQ(create_second(0x40000, 0x10000, "0123456789abcdef0123456789abcdef"), SPI_FLASH_BAD_NAME);
	CHECK_EQ(create_from_board(LOCKED_CARD), 0);
	CHECK_EQ(create_second(0x40000, 0x10000, "mtd_00000012_firmware"), SPI_FLASH_NAME_IN_USE);
	CHECK_EQ(drv_flash_destroy(LOCKED_CARD), 0);
}

static void check_counts(void)
{
	struct flash_part *parts = kcalloc(CARD_BLOCKS + 1, sizeof(*parts), GFP_KERNEL);
	u32 i;

	CHECK(parts);
	for (i = 0; parts && i <= CARD_BLOCKS; i++) {
		parts[i].offset = i * ERASE_SIZE;
		parts[i].size = ERASE_SIZE;
		scnprintf(parts[i].mtd_name, sizeof(parts[i].mtd_name), "block%u", i);
	}
	CHECK_EQ(create_parts(UNLOCKED_CARD, parts, 0), FLASH_MNG_FAILED);
	CHECK_EQ(create_parts(UNLOCKED_CARD, parts, CARD_BLOCKS + 1), SPI_FLASH_TOO_MANY_PARTS);
	CHECK_EQ(create_parts(UNLOCKED_CARD, parts, CARD_BLOCKS), 0);
	CHECK(mtd_exists("block0"));
	CHECK(mtd_exists("block63"));
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
	CHECK(!mtd_exists("block0"));
	CHECK(!mtd_exists("block63"));
	kfree(parts);
}

void check_refusals(void)
{
	struct flash_part part = { .size = ERASE_SIZE, .mtd_name = "nowhere" };

	check_ranges();
	check_names();
	check_counts();
	CHECK_EQ(create_parts(ABSENT_CARD, &part, 1), SPI_FLASH_UNKNOWN);
	CHECK_EQ(drv_flash_destroy(ABSENT_CARD), SPI_FLASH_UNKNOWN);
	CHECK_EQ(drv_flash_destroy(LOCKED_CARD), SPI_FLASH_NOT_CREATED);
	CHECK(!mtd_exists("nowhere"));

	CHECK_EQ(create_second(0x40000, 0x3c0000, "0123456789abcdef0123456789abcde"), 0);
	CHECK(mtd_exists("first"));
	CHECK(mtd_exists("0123456789abcdef0123456789abcde"));
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
}

void check_open_partitions(void)
{
	struct mtd_info *mtd;

	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	mtd = get_mtd_device_nm("mtd_00000011_settings");
	CHECK(!IS_ERR(mtd));
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), SPI_FLASH_IN_USE);
	CHECK(mtd_exists("mtd_00000011_firmware"));
	CHECK(mtd_exists("mtd_00000011_settings"));
	if (!IS_ERR(mtd))
		put_mtd_device(mtd);
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
	CHECK(!mtd_exists("mtd_00000011_firmware"));
}

/*
 * Expects these switches to be armed: "spi_flash_get_size 2 0x71", "spi_flash_create 1 0x72", "spi_flash_destroy 1 0x73 sticky"; leaves
 * an instance behind.
 */
void check_switched(void)
{
	u64 size = 77;

	CHECK_EQ(size_of(UNLOCKED_CARD), 0x400000);
	CHECK_EQ(drv_flash_get_size(UNLOCKED_CARD, 0, &size), 0x71);
	CHECK_EQ(size, 77);
	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0x72);
	CHECK(!mtd_exists("mtd_00000011_firmware"));
	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0x73);
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0x73);
	CHECK(mtd_exists("mtd_00000011_firmware"));
}

/* flash_mng asks the driver for nothing of the kind; a probe knows where the driver's functions are. */
static void *function_named(const char *name)
{
	struct kprobe probe = { .symbol_name = name };
	void *address = NULL;

	if (!register_kprobe(&probe)) {
		address = probe.addr;
		unregister_kprobe(&probe);
	}
	CHECK(address);
	return address;
}

void check_driver_itself(void)
{
	u32 (*get_size)(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs, void *size) = function_named("spi_flash_get_size");
	u32 (*create)(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs, struct flash_parts_info *info) = function_named("spi_flash_create");
	struct flash_part part = { .size = ERASE_SIZE, .mtd_name = "nowhere" };
	struct flash_parts_info none = { .parts = &part }, nowhere = { .part_num = 1 };

	if (!get_size || !create)
		return;
	CHECK_EQ(get_size(UNLOCKED_CARD, 0, 0, 0, NULL), SPI_FLASH_BAD_ARGUMENT);
	CHECK_EQ(create(UNLOCKED_CARD, 0, 0, 0, NULL), SPI_FLASH_NO_PARTS);
	CHECK_EQ(create(UNLOCKED_CARD, 0, 0, 0, &none), SPI_FLASH_NO_PARTS);
	CHECK_EQ(create(UNLOCKED_CARD, 0, 0, 0, &nowhere), SPI_FLASH_NO_PARTS);
	CHECK(!mtd_exists("nowhere"));
}

/* Creates one part while a call to @function gives @result; the flash must then be as it was. */
static u32 create_despite(const char *function, unsigned long result)
{
	u32 (*create)(u32 cfg_inst_id, u32 chip_id, u32 ctrl, u32 cs, struct flash_parts_info *info) = function_named("spi_flash_create");
	struct flash_part part = { .size = ERASE_SIZE, .mtd_name = "scarce" };
	struct flash_parts_info info = { .part_num = 1, .parts = &part };
	struct failing_call call;
	u32 status = 0;

	CHECK(failing_call_begin(&call, function, result));
	if (create)
		status = create(UNLOCKED_CARD, 0, 0, 0, &info);
	CHECK(failing_call_end(&call));
	CHECK(!mtd_exists("scarce"));
	return status;
}

void check_failing_kernel(void)
{
	struct failing_call call;

	CHECK_EQ(create_despite("__kmalloc", 0), SPI_FLASH_NO_MEMORY);
	CHECK_EQ(create_despite("vmalloc", 0), SPI_FLASH_NO_MEMORY);
	CHECK_EQ(create_despite("mtd_device_parse_register", -ENOSPC), SPI_FLASH_MTD_FAILED);
	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	CHECK(failing_call_begin(&call, "mtd_device_unregister", -EBUSY));
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), SPI_FLASH_MTD_FAILED);
	CHECK(failing_call_end(&call));
	CHECK(mtd_exists("mtd_00000011_settings"));
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
	CHECK(!mtd_exists("mtd_00000011_settings"));
}
