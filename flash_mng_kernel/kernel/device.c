// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>

#include "kernel/device.h"

extern const struct file_operations misc_fops;

const struct file_operations misc_fops = {
	.owner = THIS_MODULE,
	.open = flash_open,
	.unlocked_ioctl = flash_ioctl,
	.compat_ioctl = flash_ioctl,
};

struct miscdevice misc_dev = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "flash_mng",
	.fops = &misc_fops,
};
