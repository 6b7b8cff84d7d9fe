// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/uaccess.h>

#include "kernel/user_copy.h"

unsigned long linux_copy_to_user(unsigned long user_address, const void *from, unsigned long count)
{
	return copy_to_user((void __user *)user_address, from, count);
}

unsigned long linux_copy_from_user(void *to, unsigned long user_address, unsigned long count)
{
	return copy_from_user(to, (const void __user *)user_address, count);
}
