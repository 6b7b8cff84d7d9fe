// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/gfp.h>
#include <linux/mm.h>
#include <linux/sched.h>

#include "lab.h"

#define BLANK 0xff

static size_t part_in_page(u64 offset, u64 length)
{
	return min_t(u64, length, PAGE_SIZE - offset_in_page(offset));
}

void lab_store_init(struct lab_store *store)
{
	xa_init(&store->pages);
}

void lab_store_free(struct lab_store *store)
{
	unsigned long index;
	void *page;

	xa_for_each(&store->pages, index, page)
		free_page((unsigned long)page);
	xa_destroy(&store->pages);
}

void lab_store_read(struct lab_store *store, u64 offset, void *to, size_t length)
{
	while (length) {
		size_t part = part_in_page(offset, length);
		const char *page = xa_load(&store->pages, offset >> PAGE_SHIFT);

		if (page)
			memcpy(to, page + offset_in_page(offset), part);
		else
			memset(to, BLANK, part);
		to += part;
		offset += part;
		length -= part;
		cond_resched();
	}
}

static char *page_for_writing(struct lab_store *store, u64 offset)
{
	char *page = xa_load(&store->pages, offset >> PAGE_SHIFT);

	if (page)
		return page;
	page = (char *)__get_free_page(GFP_KERNEL);
	if (!page)
		return NULL;
	memset(page, BLANK, PAGE_SIZE);
	if (xa_is_err(xa_store(&store->pages, offset >> PAGE_SHIFT, page, GFP_KERNEL))) {
		free_page((unsigned long)page);
		return NULL;
	}
	return page;
}

int lab_store_write(struct lab_store *store, u64 offset, const void *from, size_t length)
{
	while (length) {
		size_t part = part_in_page(offset, length);
		char *page = page_for_writing(store, offset);

		if (!page)
			return -ENOMEM;
		memcpy(page + offset_in_page(offset), from, part);
		from += part;
		offset += part;
		length -= part;
		cond_resched();
	}
	return 0;
}

void lab_store_blank(struct lab_store *store, u64 offset, u64 length)
{
	u64 end = offset + length;
	unsigned long index = offset >> PAGE_SHIFT;
	char *page;

	xa_for_each_range(&store->pages, index, page, offset >> PAGE_SHIFT, (end - 1) >> PAGE_SHIFT) {
		u64 start = (u64)index << PAGE_SHIFT;
		u64 from = max(start, offset);
		u64 to = min(start + PAGE_SIZE, end);

		if (to - from < PAGE_SIZE) {
			memset(page + (from - start), BLANK, to - from);
			continue;
		}
		xa_erase(&store->pages, index);
		free_page((unsigned long)page);
	}
}

bool lab_store_is_blank(struct lab_store *store, u64 offset, size_t length)
{
	while (length) {
		size_t part = part_in_page(offset, length);
		const char *page = xa_load(&store->pages, offset >> PAGE_SHIFT);

		if (page && memchr_inv(page + offset_in_page(offset), BLANK, part))
			return false;
		offset += part;
		length -= part;
	}
	return true;
}

static bool only_clears(const u8 *old, const u8 *new, size_t length)
{
	while (length--)
		if (*new++ & ~*old++)
			return false;
	return true;
}

bool lab_store_only_clears(struct lab_store *store, u64 offset, const u8 *from, size_t length)
{
	while (length) {
		size_t part = part_in_page(offset, length);
		const u8 *page = xa_load(&store->pages, offset >> PAGE_SHIFT);

		if (page && !only_clears(page + offset_in_page(offset), from, part))
			return false;
		from += part;
		offset += part;
		length -= part;
	}
	return true;
}
