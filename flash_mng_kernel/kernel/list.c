// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/list.h>

#include "kernel/list.h"

void linux_list_add_tail(struct list_head *entry, struct list_head *list)
{
	list_add_tail(entry, list);
}

void linux_list_del(struct list_head *entry)
{
	list_del(entry);
}
