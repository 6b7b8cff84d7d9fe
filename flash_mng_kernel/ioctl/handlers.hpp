// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Handlers of the control device's commands. Each takes the address of its record in the calling process and gives the code that the
// command answers with, never as a negative number; records and codes are described in uapi/flash_mng.h. All may sleep.
#pragma once

#include "flash_mng_types.h"

extern "C" {

long flash_get_nand_part_info(unsigned long argument);
long flash_get_part_num(unsigned long argument);
long flash_get_nand_is_exist(unsigned long argument);
long flash_get_mtd_statistics(unsigned long argument);
long drv_flash_find_config(unsigned long argument);
long drv_flash_find_config_by_inst(unsigned long argument);
long drv_nand_flash_mtd_read_ioctl(unsigned long argument);
long drv_nand_flash_mtd_write_ioctl(unsigned long argument);
}
