// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "flash_mng.h"
#include "spi/registry.hpp"

extern "C" {

extern const flash_driver_ops *g_flash_funcs; // NULL while no driver is registered

// Gives a record the names of its partitions. FLASH_MNG_FAILED when there are no parts; FLASH_MNG_NO_MEMORY or FLASH_MNG_COPY_FAILED leave
// it without names.
u32 drv_flash_init_info_mtdname(spi_flash_info *info, const flash_parts_info *parts_info);
}
