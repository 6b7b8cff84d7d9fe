/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The control device: its record and file operations are C (device.c), what happens in them is the frame's.
 */
#ifndef FLASH_MNG_KERNEL_DEVICE_H
#define FLASH_MNG_KERNEL_DEVICE_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

struct file;
struct inode;
struct miscdevice;

/* The control device's record, defined in device.c. */
extern struct miscdevice misc_dev;

/* Linux's own: 0 or a negative errno. */
int misc_register(struct miscdevice *misc);
void misc_deregister(struct miscdevice *misc);

/* File operations, provided by the frame. */
int flash_open(struct inode *inode, struct file *file);
long flash_ioctl(struct file *file, unsigned int command, unsigned long argument);

/* Load and unload, provided by the frame and called by the module's entry and exit functions. */
u32 flash_mng_load(void);
void flash_mng_unload(void);

FLASH_MNG_C_END

#endif
