// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* No code: here C of the kernel compares the public headers and the platform's with what was agreed on. */
#include <linux/stddef.h>

#include "interface.h"
