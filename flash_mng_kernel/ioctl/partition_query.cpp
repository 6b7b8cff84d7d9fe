// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "datapath/mtd_query.hpp"
#include "flash_mng.h"
#include "ioctl/handlers.hpp"
#include "kernel/memory.hpp"
#include "kernel/mtd_device.hpp"
#include "kernel/user_copy.h"
#include "platform/bounded.h"
#include "platform/messages.hpp"

using namespace flash_mng;

namespace {

// Fills an entry. A name that does not fit, or none at all, is a failure.
bool describe(const mtd_device &device, flash_mtd_stat_entry &entry)
{
	const char *const name = device.describe(entry);
	if (name && strcpy_s(entry.name, sizeof(entry.name), name) == 0)
		return true;

	drv_log_record(module_log, serious, 0, "Failed to copy mtd name: %s", printable(name));
	return false;
}

// Lists the devices from number 0 up to the first number without one.
bool collect(flash_mtd_statistics &statistics)
{
	u32 count = 0;
	for (flash_mtd_stat_entry &entry : statistics.entries) {
		const mtd_device device = mtd_device::numbered(static_cast<int>(count));
		if (!device)
			break;
		if (!describe(device, entry))
			return false;
		++count;
	}
	statistics.count = count;
	return true;
}

} // namespace

extern "C" {

long flash_get_part_num(unsigned long argument)
{
	const u32 num = 1;
	const char *const name = usrdata_mtd_name();
	if (!usrdata_exists(name)) {
		report_no_usrdata(name);
		return FLASH_MNG_FAILED;
	}
	if (linux_copy_number_to_user(argument, &num)) {
		drv_log_record(module_log, ordinary, 0, "Flash get part num fail, copy to user fail");
		return FLASH_MNG_COPY_FAILED;
	}
	return FLASH_MNG_OK;
}

long flash_get_nand_is_exist(unsigned long argument)
{
	u32 exist = 0;
	if (const u32 code = drv_flash_get_nand_is_exist(&exist))
		return code;
	if (linux_copy_number_to_user(argument, &exist)) {
		drv_log_record(module_log, ordinary, 0, "Flash get nand is exist fail, copy to user fail");
		return FLASH_MNG_COPY_FAILED;
	}
	return FLASH_MNG_OK;
}

long flash_get_nand_part_info(unsigned long argument)
{
	const heap_memory<nand_part_info> info(linux_kzalloc(sizeof(nand_part_info)));
	if (!info) {
		drv_log_record(module_log, ordinary, 0, "Flash get nand part info fail, zalloc fail");
		return FLASH_MNG_NO_MEMORY;
	}

	if (const u32 code = drv_flash_get_nand_part_size_info(info.get()))
		return code;
	if (linux_copy_part_info_to_user(argument, info.get())) {
		drv_log_record(module_log, ordinary, 0, "Flash get nand part info fail, copy to user fail");
		return FLASH_MNG_COPY_FAILED;
	}
	return FLASH_MNG_OK;
}

long flash_get_mtd_statistics(unsigned long argument)
{
	const virtual_memory<flash_mtd_statistics> statistics(vzalloc(sizeof(flash_mtd_statistics)));
	if (!statistics) {
		drv_log_record(module_log, serious, 0, "Failed to alloc mtd statistics buf");
		return FLASH_MNG_NO_MEMORY;
	}

	if (!collect(*statistics))
		return FLASH_MNG_COPY_FAILED;
	if (const unsigned long left = linux_copy_statistics_to_user(argument, statistics.get())) {
		drv_log_record(module_log, serious, 0, "Failed to get flash mtd statistics, copy to user error %d", static_cast<int>(left));
		return FLASH_MNG_COPY_FAILED;
	}
	return FLASH_MNG_OK;
}
}
