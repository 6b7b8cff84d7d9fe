/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#ifndef POWERCUT_LINUX_ERR_H
#define POWERCUT_LINUX_ERR_H

#include <linux/types.h>

#define MAX_ERRNO 4095

static inline bool IS_ERR_OR_NULL(const void *pointer)
{
	return !pointer || (unsigned long)pointer >= (unsigned long)-MAX_ERRNO;
}

#endif
