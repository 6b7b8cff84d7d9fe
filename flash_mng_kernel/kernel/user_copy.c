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

/* Linux's inlines are not to be shared by the records, so that each is compiled for its size. */
#define flat __attribute__((flatten))

flat unsigned long linux_copy_number_to_user(unsigned long user_address, const u32 *from)
{
	return copy_to_user((void __user *)user_address, from, sizeof(*from));
}

flat unsigned long linux_copy_part_info_to_user(unsigned long user_address, const struct nand_part_info *from)
{
	return copy_to_user((void __user *)user_address, from, sizeof(*from));
}

flat unsigned long linux_copy_statistics_to_user(unsigned long user_address, const struct flash_mtd_statistics *from)
{
	return copy_to_user((void __user *)user_address, from, sizeof(*from));
}

flat unsigned long linux_copy_config_query_to_user(unsigned long user_address, const struct flash_find_config_arg *from)
{
	return copy_to_user((void __user *)user_address, from, sizeof(*from));
}

flat unsigned long linux_copy_config_query_from_user(struct flash_find_config_arg *to, unsigned long user_address)
{
	return copy_from_user(to, (const void __user *)user_address, sizeof(*to));
}

flat unsigned long linux_copy_io_request_from_user(struct flash_mtd_io_arg *to, unsigned long user_address)
{
	return copy_from_user(to, (const void __user *)user_address, sizeof(*to));
}
