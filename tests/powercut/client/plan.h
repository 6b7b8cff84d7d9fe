/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What is written to the NOR flash while its power is cut: generation after generation, each a write of its own. Both sides compute it
 * from a seed: the kernel module that writes, and the checker on the host.
 *
 * The flash has a partition for each path of a write, and one that nobody writes to.
 */
#ifndef POWERCUT_PLAN_H
#define POWERCUT_PLAN_H

#define POWERCUT_FLASH_SIZE 0x4000000u
#define POWERCUT_BLOCK_SIZE 0x40000u /* an erase block */
#define POWERCUT_PARTITION_SIZE 0x200000u
#define POWERCUT_LONGEST (3 * POWERCUT_BLOCK_SIZE)

#define POWERCUT_SECTION_PARTITION "cut_section"
#define POWERCUT_BLOCK_PARTITION "cut_block"
#define POWERCUT_SERVICE_PARTITION "cut_service"
#define POWERCUT_PARTITIONS "0.flash:2M@64M(cut_section),2M(cut_block),2M(cut_service),-(cut_rest)"

#define POWERCUT_INSTANCE 0xffffffffu
#define POWERCUT_SECTION 1u

/* The paths, in the order of their partitions on the flash. */
enum powercut_path {
	POWERCUT_BY_SECTION = 0,   /* drv_flash_write() */
	POWERCUT_BY_PARTITION = 1, /* drv_flash_mtd_write(): the block device of a partition that is not NAND */
	POWERCUT_BY_SERVICE = 2,   /* plat_mtd_update_buf() */
	POWERCUT_PATHS = 3
};

struct powercut_write {
	unsigned int path;
	unsigned int offset; /* in the path's partition */
	unsigned int length;
};

static inline unsigned int powercut_hash(unsigned int seed, unsigned int generation, unsigned int number)
{
	unsigned int mixed = seed * 0x9e3779b1u ^ generation * 0x85ebca77u ^ number * 0xc2b2ae3du;

	mixed = (mixed ^ (mixed >> 15)) * 0x2c1b3c6du;
	mixed = (mixed ^ (mixed >> 12)) * 0x297a2d39u;
	return mixed ^ (mixed >> 15);
}

/*
 * powercut_plan() - the write of a generation, from 1.
 *
 * One in two is short, within a block or across the edge of two; the others are of up to POWERCUT_LONGEST bytes.
 */
static inline struct powercut_write powercut_plan(unsigned int seed, unsigned int generation)
{
	unsigned int longest = powercut_hash(seed, generation, 0xffffff00u) % 2 ? POWERCUT_LONGEST : 0x1000u;
	struct powercut_write write;

	write.path = powercut_hash(seed, generation, 0xffffff01u) % POWERCUT_PATHS;
	write.length = 1 + powercut_hash(seed, generation, 0xffffff02u) % longest;
	write.offset = powercut_hash(seed, generation, 0xffffff03u) % (POWERCUT_PARTITION_SIZE - write.length + 1);
	return write;
}

/* powercut_fill() - the bytes of a generation's write; generation 0 is what the flash holds at first. */
static inline void powercut_fill(unsigned int seed, unsigned int generation, unsigned char *to, unsigned int length)
{
	unsigned int i;

	for (i = 0; i < length; i++)
		to[i] = (unsigned char)(powercut_hash(seed, generation, i / 4) >> (i % 4 * 8));
}

#endif
