// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Calls of flash_mng's functions by name, exported or not, and a look at its globals. The module stays unloadable in between: it is
 * referenced for the time of one command only.
 */
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#include "argument.h"
#include "lab.h"

typedef u64 (*function_type)(u64, u64, u64, u64, u64, u64, u64, u64);

static unsigned long address_of(char *name)
{
	unsigned long address;

	name[LAB_NAME_SIZE - 1] = '\0';
	address = lab_module_symbol(name);
	if (!address)
		pr_err("flash_mng has no function or global %s\n", name);
	return address;
}

static int prepare(const struct call_argument *argument, u64 *value)
{
	if (argument->kind != CALL_DRIVER)
		return prepare_argument(argument, value);
	*value = (u64)lab_driver_table(argument->value);
	return *value ? 0 : -EINVAL;
}

/* The function has a type of its own, which kernels with CONFIG_CFI_CLANG compare with that of the call. */
#ifndef __nocfi
#define __nocfi
#endif
static __nocfi int call_function(struct lab_call *call, function_type function)
{
	u64 value[LAB_ARGUMENTS] = { 0 };
	int error = 0;
	u32 i, prepared;

	for (prepared = 0; prepared < call->count && !error; prepared++)
		error = prepare(&call->arguments[prepared], &value[prepared]);
	if (!error)
		call->result = function(value[0], value[1], value[2], value[3], value[4], value[5], value[6], value[7]);
	for (i = 0; i < prepared; i++)
		error = finish_argument(&call->arguments[i], value[i], !error) ?: error;
	return error;
}

static int call_by_name(struct lab_call *call)
{
	struct module *module = lab_hold_flash_mng();
	unsigned long address;
	int error = -ENOENT;

	if (!module)
		return -ENXIO;
	address = address_of(call->function);
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
	unsigned long address = global->name[0] ? address_of(global->name) : global->address;
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
