// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The registry of SPI flashes: one record per instance that was used, in order of first use.
//
// g_spi_flash_info_list_lock guards the links, the names and the private fields; it is held for searches and stores only, never across
// an allocation, the XML, the driver or another lock. Functions named _locked expect it held.
#pragma once

#include "flash_mng.h"
#include "kernel/list.h"
#include "kernel/spinlock.h"

struct spi_flash_info {
	list_head link GUARDED_BY(g_spi_flash_info_list_lock);	 // in g_spi_flash_info_list
	spi_controller_config config;				 // complete before the record is published
	char **mtd_names GUARDED_BY(g_spi_flash_info_list_lock); // owned, and its strings; NULL until the instance was created
	u32 mtd_name_num GUARDED_BY(g_spi_flash_info_list_lock); // may stand while there are no names

	// Private to the registry: one reference of the list, one of each operation that is using the record.
	u32 references GUARDED_BY(g_spi_flash_info_list_lock);
};

extern "C" {

extern list_head g_spi_flash_info_list GUARDED_BY(g_spi_flash_info_list_lock);

// The record of an instance, made from the XML when there is none. NULL when it cannot be made. Two first uses at once make two records,
// of which later searches find the older.
spi_flash_info *drv_flash_find_flash_info(u32 inst_id) WANTS_FREE(g_spi_flash_info_list_lock);

// Frees the first count names and the array, of a record that nobody else uses. The count must belong to the array.
void release_flash_mtd_name_alloc(spi_flash_info *info, u32 count);

// Takes a record out of the registry and frees it, as soon as no operation uses it any more.
void release_flash_info_alloc(spi_flash_info *info) WANTS_FREE(g_spi_flash_info_list_lock);
}

namespace flash_mng {

// Names of an instance's partitions, one string each; not yet part of a record.
using name_list = char **;

void free_names(name_list names, u32 count);

// Gives a record new names, or none, and their count. The earlier names stay allocated: readers of the record may hold on to them.
void publish_names(spi_flash_info &info, name_list names, u32 count) WANTS_FREE(g_spi_flash_info_list_lock);

// Takes a record's names away and leaves its count.
void withdraw_names(spi_flash_info &info) WANTS_FREE(g_spi_flash_info_list_lock);

// A record in use: it is not freed before the end of this object's life.
class used_flash_info {
public:
	explicit used_flash_info(u32 inst_id) WANTS_FREE(g_spi_flash_info_list_lock);
	used_flash_info(const used_flash_info &) = delete;
	used_flash_info &operator=(const used_flash_info &) = delete;
	~used_flash_info() WANTS_FREE(g_spi_flash_info_list_lock);

	explicit operator bool() const { return info_ != nullptr; }
	spi_flash_info *operator->() const { return info_; }
	spi_flash_info *get() const { return info_; }

private:
	spi_flash_info *info_;
};

// Copies the settings of the first record that has an instance id, or a partition of a name. False when there is none.
bool copy_config_of_instance(u32 inst_id, spi_controller_config &config) WANTS_FREE(g_spi_flash_info_list_lock);
bool copy_config_of_partition(const char *mtd_name, spi_controller_config &config) WANTS_FREE(g_spi_flash_info_list_lock);

} // namespace flash_mng
