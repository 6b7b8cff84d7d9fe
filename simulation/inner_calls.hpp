// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Calls from one file of the module to another that the simulation stands between. The linker gives the module's calls of such a function
// to __wrap_<function>; the function itself is __real_<function>.
#pragma once

#include "flash_mng_types.h"

extern "C" u32 __real_drv_flash_get_nand_is_exist(u32 *exist);
