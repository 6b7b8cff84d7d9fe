// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "datapath/device_path.hpp"
#include "datapath/mtd_query.hpp"
#include "datapath/nand_transfer.hpp"
#include "ioctl/handlers.hpp"
#include "kernel/memory.hpp"
#include "kernel/user_copy.h"
#include "platform/messages.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

// The table entry of a request's partition. A name without a NUL is in no table.
mtd_info_entry *find_listed(const flash_mtd_io_arg &request)
{
	const bool terminated = __builtin_memchr(request.name, '\0', sizeof(request.name)) != nullptr;
	return terminated ? drv_flash_mtd_info_find(request.name) : nullptr;
}

struct io_request {
	flash_mtd_io_arg record = {};
	mtd_info_entry *entry = nullptr; // of the table
};

// Takes a request over, and what both commands ask of it.
inline u32 take_request(io_request &request, unsigned long argument)
{
	if (linux_copy_io_request_from_user(&request.record, argument))
		return FLASH_MNG_USER_UNREADABLE;

	request.entry = find_listed(request.record);
	if (!request.entry)
		return FLASH_MNG_NOT_LISTED;
	return request.record.length ? FLASH_MNG_OK : FLASH_MNG_EMPTY_RANGE;
}

} // namespace

extern "C" {

long drv_nand_flash_mtd_read_ioctl(unsigned long argument)
{
	io_request taken;
	if (const u32 code = take_request(taken, argument))
		return code;

	const flash_mtd_io_arg &request = taken.record;
	virtual_buffer data(vzalloc(request.length));
	if (!data)
		return FLASH_MNG_NO_BUFFER;

	mtd_device_info info = {};
	if (const u32 code = drv_mtd_get_info(request.name, &info)) {
		data.reset();
		drv_log_record(module_log, ordinary, 0, "mtd read: mtd info not found, name:%s ret:%u", request.name, code);
		return code;
	}
	device_path path = {};
	if (!form_flash_path(path, info.index)) {
		data.reset();
		drv_log_record(module_log, ordinary, 0, "Flash mng mtd_devname:/dev/mtd%d fail", static_cast<int>(info.index));
		return FLASH_MNG_PATH_FAILED;
	}

	if (const u32 code = drv_nand_flash_mtd_total_read(taken.entry, path, request.offset, data.get(), request.length)) {
		drv_log_record(module_log, ordinary, 0, "Flash mtd %s read offset %u len %u fail 0x%x", path, request.offset,
			       request.length, code);
		return code;
	}
	if (linux_copy_to_user(request.buffer, data.get(), request.length)) {
		drv_log_record(module_log, ordinary, 0, "Flash get nand part info fail, copy to user fail");
		return FLASH_MNG_USER_UNWRITABLE;
	}
	return FLASH_MNG_OK;
}

long drv_nand_flash_mtd_write_ioctl(unsigned long argument)
{
	io_request taken;
	if (const u32 code = take_request(taken, argument))
		return code;

	const flash_mtd_io_arg &request = taken.record;
	virtual_buffer data(vmalloc(request.length));
	if (!data)
		return FLASH_MNG_NO_BUFFER;
	if (linux_copy_from_user(data.get(), request.buffer, request.length))
		return FLASH_MNG_USER_UNREADABLE;

	mtd_device_info info = {};
	if (const u32 code = drv_mtd_get_info(request.name, &info)) {
		data.reset();
		drv_log_record(module_log, ordinary, 0, "mtd write: mtd info not found, name:%s ret:%u", request.name, code);
		return code;
	}
	device_path path = {};
	if (!form_flash_path(path, info.index)) {
		data.reset();
		drv_log_record(module_log, ordinary, 0, "Flash mng mtd_devname:/dev/mtd%d fail", static_cast<int>(info.index));
		return FLASH_MNG_PATH_FAILED;
	}

	const u32 code = drv_nand_flash_mtd_total_write(taken.entry, path, request.offset, data.get(), request.length);
	data.reset();
	if (code)
		drv_log_record(module_log, ordinary, 0, "Flash mtd %s write offset %u len %u fail 0x%x", path, request.offset,
			       request.length, code);
	return code;
}
}
