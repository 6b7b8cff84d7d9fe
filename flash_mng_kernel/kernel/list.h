/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Linux's doubly linked lists. The links are changed by Linux's own code, so that its list checks see them; walking is plain C++.
 */
#ifndef FLASH_MNG_KERNEL_LIST_H
#define FLASH_MNG_KERNEL_LIST_H

#include "flash_mng_types.h"

#ifdef __cplusplus
struct list_head {
	list_head *next;
	list_head *prev;
};
#else
struct list_head;
#endif

FLASH_MNG_C_BEGIN

void linux_list_add_tail(struct list_head *entry, struct list_head *list);
void linux_list_del(struct list_head *entry);

FLASH_MNG_C_END

#endif
