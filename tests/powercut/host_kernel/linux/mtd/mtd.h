/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#ifndef POWERCUT_LINUX_MTD_H
#define POWERCUT_LINUX_MTD_H

#include <errno.h>

#include <linux/types.h>
#include "host_linux.h"

static inline bool mtd_is_bitflip(int error)
{
	return error == -EUCLEAN;
}

static inline bool mtd_is_eccerr(int error)
{
	return error == -EBADMSG;
}

#endif
