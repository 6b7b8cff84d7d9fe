// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The partitions that a caller asks of a flash: any up to PARTS of them, on a flash of any size. Names are any of up to NAME characters, or
 * fill their field without a NUL.
 */
#include "proof.h"

#include "../../reference_platform/spi_flash_driver/parts.c"
#include "bodies.h"

#define PARTS 2
#define NAME 3

static struct mtd_partition g_made[PARTS];
static bool g_taken;

void *__kmalloc(size_t size, gfp_t flags)
{
	u32 i;

	proved(size == sizeof(g_made[0]) || size == 2 * sizeof(g_made[0]), "memory for each of the parts");
	if (nondet_bool())
		return NULL;
	for (i = 0; i < PARTS; i++)
		g_made[i] = (struct mtd_partition){};
	g_taken = true;
	return g_made;
}

struct mtd_info *get_mtd_device_nm(const char *name)
{
	static struct mtd_info other;

	proved(name[NAME] == 0 || name[0], "asked for a name");
	return nondet_bool() ? ERR_PTR(-ENODEV) : nondet_bool() ? ERR_PTR(-EBUSY) : &other;
}

void put_mtd_device(struct mtd_info *mtd)
{
}

static void any_part(struct flash_part *part)
{
	bool full = nondet_bool();
	u32 i;

	part->offset = nondet_u32();
	part->size = nondet_u32();
	for (i = 0; i < sizeof(part->mtd_name); i++) {
		part->mtd_name[i] = nondet_u8();
		assume(!full || part->mtd_name[i]);
	}
	/* Either all of the field, or at most NAME characters. */
	assume(full || !part->mtd_name[0] || !part->mtd_name[1] || !part->mtd_name[2] || !part->mtd_name[3]);
}

static void check_made(const struct mtd_partition *made, const struct flash_part *part, const struct spi_flash *flash)
{
	proved(made->offset == part->offset && made->size == part->size && made->name == part->mtd_name, "the part that was asked for");
	proved(made->size && made->offset % SPI_FLASH_ERASE_SIZE == 0 && made->size % SPI_FLASH_ERASE_SIZE == 0, "whole erase blocks");
	proved(made->offset <= flash->size && made->size <= flash->size - made->offset, "within the flash");
	proved(part->mtd_name[0] && (!part->mtd_name[1] || !part->mtd_name[2] || !part->mtd_name[3]), "a name and its NUL");
}

void proof_parts(void)
{
	struct spi_flash flash = { .size = nondet_u32() };
	struct flash_part parts[PARTS];
	struct flash_parts_info info = { .part_num = nondet_u32(), .parts = nondet_bool() ? parts : NULL };
	struct mtd_partition *made = NULL;
	u32 status, i;

	assume(flash.size % SPI_FLASH_ERASE_SIZE == 0 && flash.size <= PARTS * SPI_FLASH_ERASE_SIZE);
	for (i = 0; i < PARTS; i++)
		any_part(&parts[i]);
	status = mtd_parts_make(&flash, nondet_bool() ? &info : NULL, &made);
	if (status) {
		proved(!made && !g_taken, "a refusal makes and keeps nothing");
		return;
	}
	proved(made == g_made && info.part_num && info.part_num <= PARTS, "a success is of some parts");
	for (i = 0; i < info.part_num; i++)
		check_made(&made[i], &parts[i], &flash);
	if (info.part_num == 2) {
		proved(made[0].offset + made[0].size <= made[1].offset || made[1].offset + made[1].size <= made[0].offset, "no overlap");
		proved(strcmp(parts[0].mtd_name, parts[1].mtd_name), "each name once");
	}
}
