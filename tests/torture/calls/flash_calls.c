// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * /dev/flash_calls: calls of flash_mng's exports from programs. It links against them as any module of the board does, keeps nothing
 * between two calls and takes no lock, so that callers meet in flash_mng and nowhere else. A fault is injected into the call alone, never
 * into the preparation of its arguments.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/sched.h>
#include <linux/uaccess.h>

#include "argument.h"
#include "flash_calls_abi.h"
#include "platform/instance.h"

#define OWN_SIZE 0x400000ull

typedef u64 (*function_type)(u64, u64, u64, u64, u64);

#define FLASH_EXPORT(function, arguments) [FLASH_CALL_##function] = function,
static void *const g_functions[] = { FLASH_EXPORTS [FLASH_CALL_drv_hard_unlock] = drv_hard_unlock };
#undef FLASH_EXPORT

static u32 own_get_size(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, void *size)
{
	*(u64 *)size = OWN_SIZE;
	return 0;
}

static u32 own_create(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, struct flash_parts_info *parts_info)
{
	return 0;
}

static u32 own_destroy(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs)
{
	return 0;
}

static const struct flash_driver_ops g_driver = { .get_size = own_get_size, .create = own_create, .destroy = own_destroy };

static int prepare(const struct call_argument *argument, u64 *value)
{
	if (argument->kind != CALL_DRIVER)
		return prepare_argument(argument, value);
	*value = argument->value ? (u64)&g_driver : 0;
	return 0;
}

static void set_fail_nth(u32 nth)
{
#ifdef CONFIG_FAULT_INJECTION
	WRITE_ONCE(current->fail_nth, nth);
#endif
}

static u32 fail_nth_left(void)
{
#ifdef CONFIG_FAULT_INJECTION
	return READ_ONCE(current->fail_nth);
#else
	return 1;
#endif
}

static void call_now(struct flash_call *call, const u64 *value)
{
	function_type function = g_functions[call->function];

	if (call->fail_nth)
		set_fail_nth(call->fail_nth);
	call->result = function(value[0], value[1], value[2], value[3], value[4]);
	if (call->fail_nth) {
		call->fail_left = fail_nth_left();
		set_fail_nth(0);
	}
}

static int make_call(struct flash_call *call)
{
	u64 value[FLASH_CALL_ARGUMENTS] = {};
	int error = 0;
	u32 i, prepared;

	for (prepared = 0; prepared < FLASH_CALL_ARGUMENTS && !error; prepared++)
		error = prepare(&call->arguments[prepared], &value[prepared]);
	if (!error)
		call_now(call, value);
	for (i = 0; i < prepared; i++)
		error = finish_argument(&call->arguments[i], value[i], !error) ?: error;
	return error;
}

static long calls_ioctl(struct file *file, unsigned int command, unsigned long argument)
{
	struct flash_call call;
	int error;

	if (command != FLASH_CALLS_CALL)
		return -ENOTTY;
	if (copy_from_user(&call, (void __user *)argument, sizeof(call)))
		return -EFAULT;
	if (call.function >= FLASH_CALL_FUNCTIONS)
		return -EINVAL;
	error = make_call(&call);
	if (!error && copy_to_user((void __user *)argument, &call, sizeof(call)))
		error = -EFAULT;
	return error;
}

static const struct file_operations g_operations = {
	.owner = THIS_MODULE,
	.unlocked_ioctl = calls_ioctl,
};

static struct miscdevice g_device = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "flash_calls",
	.fops = &g_operations,
};

module_misc_device(g_device);

MODULE_DESCRIPTION("flash_mng's exports for test programs");
MODULE_AUTHOR("flash_mng developers");
MODULE_LICENSE("Dual BSD/GPL");
