/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * How an MTD device is used, which Linux counts in another way since 6.1.
 */
#ifndef PLATFORM_CHECK_MTD_USERS_H
#define PLATFORM_CHECK_MTD_USERS_H

#include <linux/mtd/mtd.h>
#include <linux/version.h>

/* mtd_users() - how many references there are to a device, beside that of its registration. */
static inline int mtd_users(const struct mtd_info *mtd)
{
#if LINUX_VERSION_CODE < KERNEL_VERSION(6, 1, 0)
	return mtd->usecount;
#else
	return kref_read(&mtd->refcnt) - 1;
#endif
}

#endif
