// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Questions about MTD partitions by name. Every answer comes fresh from Linux's MTD core; all may sleep.
#pragma once

#include "config/flash_config.hpp"
#include "kernel/mtd_device.hpp"

struct mtd_device_info {
	u64 size;  // bytes
	u32 index; // N of /dev/mtdN and /dev/mtdblockN
	u32 type;  // MTD type code
};

extern "C" {

// FLASH_MNG_OK for a name of 1 to 31 characters, otherwise FLASH_MNG_INVALID. Silent.
u32 flash_check_name(const char *name);

// Fills *info, which the caller has zeroed. FLASH_MNG_INVALID for a bad name or no info; FLASH_MNG_NO_PARTITION.
u32 drv_mtd_get_info(const char *mtd_name, mtd_device_info *info);

// 1 for the MTD types of NAND flash, otherwise 0.
u32 drv_flash_mtd_is_nand(u32 type);

// Notes in the log that the board has no NAND user-data partition, with the name that was looked for.
void report_no_usrdata(const char *name);
}

namespace flash_mng {

// Whether the board has the NAND user-data partition, which is looked for by usrdata_mtd_name().
inline bool usrdata_exists(const char *name)
{
	return static_cast<bool>(mtd_device::named(name));
}

} // namespace flash_mng
