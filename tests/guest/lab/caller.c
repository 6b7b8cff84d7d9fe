// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Calls of flash_mng's functions by name, exported or not, and a look at its globals. The module stays unloadable in between: it is
 * referenced for the time of one command only.
 */
#include <linux/mm.h>
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "flash_mng.h"
#include "lab.h"

#define MOST_MEMORY (64u << 20)

typedef u64 (*function_type)(u64, u64, u64, u64, u64, u64, u64, u64);

static unsigned long address_of(const struct module *module, char *name)
{
	unsigned long address;

	name[LAB_NAME_SIZE - 1] = '\0';
	address = lab_module_symbol(module, name);
	if (!address)
		pr_err("flash_mng has no function or global %s\n", name);
	return address;
}

/* Heap memory where it can be had, so that an access beyond the exact size is seen by KASAN. */
static void *exact_memory(size_t size)
{
	return size <= KMALLOC_MAX_SIZE ? kmalloc(size, GFP_KERNEL) : vmalloc(size);
}

static int copy_in(const struct lab_argument *argument, void **memory)
{
	if (argument->size > MOST_MEMORY)
		return -EINVAL;
	*memory = exact_memory(argument->size);
	if (!*memory)
		return -ENOMEM;
	return copy_from_user(*memory, u64_to_user_ptr(argument->value), argument->size) ? -EFAULT : 0;
}

static int prepare_parts(const struct lab_argument *argument, u64 *value)
{
	struct flash_parts_info *info = kzalloc(sizeof(*info), GFP_KERNEL);
	void *parts = NULL;
	int error = 0;

	if (!info)
		return -ENOMEM;
	if (argument->value)
		error = copy_in(argument, &parts);
	info->part_num = argument->number;
	info->parts = parts;
	*value = (u64)info;
	return error;
}

static int prepare(const struct lab_argument *argument, u64 *value)
{
	void *memory = NULL;
	int error;

	*value = 0;
	switch (argument->kind) {
	case LAB_VALUE:
		*value = argument->value;
		return 0;
	case LAB_DRIVER:
		*value = (u64)lab_driver_table(argument->value);
		return *value ? 0 : -EINVAL;
	case LAB_PARTS:
		return prepare_parts(argument, value);
	case LAB_MEMORY:
	case LAB_MEMORY_IN:
		error = copy_in(argument, &memory);
		*value = (u64)memory;
		return error;
	}
	return -EINVAL;
}

static int finish_memory(const struct lab_argument *argument, void *memory, bool called)
{
	int error = 0;

	if (called && argument->kind == LAB_MEMORY && copy_to_user(u64_to_user_ptr(argument->value), memory, argument->size))
		error = -EFAULT;
	kvfree(memory);
	return error;
}

static int finish(const struct lab_argument *argument, u64 value, bool called)
{
	struct flash_parts_info *info = (void *)value;

	if (!value)
		return 0;
	switch (argument->kind) {
	case LAB_PARTS:
		kvfree(info->parts);
		kfree(info);
		break;
	case LAB_MEMORY:
	case LAB_MEMORY_IN:
		return finish_memory(argument, (void *)value, called);
	}
	return 0;
}

static int call_function(struct lab_call *call, function_type function)
{
	u64 value[LAB_ARGUMENTS] = { 0 };
	int error = 0;
	u32 i, prepared;

	for (prepared = 0; prepared < call->count && !error; prepared++)
		error = prepare(&call->arguments[prepared], &value[prepared]);
	if (!error)
		call->result = function(value[0], value[1], value[2], value[3], value[4], value[5], value[6], value[7]);
	for (i = 0; i < prepared; i++)
		error = finish(&call->arguments[i], value[i], !error) ?: error;
	return error;
}

static int call_by_name(struct lab_call *call)
{
	struct module *module = lab_hold_flash_mng();
	unsigned long address;
	int error = -ENOENT;

	if (!module)
		return -ENXIO;
	address = address_of(module, call->function);
	if (address)
		error = call_function(call, (function_type)address);
	module_put(module);
	return error;
}

long lab_call(struct lab_call __user *argument)
{
	struct lab_call *call = memdup_user(argument, sizeof(*call));
	long error = -EINVAL;

	if (IS_ERR(call))
		return PTR_ERR(call);
	if (call->count <= LAB_ARGUMENTS)
		error = call_by_name(call);
	if (!error)
		error = put_user(call->result, &argument->result);
	kfree(call);
	return error;
}

static long copy_global(const struct module *module, struct lab_global *global)
{
	unsigned long address = global->name[0] ? address_of(module, global->name) : global->address;
	void *bytes;
	long error = 0;

	if (!address)
		return -ENOENT;
	bytes = kmalloc(global->size, GFP_KERNEL);
	if (!bytes)
		return -ENOMEM;
	if (copy_from_kernel_nofault(bytes, (void *)address, global->size) ||
	    copy_to_user(u64_to_user_ptr(global->buffer), bytes, global->size))
		error = -EFAULT;
	kfree(bytes);
	return error;
}

long lab_global(struct lab_global __user *argument)
{
	struct lab_global global;
	struct module *module;
	long error;

	if (copy_from_user(&global, argument, sizeof(global)))
		return -EFAULT;
	module = lab_hold_flash_mng();
	if (!module)
		return -ENXIO;
	error = copy_global(module, &global);
	module_put(module);
	return error;
}
