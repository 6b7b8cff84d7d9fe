// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/err.h>
#include <linux/mtd/mtd.h>

#include "groups.h"
#include "platform/xml.h"
#include "platform_status.h"

#define MAP_NODE	"spi_flash_map"
#define MOST_PARTS	4U

bool mtd_exists(const char *name)
{
	struct mtd_info *mtd = get_mtd_device_nm(name);

	if (IS_ERR(mtd))
		return PTR_ERR(mtd) != -ENODEV;
	put_mtd_device(mtd);
	return true;
}

u32 create_parts(u32 inst_id, struct flash_part *parts, u32 count)
{
	struct flash_parts_info info = { .part_num = count, .parts = parts };

	return drv_flash_create(inst_id, &info);
}

static void read_part(u32 inst_id, u32 index, struct flash_part *part)
{
	char entry[16], name[19];

	scnprintf(entry, sizeof(entry), "map%u", index);
	CHECK_EQ(xml_get_element_string(inst_id, "flash_mng", MAP_NODE, entry, "mtd_name", name, sizeof(name)), 0);
	CHECK_EQ(xml_get_element_value_u32(inst_id, "flash_mng", MAP_NODE, entry, "offset", &part->offset), 0);
	CHECK_EQ(xml_get_element_value_u32(inst_id, "flash_mng", MAP_NODE, entry, "size", &part->size), 0);
	scnprintf(part->mtd_name, sizeof(part->mtd_name), "mtd_%08x_%s", inst_id, name);
}

u32 create_from_board(u32 inst_id)
{
	struct flash_part parts[MOST_PARTS] = {};
	u32 i, count = 0;

	CHECK_EQ(xml_get_entry_num(inst_id, "flash_mng", MAP_NODE, &count), 0);
	CHECK(count <= MOST_PARTS);
	for (i = 0; i < min(count, MOST_PARTS); i++)
		read_part(inst_id, i, &parts[i]);
	return create_parts(inst_id, parts, min(count, MOST_PARTS));
}

static void check_device(const char *name, u64 size)
{
	u64 actual = 0;
	u32 type = 77;

	CHECK_EQ(drv_flash_get_mtd_size(name, &actual), 0);
	CHECK_EQ(actual, size);
	CHECK_EQ(drv_flash_get_type(name, &type), 0);
	CHECK_EQ(type, 1);
}

void check_board_parts(void)
{
	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	CHECK_EQ(create_from_board(LOCKED_CARD), 0);
	CHECK_EQ(create_from_board(CREATE_LOCKED_CARD), 0);
	CHECK_EQ(create_from_board(OWN_SETTINGS), 0);

	check_device("mtd_00000011_firmware", 0x80000);
	check_device("mtd_00000011_settings", 0x20000);
	check_device("mtd_00000012_firmware", 0x100000);
	check_device("mtd_00000013_firmware", 0x200000);
	check_device("mtd_00000013_log", 0x200000);
	check_device("mtd_00000020_firmware", 0x200000);

	CHECK_EQ(create_from_board(UNLOCKED_CARD), SPI_FLASH_ALREADY_CREATED);
	CHECK(mtd_exists("mtd_00000011_settings"));

	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
	CHECK(!mtd_exists("mtd_00000011_firmware"));
	CHECK(!mtd_exists("mtd_00000011_settings"));
	CHECK(mtd_exists("mtd_00000013_log"));
	CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), SPI_FLASH_NOT_CREATED);
	CHECK_EQ(drv_flash_destroy(LOCKED_CARD), 0);
	CHECK_EQ(drv_flash_destroy(CREATE_LOCKED_CARD), 0);
	CHECK_EQ(drv_flash_destroy(OWN_SETTINGS), 0);
	CHECK(!mtd_exists("mtd_00000013_log"));
	CHECK(!mtd_exists("mtd_00000020_firmware"));
}

/* Leaves partitions behind, for who unloads the driver or opens one of them. */
void check_leave(void)
{
	CHECK_EQ(create_from_board(UNLOCKED_CARD), 0);
	CHECK_EQ(create_from_board(CREATE_LOCKED_CARD), 0);
}
