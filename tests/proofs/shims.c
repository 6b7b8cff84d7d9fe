// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * flash_mng's own C: what it tells of any device, lists of up to LINKS entries, copies of records with their sizes, memory with its flags.
 */
#include "proof.h"

#include <linux/slab.h>
#include <linux/uaccess.h>

/* What the copies ask of Linux. */
static void *g_copied_kernel;
static unsigned long g_copied_user, g_copied_size, g_left;
static int g_direction;

static unsigned long noted_copy(int direction, const void *kernel, unsigned long user, unsigned long size)
{
	g_direction = direction;
	g_copied_kernel = (void *)kernel;
	g_copied_user = user;
	g_copied_size = size;
	return g_left;
}

#undef copy_to_user
#undef copy_from_user
#define copy_to_user(to, from, size)	noted_copy(1, from, (unsigned long)(to), size)
#define copy_from_user(to, from, size)	noted_copy(2, to, (unsigned long)(from), size)

/* What the memory shims ask of Linux. */
static size_t g_asked_count, g_asked_size;
static gfp_t g_asked_flags;
static char g_memory[4];

static void *noted_memory(size_t count, size_t size, gfp_t flags)
{
	g_asked_count = count;
	g_asked_size = size;
	g_asked_flags = flags;
	return nondet_bool() ? NULL : g_memory;
}

#define kzalloc(size, flags)		noted_memory(1, size, (flags) | __GFP_ZERO)
#define kcalloc(count, size, flags)	noted_memory(count, size, (flags) | __GFP_ZERO)
#define kstrdup(text, flags)		noted_memory(1, (size_t)(text), flags)

#include "../../flash_mng_kernel/kernel/file.c"
#include "../../flash_mng_kernel/kernel/list.c"
#include "../../flash_mng_kernel/kernel/memory.c"
#include "../../flash_mng_kernel/kernel/mtd.c"
#include "../../flash_mng_kernel/kernel/user_copy.c"
#include "bodies.h"

void proof_describe(void)
{
	static struct mtd_info mtd, parent;
	static struct {
		u32 count; /* so that the entry's 64 bits are at 4 modulo 8, as in the statistics */
		struct flash_mtd_stat_entry entry;
		u8 behind;
	} __packed record;
	char name[2] = "n";
	u32 at = below(sizeof(record.entry.name));
	u8 behind = nondet_u8();
	char before = nondet_u8();

	mtd.size = nondet_u64();
	mtd.index = nondet_int();
	mtd.type = nondet_u8();
	mtd.erasesize = nondet_u32();
	mtd.parent = nondet_bool() ? &parent : NULL;
	mtd.part.flags = nondet_u32();
	mtd.name = nondet_bool() ? name : NULL;
	record.behind = behind;
	record.entry.name[at] = before;
	proved(linux_mtd_describe(&mtd, &record.entry) == mtd.name, "the name is the device's");
	proved(record.entry.size == mtd.size && record.entry.index == mtd.index, "size and index are the device's");
	proved(record.entry.type == mtd.type && record.entry.erasesize == mtd.erasesize, "type and erase size are the device's");
	proved(record.entry.flags == (mtd.parent ? mtd.part.flags : 0), "flags are a partition's, or 0");
	proved(record.entry.name[at] == before && record.behind == behind, "nothing else is written");
	proved(linux_mtd_size(&mtd) == mtd.size && linux_mtd_index(&mtd) == mtd.index && linux_mtd_type(&mtd) == mtd.type, "one by one");
}

#define LINKS 3

void proof_list(void)
{
	LIST_HEAD(list);
	struct list_head links[LINKS];
	struct list_head *link = &list;
	u32 count = below(LINKS + 1);
	u32 gone = below(LINKS);
	u32 i;

	for (i = 0; i < count; i++)
		linux_list_add_tail(&links[i], &list);
	if (gone < count)
		linux_list_del(&links[gone]);
	for (i = 0; i < count; i++)
		if (i != gone) {
			proved(link->next == &links[i] && links[i].prev == link, "in order of adding, without the one that was taken out");
			link = &links[i];
		}
	proved(link->next == &list && list.prev == link, "a ring");
}

static void check_copy(int direction, const void *kernel, unsigned long user, unsigned long size, unsigned long result)
{
	proved(g_direction == direction && g_copied_kernel == kernel && g_copied_user == user, "from there to there");
	proved(g_copied_size == size && result == g_left, "the whole record, and what Linux has left");
}

#define TO_PROGRAM 1
#define FROM_PROGRAM 2

void proof_copies(void)
{
	static struct nand_part_info info;
	static struct flash_mtd_statistics statistics;
	static struct flash_find_config_arg query;
	static struct flash_mtd_io_arg request;
	static u32 number;
	unsigned long user = nondet_u64(), count = nondet_u64();

	g_left = nondet_u64();
	check_copy(TO_PROGRAM, &number, user, count, linux_copy_to_user(user, &number, count));
	check_copy(FROM_PROGRAM, &number, user, count, linux_copy_from_user(&number, user, count));
	check_copy(TO_PROGRAM, &number, user, 4, linux_copy_number_to_user(user, &number));
	check_copy(TO_PROGRAM, &info, user, 520, linux_copy_part_info_to_user(user, &info));
	check_copy(TO_PROGRAM, &statistics, user, 7172, linux_copy_statistics_to_user(user, &statistics));
	check_copy(TO_PROGRAM, &query, user, 56, linux_copy_config_query_to_user(user, &query));
	check_copy(FROM_PROGRAM, &query, user, 56, linux_copy_config_query_from_user(&query, user));
	check_copy(FROM_PROGRAM, &request, user, 48, linux_copy_io_request_from_user(&request, user));
}

void proof_memory(void)
{
	size_t size = nondet_u64(), count = nondet_u64();
	void *got;

	linux_kzalloc(size);
	proved(g_asked_count == 1 && g_asked_size == size && g_asked_flags == (GFP_KERNEL | __GFP_ZERO), "zeroed, may sleep");
	linux_kcalloc(count, size);
	proved(g_asked_count == count && g_asked_size == size, "so many of them: Linux multiplies, and sees an overflow");
	proved(g_asked_flags == (GFP_KERNEL | __GFP_ZERO | __GFP_NOWARN), "zeroed, may sleep, quiet");
	got = linux_kstrdup(g_memory);
	proved((got == NULL || got == g_memory) && g_asked_size == (size_t)g_memory && g_asked_flags == GFP_KERNEL, "a copy, may sleep");
}
