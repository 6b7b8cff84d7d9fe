// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * What a search costs that is written out on the spot: as many rows as flash_mng has, walked in the same order.
 */
#include <linux/errno.h>
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/sizes.h>
#include <linux/spinlock.h>
#include <linux/string.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "bench.h"
#include "flash_mng.h"

struct row {
	struct list_head link;
	struct spi_controller_config config; /* inst_id is the row's number, from 1 */
	char name[FLASH_MNG_NAME_SIZE];
	u32 offset;
	u32 size;
};

static struct row *g_rows;
static u32 g_count;
static LIST_HEAD(g_list);
static DEFINE_SPINLOCK(g_list_lock);
static const struct row *g_found; /* a search whose result nobody takes would not be compiled */

static void fill(struct row *row, u32 number)
{
	row->config.inst_id = number;
	scnprintf(row->name, sizeof(row->name), "part%u", number);
	row->size = SZ_4M;
	list_add_tail(&row->link, &g_list);
}

int bench_rows(u32 count)
{
	u32 i;

	INIT_LIST_HEAD(&g_list);
	vfree(g_rows);
	g_count = 0;
	g_rows = count ? vzalloc(array_size(count, sizeof(*g_rows))) : NULL;
	if (!g_rows)
		return count ? -ENOMEM : 0;
	for (i = 0; i < count; i++)
		fill(&g_rows[i], i + 1);
	g_count = count;
	return 0;
}

static const struct row *row_of_range(u32 number, u32 offset, u32 length)
{
	u32 i;

	for (i = 0; i < g_count; i++)
		if (g_rows[i].config.inst_id == number && offset >= g_rows[i].offset && length <= g_rows[i].size &&
		    offset - g_rows[i].offset <= g_rows[i].size - length)
			return &g_rows[i];
	return NULL;
}

static const struct row *row_of_name(const char *name)
{
	u32 i;

	for (i = 0; i < g_count; i++)
		if (!strcmp(g_rows[i].name, name))
			return &g_rows[i];
	return NULL;
}

void bench_search(u32 search, const char *name)
{
	WRITE_ONCE(g_found, search == BENCH_SEARCH_RANGE ? row_of_range(g_count, 0, 1) : row_of_name(name));
}

static bool find(struct flash_find_config_arg *question)
{
	const struct row *row;
	bool found = false;

	spin_lock(&g_list_lock);
	list_for_each_entry(row, &g_list, link)
		if (row->config.inst_id == question->inst_id) {
			question->config = row->config;
			found = true;
			break;
		}
	spin_unlock(&g_list_lock);
	return found;
}

static bool find_name(struct flash_find_config_arg *question, const char *name)
{
	const struct row *row;
	bool found = false;

	spin_lock(&g_list_lock);
	list_for_each_entry(row, &g_list, link)
		if (!strcmp(row->name, name)) {
			question->config = row->config;
			found = true;
			break;
		}
	spin_unlock(&g_list_lock);
	return found;
}

static u32 answer(unsigned long argument, const struct flash_find_config_arg *question, bool found)
{
	if (!found)
		return FLASH_MNG_NOT_FOUND;
	return copy_to_user((void __user *)argument, question, sizeof(*question)) ? FLASH_MNG_COPY_FAILED : 0;
}

u32 bench_find(unsigned long argument)
{
	struct flash_find_config_arg question;

	if (copy_from_user(&question, (void __user *)argument, sizeof(question)))
		return FLASH_MNG_REQUEST_UNREADABLE;
	return answer(argument, &question, find(&question));
}

u32 bench_find_name(unsigned long argument)
{
	struct flash_find_config_arg question;
	char name[FLASH_MNG_NAME_SIZE + 1] __aligned(8) = "";

	if (copy_from_user(&question, (void __user *)argument, sizeof(question)))
		return FLASH_MNG_REQUEST_UNREADABLE;
	if (question.name_length > FLASH_MNG_NAME_SIZE)
		return FLASH_MNG_BAD_LENGTH;
	if (copy_from_user(name, u64_to_user_ptr(question.name), question.name_length))
		return FLASH_MNG_REQUEST_UNREADABLE;
	return answer(argument, &question, find_name(&question, name));
}
