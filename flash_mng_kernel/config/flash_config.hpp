// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Flash sections: numbered address ranges of a device instance, each inside one MTD partition, as the board's XML lists them.
//
// The list changes only during load and unload and is read without a lock. So is the name of the user-data partition, which commands may
// ask for while the module is loading.
#pragma once

#include "kernel/list.h"
#include "kernel/lock.h"
#include "platform/xml.h"

inline constexpr u32 mtd_name_size = 40; // buffers for MTD names that come from the XML

struct flash_section {
	u32 section_id;
	char mtd_name[mtd_name_size]; // NUL-terminated
	u32 offset;		      // bytes, in the partition's and in the section's addresses alike
	u32 size;		      // bytes
};

struct flash_config_entry {
	u32 inst_id;
	u32 section_count;	 // never 0
	semaphore access;	 // held around each section transfer of the instance
	list_head link;		 // in g_flash_config_list
	flash_section *sections; // owned
};

extern "C" {

extern list_head g_flash_config_list;	       // of flash_config_entry, in order of creation
extern char g_usrdata_mtd_name[mtd_name_size]; // "usrdata" once such a partition was seen, else empty
extern const char *g_usrdata_mtd_name_ready;   // that name once it is whole, else an empty one

// Reads an instance's sections and makes its entry. 0 also when the XML has no sections, or broken ones, and when the entry exists;
// FLASH_MNG_FAILED when the entry cannot be allocated.
u32 drv_flash_init(u32 inst_id);

// Removes an instance's entry. FLASH_MNG_FAILED when there is none.
u32 drv_flash_exit(u32 inst_id);

// Finds an instance's entry. FLASH_MNG_FAILED, with *entry untouched, when there is none.
u32 get_flash_cfg(u32 inst_id, flash_config_entry **entry);

// Reads an instance's section table. On success *sections is the caller's to free, unless *count is 0, when it is untouched; on failure
// both are untouched.
u32 get_xml_flash_cfg(u32 inst_id, flash_section **sections, u32 *count);

// Chooses the table of this variant of the board and reads its entry list. *count is 0 when the board has no table.
u32 get_xml_compatible_flash_cfg(u32 inst_id, u32 *count, xml_entry_node **list);

// Reads one row of the table; FLASH_MNG_FAILED at the first attribute that cannot be read.
u32 flash_cfg_parse(xml_entry *entry, flash_section *section);

// Records whether the board has the user-data partition.
void get_usrdata_mtd_name(void);
}

namespace flash_mng {

// The name of the user-data partition, whole or empty, at any time.
inline const char *usrdata_mtd_name()
{
	return __atomic_load_n(&g_usrdata_mtd_name_ready, __ATOMIC_ACQUIRE);
}

// Removes all entries.
void release_flash_configs();

} // namespace flash_mng
