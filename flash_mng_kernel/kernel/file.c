// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/build_bug.h>
#include <linux/err.h>
#include <linux/fs.h>

#include "kernel/file.h"
#include "kernel/pointer.h"

static_assert(LINUX_O_RDONLY == O_RDONLY && LINUX_O_RDWR == O_RDWR && LINUX_O_SYNC == O_SYNC);
static_assert(LINUX_SEEK_SET == SEEK_SET);
static_assert(LINUX_MAX_ERRNO == MAX_ERRNO);

long long *linux_file_position(struct file *file)
{
	return &file->f_pos;
}
