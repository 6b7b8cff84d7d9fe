/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#ifndef POWERCUT_LINUX_RWSEM_H
#define POWERCUT_LINUX_RWSEM_H

#include "host_linux.h"

#define DECLARE_RWSEM(name) struct rw_semaphore name

#endif
