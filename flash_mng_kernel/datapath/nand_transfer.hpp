// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// NAND partitions through the platform's flash service. Paths are "/dev/mtdN"; all may sleep.
#pragma once

#include "config/mtd_info.hpp"

extern "C" {

// A listed partition takes the total path, any other one goes to the flash service as it is.
u32 drv_nand_flash_mtd_read(const char *mtd_name, const char *path, u32 offset, void *buf, u32 len);
u32 drv_nand_flash_mtd_write(const char *mtd_name, const char *path, u32 offset, const void *buf, u32 len);

// The total path: a read fetches everything up to the end of the range, a write reads, patches and writes back all usable bytes, under
// the entry's lock. FLASH_MNG_NO_BUFFER also when offset + len does not fit in 32 bits; FLASH_MNG_EMPTY_RANGE when there are no usable
// bytes; codes of the flash service and of the bounded copy as they are.
u32 drv_nand_flash_mtd_total_read(mtd_info_entry *entry, const char *path, u32 offset, void *buf, u32 len);
u32 drv_nand_flash_mtd_total_write(mtd_info_entry *entry, const char *path, u32 offset, const void *buf, u32 len);
}
