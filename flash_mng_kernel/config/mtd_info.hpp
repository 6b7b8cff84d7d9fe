// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The MTD info table: NAND partitions that are updated as a whole, as the board's XML lists them, each with its usable size and a lock.
//
// Built during load, released during unload; lookups take no lock.
#pragma once

#include "kernel/lock.h"

struct mtd_info_entry {
	// A name of 32 characters or more, which a board must not use, runs on into the fields behind it and is overwritten there.
	char mtd_name[32];
	u32 avail_size; // usable bytes, counted from the start of the partition
	u32 reserved;
	mutex lock; // held around the flash service's work on this partition

	// The stored name, NUL-terminated within the 40 bytes before the lock.
	const char *name() const { return reinterpret_cast<const char *>(this); }
};

extern "C" {

extern mtd_info_entry *g_flash_mtd_info_list; // NULL while there is no table
extern u32 g_flash_mtd_info_list_num;	      // 0 while there is no table

// Builds the table from an instance's XML; without the XML node there is no table, which is no error.
// FLASH_MNG_NO_BUFFER, FLASH_MNG_XML_NAME or FLASH_MNG_XML_ATTRIBUTE leave no table.
u32 drv_flash_mtd_info_init(u32 inst_id);

// The first entry of a name, NULL when there is none. Valid until unload.
mtd_info_entry *drv_flash_mtd_info_find(const char *mtd_name);

// Releases the table.
void drv_flash_mtd_info_deinit(void);
}
