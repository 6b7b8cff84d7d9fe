// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The flash service's update and read, for any range, any content and any bad blocks of a device of BLOCKS erase blocks, whatever call of
 * it fails. Flash is as mean as MTD allows: a failed erase or write leaves anything in its block, a failed read anything in the buffer.
 */
#include "proof.h"

/* Numbers are read by Linux's own code. */
#include <../lib/ctype.c>
#include <../lib/kstrtox.c>

#include "../../reference_platform/plat_extern_api/good_blocks.c"
#include "../../reference_platform/plat_extern_api/services.c"
#include "bodies.h"

#define BLOCKS 3
#define BLOCK_SIZE 2
#define DEVICE_SIZE (BLOCKS * BLOCK_SIZE)

static struct mtd_info g_mtd;
static u8 g_flash[DEVICE_SIZE];
static u8 g_before[DEVICE_SIZE];
static bool g_bad[BLOCKS];
static u32 g_erased; /* the block that was erased last and not written since */
static bool g_erase_failed, g_write_failed;
static int g_held, g_references;
static u8 g_image[BLOCK_SIZE];
static bool g_image_taken;

static bool is_whole_good_block(u64 address, u64 length)
{
	return length == BLOCK_SIZE && address % BLOCK_SIZE == 0 && address < DEVICE_SIZE && !g_bad[address / BLOCK_SIZE];
}

int mtd_block_isbad(struct mtd_info *mtd, loff_t address)
{
	proved(address >= 0 && address % BLOCK_SIZE == 0 && address < DEVICE_SIZE, "asked of a block of the device");
	return nondet_bool() ? -EIO : g_bad[address / BLOCK_SIZE];
}

int mtd_read(struct mtd_info *mtd, loff_t from, size_t length, size_t *done, u_char *to)
{
	u32 failure = below(5);
	u32 i;

	proved(g_held, "read under the lock");
	proved(from >= 0 && length <= DEVICE_SIZE && from <= DEVICE_SIZE - length, "read within the device");
	proved(length > 0 && from / BLOCK_SIZE == (from + length - 1) / BLOCK_SIZE, "read within one block");
	proved(!g_bad[from / BLOCK_SIZE], "no bad block is read");
	for (i = 0; i < length; i++)
		to[i] = failure == 1 || failure == 2 ? nondet_u8() : g_flash[from + i];
	*done = failure == 3 ? below(length) : length;
	return failure == 1 ? -EIO : failure == 2 ? -EBADMSG : failure == 4 ? -EUCLEAN : 0;
}

static void leave_anything(u64 block)
{
	u32 i;

	for (i = 0; i < BLOCK_SIZE; i++)
		g_flash[block + i] = nondet_u8();
}

int mtd_erase(struct mtd_info *mtd, struct erase_info *erase)
{
	u32 i;

	proved(g_held == 2, "erased with the lock held alone");
	proved(is_whole_good_block(erase->addr, erase->len), "erased by whole good blocks");
	if (nondet_bool()) {
		g_erase_failed = true;
		leave_anything(erase->addr);
		return -EIO;
	}
	for (i = 0; i < BLOCK_SIZE; i++)
		g_flash[erase->addr + i] = 0xff;
	g_erased = erase->addr / BLOCK_SIZE;
	return 0;
}

int mtd_write(struct mtd_info *mtd, loff_t to, size_t length, size_t *done, const u_char *from)
{
	bool fails = nondet_bool();
	u32 i;

	proved(g_held == 2, "written with the lock held alone");
	proved(is_whole_good_block(to, length) && g_erased == to / BLOCK_SIZE, "written by whole good blocks that were just erased");
	g_erased = BLOCKS;
	*done = length;
	if (fails) {
		g_write_failed = true;
		leave_anything(to);
		*done = nondet_bool() ? below(BLOCK_SIZE) : BLOCK_SIZE;
		return *done == BLOCK_SIZE || nondet_bool() ? -EIO : 0;
	}
	for (i = 0; i < BLOCK_SIZE; i++)
		g_flash[to + i] = from[i];
	return 0;
}

struct mtd_info *get_mtd_device(struct mtd_info *mtd, int index)
{
	if (nondet_bool())
		return nondet_bool() ? NULL : ERR_PTR(-ENODEV);
	g_references++;
	return &g_mtd;
}

void put_mtd_device(struct mtd_info *mtd)
{
	proved(g_references == 1 && !g_held, "given back once, after the lock");
	g_references--;
}

void down_read(struct rw_semaphore *semaphore)
{
	proved(!g_held, "taken once");
	g_held = 1;
}

void up_read(struct rw_semaphore *semaphore)
{
	proved(g_held == 1, "given back as it was taken");
	g_held = 0;
}

void down_write(struct rw_semaphore *semaphore)
{
	proved(!g_held, "taken once");
	g_held = 2;
}

void up_write(struct rw_semaphore *semaphore)
{
	proved(g_held == 2, "given back as it was taken");
	g_held = 0;
}

void *vmalloc(unsigned long size)
{
	proved(size == BLOCK_SIZE && !g_image_taken, "one block of memory");
	if (nondet_bool())
		return NULL;
	g_image_taken = true;
	return g_image;
}

void vfree(const void *memory)
{
	proved(g_image_taken && memory == g_image, "the memory is given back once");
	g_image_taken = false;
}

