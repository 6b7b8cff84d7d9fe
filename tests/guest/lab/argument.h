/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/* Arguments in the kernel: what a program asked for, for the time of one call. Drivers are left to the module that has them. */
#ifndef ARGUMENT_H
#define ARGUMENT_H

#include <linux/mm.h>
#include <linux/slab.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "argument_abi.h"
#include "flash_mng.h"

#define ARGUMENT_MOST_MEMORY (64u << 20)

/* Heap memory where it can be had, so that an access beyond the exact size is seen by KASAN. */
static inline void *exact_memory(size_t size)
{
	return size <= KMALLOC_MAX_SIZE ? kmalloc(size, GFP_KERNEL) : vmalloc(size);
}

static inline int copy_argument(const struct call_argument *argument, void **memory)
{
	if (argument->size > ARGUMENT_MOST_MEMORY)
		return -EINVAL;
	*memory = exact_memory(argument->size);
	if (!*memory)
		return -ENOMEM;
	return copy_from_user(*memory, u64_to_user_ptr(argument->value), argument->size) ? -EFAULT : 0;
}

static inline int prepare_parts(const struct call_argument *argument, u64 *value)
{
	struct flash_parts_info *info = kzalloc(sizeof(*info), GFP_KERNEL);
	void *parts = NULL;
	int error = 0;

	if (!info)
		return -ENOMEM;
	if (argument->value)
		error = copy_argument(argument, &parts);
	info->part_num = argument->number;
	info->parts = parts;
	*value = (u64)info;
	return error;
}

/* Sets *value to what the function is given; it is to be finished in any case. Return: 0 or an errno. */
static inline int prepare_argument(const struct call_argument *argument, u64 *value)
{
	void *memory = NULL;
	int error;

	*value = 0;
	switch (argument->kind) {
	case CALL_VALUE:
		*value = argument->value;
		return 0;
	case CALL_PARTS:
		return prepare_parts(argument, value);
	case CALL_MEMORY:
	case CALL_MEMORY_IN:
		error = copy_argument(argument, &memory);
		*value = (u64)memory;
		return error;
	}
	return -EINVAL;
}

static inline int finish_memory(const struct call_argument *argument, void *memory, bool called)
{
	int error = 0;

	if (called && argument->kind == CALL_MEMORY && copy_to_user(u64_to_user_ptr(argument->value), memory, argument->size))
		error = -EFAULT;
	kvfree(memory);
	return error;
}

/* Frees what prepare_argument() took, and gives the program its bytes when the call was made. Return: 0 or -EFAULT. */
static inline int finish_argument(const struct call_argument *argument, u64 value, bool called)
{
	struct flash_parts_info *info = (void *)value;

	if (!value)
		return 0;
	switch (argument->kind) {
	case CALL_PARTS:
		kvfree(info->parts);
		kfree(info);
		break;
	case CALL_MEMORY:
	case CALL_MEMORY_IN:
		return finish_memory(argument, (void *)value, called);
	}
	return 0;
}

#endif
