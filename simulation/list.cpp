// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux's doubly linked lists, with the checks that Linux makes when list debugging is on.
#include "kernel/list.h"

#include "simulation.hpp"

using namespace simulation;

namespace {

list_head *const poison_next = reinterpret_cast<list_head *>(0x100);
list_head *const poison_prev = reinterpret_cast<list_head *>(0x122);

} // namespace

void linux_list_add_tail(struct list_head *entry, struct list_head *list)
{
	if (seen(call::linux_list_add_tail, {entry, list}))
		return;
	state_guard guard;
	auto *last = list->prev;

	if (!last || last->next != list)
		misuse("linux_list_add_tail(): the list is broken or was never initialised");
	if (entry == list || entry == last)
		misuse("linux_list_add_tail(): the entry is in the list already");
	entry->next = list;
	entry->prev = last;
	last->next = entry;
	list->prev = entry;
}

void linux_list_del(struct list_head *entry)
{
	if (seen(call::linux_list_del, {entry}))
		return;
	state_guard guard;

	if (entry->next == poison_next || entry->prev == poison_prev)
		misuse("linux_list_del(): the entry was removed already");
	if (entry->next->prev != entry || entry->prev->next != entry)
		misuse("linux_list_del(): the links around the entry are broken");
	entry->next->prev = entry->prev;
	entry->prev->next = entry->next;
	entry->next = poison_next;
	entry->prev = poison_prev;
}
