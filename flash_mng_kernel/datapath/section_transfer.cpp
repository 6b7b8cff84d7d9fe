// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Sections read and written by instance, section id and address, through the block device of the section's partition.
#include "datapath/section_transfer.hpp"

#include "datapath/device_path.hpp"
#include "flash_mng.h"
#include "kernel/mtd_device.hpp"
#include "kernel/open_file.hpp"
#include "kernel/semaphore_hold.hpp"
#include "platform/messages.hpp"

using namespace flash_mng;

namespace {

// Whether a section contains a range, in 32-bit arithmetic that wraps around.
bool contains(const flash_section &section, u32 offset, u32 len)
{
	const u32 end = section.offset + section.size;
	return section.offset <= offset && end > offset && end - offset >= len;
}

u32 form_read_path(const char *mtd_name, device_path &path)
{
	const mtd_device device = mtd_device::named(mtd_name);
	if (!device) {
		drv_log_record(module_log, ordinary, 0, "Failed to find mtd index by mtd name:%s", mtd_name);
		return FLASH_MNG_INVALID;
	}
	if (!form_block_path(path, device.index())) {
		drv_log_record(module_log, ordinary, 0, "Flash mng snprintf_s name failed");
		return FLASH_MNG_COPY_FAILED;
	}
	return FLASH_MNG_OK;
}

u32 form_write_path(const char *mtd_name, device_path &path)
{
	const mtd_device device = mtd_device::named(mtd_name);
	if (!device) {
		drv_log_record(module_log, ordinary, 0, "Failed to find mtd index by mtd name");
		return FLASH_MNG_INVALID;
	}
	if (!form_block_path(path, device.index())) {
		drv_log_record(module_log, ordinary, 0, "Flash mng write snprintf_s name failed");
		return FLASH_MNG_COPY_FAILED;
	}
	return FLASH_MNG_OK;
}

u32 read_section(const flash_section &section, const char *path, u32 offset, void *buf, u32 len)
{
	open_file file(path, LINUX_O_RDONLY);
	if (!file) {
		drv_log_record(module_log, ordinary, 0, "[drv flash Read]Open %s failed, errcode: %ld.", section.mtd_name, file.error());
		return FLASH_MNG_NOT_OPENED;
	}

	const u32 position = offset - section.offset;
	if (const long long reached = file.seek(position); reached != position) {
		drv_log_record(module_log, ordinary, 0, "[drv flash Read] lseek to 0x%x(0x%x) fail, ret = 0x%llx.", offset, position,
			       static_cast<u64>(reached));
		return FLASH_MNG_INVALID;
	}
	if (const long count = file.read(buf, len); count != static_cast<long>(len)) {
		drv_log_record(module_log, ordinary, 0, "[drv flash Read] device %s fail, expect %u, read %zd", section.mtd_name, len,
			       count);
		return FLASH_MNG_SHORT_READ;
	}
	return FLASH_MNG_OK;
}

u32 write_section(const flash_section &section, const char *path, u32 offset, const void *buf, u32 len)
{
	open_file file(path, LINUX_O_RDWR | LINUX_O_SYNC);
	if (!file) {
		drv_log_record(module_log, ordinary, 0, "[drv flash write] Open %s failed, errcode: %ld.", section.mtd_name, file.error());
		return FLASH_MNG_NOT_OPENED;
	}

	const u32 position = offset - section.offset;
	if (const long long reached = file.seek(position); reached != position) {
		drv_log_record(module_log, ordinary, 0, "[drv flash write] lseek to 0x%x(0x%x) fail, ret = 0x%llx.", offset, position,
			       static_cast<u64>(reached));
		return FLASH_MNG_INVALID;
	}
	if (const long count = file.write(buf, len); count != static_cast<long>(len)) {
		drv_log_record(module_log, ordinary, 0, "[drv flash write] device %s fail, ret = 0x%zx!", section.mtd_name,
			       static_cast<size_t>(count));
		return FLASH_MNG_SHORT_WRITE;
	}
	return FLASH_MNG_OK;
}

} // namespace

extern "C" {

u32 flash_addr_valid(const flash_section *sections, u32 count, u32 section_id, u32 offset, u32 len, u32 *index)
{
	for (u32 i = 0; i < count; ++i)
		if (sections[i].section_id == section_id && contains(sections[i], offset, len)) {
			*index = i;
			return FLASH_MNG_OK;
		}
	return FLASH_MNG_FAILED;
}

u32 drv_flash_read(u32 inst_id, u32 section_id, u32 offset, void *buf, u32 len)
{
	if (!buf)
		return FLASH_MNG_NULL_POINTER;
	u32 end = 0;
	if (__builtin_add_overflow(offset, len, &end)) {
		drv_log_record(module_log, ordinary, 0, "Flash read: sum of offset and len overflow");
		return FLASH_MNG_OVERFLOW;
	}
	flash_config_entry *entry = nullptr;
	if (get_flash_cfg(inst_id, &entry)) {
		drv_log_record(module_log, ordinary, 0, "flash_mng config about inst_id:0x%x is null!", inst_id);
		return FLASH_MNG_INVALID;
	}
	u32 index = 0;
	if (flash_addr_valid(entry->sections, entry->section_count, section_id, offset, len, &index)) {
		drv_log_record(module_log, ordinary, 0, "drv flash read section_id %d offset %u len %u error.",
			       static_cast<int>(section_id), offset, len);
		return FLASH_MNG_INVALID;
	}

	const flash_section &section = entry->sections[index];
	device_path path = {};
	if (const u32 code = form_read_path(section.mtd_name, path))
		return code;

	const semaphore_hold hold(entry->access);
	if (!hold) {
		drv_log_record(module_log, ordinary, 0, "drv flash read down killable() ret = %d!", hold.result());
		return FLASH_MNG_INTERRUPTED;
	}
	return read_section(section, path, offset, buf, len);
}

u32 drv_flash_write(u32 inst_id, u32 section_id, u32 offset, const void *buf, u32 len)
{
	if (!buf)
		return FLASH_MNG_NULL_POINTER;
	u32 end = 0;
	if (__builtin_add_overflow(offset, len, &end)) {
		drv_log_record(module_log, ordinary, 0, "Flash write: sum of offset and len overflow");
		return FLASH_MNG_OVERFLOW;
	}
	flash_config_entry *entry = nullptr;
	if (get_flash_cfg(inst_id, &entry)) {
		drv_log_record(module_log, ordinary, 0, "flash_mng config about inst_id:0x%x is null!", inst_id);
		return FLASH_MNG_INVALID;
	}
	u32 index = 0;
	if (flash_addr_valid(entry->sections, entry->section_count, section_id, offset, len, &index)) {
		drv_log_record(module_log, ordinary, 0, "drv flash write section_id %d offset %u len %u error.",
			       static_cast<int>(section_id), offset, len);
		return FLASH_MNG_INVALID;
	}

	const flash_section &section = entry->sections[index];
	device_path path = {};
	if (const u32 code = form_write_path(section.mtd_name, path))
		return code;

	const semaphore_hold hold(entry->access);
	if (!hold) {
		drv_log_record(module_log, ordinary, 0, "[drv flash write] down killable() ret = %d!", hold.result());
		return FLASH_MNG_INTERRUPTED;
	}
	return write_section(section, path, offset, buf, len);
}
}
