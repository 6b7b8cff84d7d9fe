/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#ifndef POWERCUT_LINUX_KERNEL_H
#define POWERCUT_LINUX_KERNEL_H

#include <errno.h>
#include <limits.h>
#include <stdlib.h>

#include <linux/types.h>

#define ARRAY_SIZE(array) (sizeof(array) / sizeof((array)[0]))
#define min(a, b) ((a) < (b) ? (a) : (b))

static inline int kstrtou32(const char *text, unsigned int base, u32 *value)
{
	char *end;
	unsigned long long number;

	errno = 0;
	number = strtoull(text, &end, base);
	if (end == text || *end)
		return -EINVAL;
	if (errno || number > UINT_MAX)
		return -ERANGE;
	*value = number;
	return 0;
}

#endif
