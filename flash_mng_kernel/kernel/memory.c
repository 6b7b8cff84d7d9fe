// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#include "kernel/memory.h"

void *linux_kzalloc(size_t size)
{
	return kzalloc(size, GFP_KERNEL);
}

void *linux_kcalloc(size_t count, size_t size)
{
	return kcalloc(count, size, GFP_KERNEL | __GFP_NOWARN);
}

char *linux_kstrdup(const char *text)
{
	return kstrdup(text, GFP_KERNEL);
}

/* Linux 6.10 made macros of these functions. */
#ifdef vmalloc
void *(vzalloc)(unsigned long size)
{
	return vzalloc(size);
}

void *(vmalloc)(unsigned long size)
{
	return vmalloc(size);
}
#endif
