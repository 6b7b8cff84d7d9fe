// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * /dev/flash_lab and its commands.
 */
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/sched.h>
#include <linux/uaccess.h>

#include "lab.h"

static long no_result(void (*clear)(void))
{
	clear();
	return 0;
}

static bool releaser_had_fs;

static long lab_ioctl(struct file *file, unsigned int command, unsigned long argument);

static long make_steps(struct file *file, const struct lab_steps __user *argument)
{
	struct lab_steps all;
	struct lab_step step;
	long error = 0;
	u32 i;

	if (copy_from_user(&all, argument, sizeof(all)))
		return -EFAULT;
	if (all.count > LAB_MOST_STEPS)
		return -EINVAL;
	for (i = 0; i < all.count && !error; i++) {
		if (copy_from_user(&step, u64_to_user_ptr(all.steps + i * sizeof(step)), sizeof(step)))
			return -EFAULT;
		error = step.command == LAB_STEPS ? -EINVAL : lab_ioctl(file, step.command, step.record);
	}
	return error;
}

static int close_lab(struct inode *inode, struct file *file)
{
	releaser_had_fs = current->fs;
	return 0;
}

static long lab_ioctl(struct file *file, unsigned int command, unsigned long argument)
{
	void __user *record = (void __user *)argument;

	switch (command) {
	case LAB_MTD_ADD:
		return lab_mtd_add(record);
	case LAB_MTD_REMOVE:
		return lab_mtd_remove(record);
	case LAB_MTD_REMOVE_ALL:
		return lab_mtd_remove_all();
	case LAB_MTD_PEEK:
	case LAB_MTD_POKE:
	case LAB_MTD_ERASE:
	case LAB_MTD_WRITE:
	case LAB_MTD_READ:
		return lab_mtd_bytes(command, record);
	case LAB_MTD_STATE:
		return lab_mtd_state(record);
	case LAB_CALL:
		return lab_call(record);
	case LAB_GLOBAL:
		return lab_global(record);
	case LAB_FAULT_ARM:
		return lab_fault_arm(record);
	case LAB_FAULT_CLEAR:
		return no_result(lab_fault_clear);
	case LAB_TRACE_READ:
		return lab_trace_read(record);
	case LAB_TRACE_CLEAR:
		return no_result(lab_trace_clear);
	case LAB_HELD:
		return lab_held(record);
	case LAB_HELD_GIVE_BACK:
		return lab_held_give_back();
	case LAB_LOAD_END:
		return lab_trace_load_end_read(record);
	case LAB_LOAD_END_CLEAR:
		return no_result(lab_trace_load_end_clear);
	case LAB_PLATFORM_GIVE_BACK:
		return no_result(lab_platform_give_back);
	case LAB_DRIVER_PARTS:
		return lab_driver_parts(record);
	case LAB_MTD_FAIL:
		return lab_mtd_fail(record);
	case LAB_STEPS:
		return make_steps(file, record);
	case LAB_RELEASER_HAD_FS:
		return put_user((u32)releaser_had_fs, (u32 __user *)record);
	case LAB_STATUS:
		return lab_status(record);
	}
	return -ENOTTY;
}

static const struct file_operations lab_fops = {
	.owner = THIS_MODULE,
	.unlocked_ioctl = lab_ioctl,
	.release = close_lab,
};

static struct miscdevice lab_device = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "flash_lab",
	.fops = &lab_fops,
};

static int __init lab_init(void)
{
	int error = lab_symbols_init();

	if (!error)
		error = lab_mtd_init();
	if (!error)
		error = lab_trace_init();
	if (error)
		return error;
	error = lab_watch_init();
	if (error)
		goto no_watch;
	error = lab_observer_init();
	if (error)
		goto no_observer;
	error = misc_register(&lab_device);
	if (error)
		goto no_device;
	return 0;
no_device:
	lab_observer_exit();
no_observer:
	lab_watch_exit();
no_watch:
	lab_trace_exit();
	return error;
}

static void __exit lab_exit(void)
{
	misc_deregister(&lab_device);
	lab_observer_exit();
	lab_mtd_remove_all();
	lab_driver_exit();
	lab_watch_exit();
	lab_trace_exit();
}

module_init(lab_init);
module_exit(lab_exit);

MODULE_DESCRIPTION("Test laboratory for flash_mng: MTD devices, a flash driver, calls, observation, faults");
MODULE_AUTHOR("flash_mng developers");
MODULE_LICENSE("GPL");