static void any_flash(void)
{
	u32 i;

	g_mtd.erasesize = BLOCK_SIZE;
	g_mtd.size = DEVICE_SIZE;
	g_erased = BLOCKS;
	for (i = 0; i < BLOCKS; i++)
		g_bad[i] = nondet_bool();
	for (i = 0; i < DEVICE_SIZE; i++)
		g_before[i] = g_flash[i] = nondet_u8();
}

/* usable_index() - where a byte of the device comes among the usable ones; behind all of them for one of a bad block. */
static u32 usable_index(u32 address)
{
	u32 block = address / BLOCK_SIZE;
	u32 index = address % BLOCK_SIZE;
	u32 i;

	for (i = 0; i < BLOCKS; i++)
		if (i < block && !g_bad[i])
			index += BLOCK_SIZE;
	return g_bad[block] ? DEVICE_SIZE : index;
}

/* shares_block() - whether a block, of which one byte is given, has a byte of the range. */
static bool shares_block(u32 address, u32 offset, u32 length)
{
	u32 start = usable_index(address - address % BLOCK_SIZE);

	return start < DEVICE_SIZE && length && offset < start + BLOCK_SIZE && start < offset + length;
}

static void check_byte(u32 address, u32 offset, u32 length, const u8 *data, u32 status)
{
	u32 index = usable_index(address);
	bool in_range = index < DEVICE_SIZE && index >= offset && index - offset < length;
	bool old = g_flash[address] == g_before[address];

	if (!shares_block(address, offset, length))
		proved(old, "whatever fails, a byte outside of the range's blocks is the old one");
	if (!in_range && !g_erase_failed && !g_write_failed)
		proved(old, "while neither erase nor write fails, a byte outside of the range is the old one");
	if (in_range && !g_erase_failed && !g_write_failed)
		proved(old || g_flash[address] == data[index - offset], "while neither fails, a byte of the range is old or new");
	if (in_range && !status)
		proved(g_flash[address] == data[index - offset], "a success: every byte of the range is new");
}

static const char g_path[] = "/dev/mtd0";

void proof_update(void)
{
	u8 data[DEVICE_SIZE];
	u32 offset = nondet_u32();
	u32 length = nondet_u32();
	u32 i, status;

	any_flash();
	for (i = 0; i < DEVICE_SIZE; i++)
		data[i] = nondet_u8();
	status = plat_mtd_update_buf(g_path, offset, data, length);
	if (!status)
		proved(length <= DEVICE_SIZE && offset <= DEVICE_SIZE - length, "a success is of a range within the device");
	if (length > DEVICE_SIZE || offset > DEVICE_SIZE - length)
		length = 0; /* of a refused range no byte may change */
	if (!status)
		proved(!g_erase_failed && !g_write_failed, "a failure of the flash is no success");
	check_byte(below(DEVICE_SIZE), offset, length, data, status);
	proved(!g_held && !g_references && !g_image_taken, "all is given back");
}

void proof_read(void)
{
	u8 data[DEVICE_SIZE], before[DEVICE_SIZE];
	u32 offset = nondet_u32();
	u32 length = below(DEVICE_SIZE + 1); /* the caller's buffer has as many */
	u32 i, status, at = below(DEVICE_SIZE);
	u32 index;

	any_flash();
	for (i = 0; i < DEVICE_SIZE; i++)
		before[i] = data[i] = nondet_u8();
	status = plat_mtd_read_buf(g_path, offset, data, length);
	index = usable_index(at);
	if (!status && index < DEVICE_SIZE && index >= offset && index - offset < length)
		proved(data[index - offset] == g_flash[at], "a success: every byte of the range is the flash's");
	if (at >= length)
		proved(data[at] == before[at], "no byte of the buffer behind the length is written");
	proved(g_flash[at] == g_before[at], "a read changes nothing");
	proved(!g_held && !g_references, "all is given back");
}

/* is_device_path() - "/dev/mtd" and a number up to INT_MAX without zeros in front, of a text of that length. */
static bool is_device_path(const char *path, u32 length, u32 *index)
{
	u64 number = 0;
	u32 i;

	if (length < 9 || memcmp(path, "/dev/mtd", 8) || (path[8] == '0' && length > 9))
		return false;
	for (i = 8; i < length; i++) {
		if (path[i] < '0' || path[i] > '9')
			return false;
		number = number * 10 + path[i] - '0';
	}
	*index = number;
	return number <= INT_MAX;
}

#define MOST_PATH 19

/* check_path() - for a path that begins with the given text, and up to that many more characters, any. */
static void check_path(const char *start, u32 more)
{
	char path[MOST_PATH + 1];
	u32 first = strlen(start);
	u32 length = first + below(more + 1);
	u32 index, expected;
	bool good;
	u32 i;

	memcpy(path, start, first);
	for (i = first; i <= first + more; i++) {
		path[i] = nondet_u8();
		assume(i > length || (path[i] == 0) == (i == length));
	}
	good = is_device_path(path, length, &expected);
	proved(parse_path(path, &index) == good, "exactly the paths of MTD devices are taken");
	if (good)
		proved(index == expected, "the index is the number");
}

void proof_path(void)
{
	check_path("", 10);
}

void proof_path_number(void)
{
	check_path("/dev/mtd", 4);
}

/* 2147483647 is the last that is an index. */
void proof_path_large_number(void)
{
	check_path("/dev/mtd2147483", 4);
}
