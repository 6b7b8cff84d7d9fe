/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#include <ctype.h>
