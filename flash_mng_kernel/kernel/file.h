/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the module needs of Linux's file access from inside the kernel. The types are spelled out: Linux's loff_t is long long, its
 * ssize_t is long, its umode_t is unsigned short. All functions may sleep.
 */
#ifndef FLASH_MNG_KERNEL_FILE_H
#define FLASH_MNG_KERNEL_FILE_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

struct file;

/* Linux's flags of an open file, and the origin of a position. */
#define LINUX_O_RDONLY	0
#define LINUX_O_RDWR	2
#define LINUX_O_SYNC	0x101000
#define LINUX_SEEK_SET	0

/* Linux's own. filp_open() gives an open file or an error pointer; the path is resolved in the caller's name space. */
struct file *filp_open(const char *path, int flags, unsigned short mode);
long long vfs_llseek(struct file *file, long long offset, int whence);
long kernel_read(struct file *file, void *buf, size_t count, long long *pos);
long kernel_write(struct file *file, const void *buf, size_t count, long long *pos);
int vfs_fsync(struct file *file, int datasync);
int filp_close(struct file *file, void *owner);

/* The file's own position, which kernel_read() and kernel_write() move. */
long long *linux_file_position(struct file *file);

FLASH_MNG_C_END

#endif
