// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Entry points and a data area kept for patches of a running system; nothing in the module uses them.
#include "flash_mng.h"
#include "platform/messages.hpp"

using namespace flash_mng;

extern "C" {

extern u8 g_flash_mng_patch[40];
constinit u8 g_flash_mng_patch[40] = {};

u32 flash_mng_drv_patch_func1(void)
{
	drv_log_record(module_log, trace, 0, "flash_mng patch func1 entry");
	return FLASH_MNG_OK;
}

u32 flash_mng_drv_patch_func2(void)
{
	drv_log_record(module_log, trace, 0, "flash_mng patch func2 entry");
	return FLASH_MNG_OK;
}
}
