// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/fs.h>

#include "kernel/file.h"

long long *linux_file_position(struct file *file)
{
	return &file->f_pos;
}
