// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "datapath/mtd_query.hpp"

#include "flash_mng.h"
#include "platform/messages.hpp"

using namespace flash_mng;

namespace {

constexpr u32 type_is_nand = 0;
constexpr u32 type_is_other = 1;

inline u32 count_usrdata(u32 &num)
{
	const char *const name = usrdata_mtd_name();
	const bool exists = usrdata_exists(name);
	num = exists ? 1 : 0;
	if (exists)
		return FLASH_MNG_OK;
	report_no_usrdata(name);
	return FLASH_MNG_FAILED;
}

} // namespace

extern "C" {

u32 flash_check_name(const char *name)
{
	if (!name)
		return FLASH_MNG_INVALID;
	const size_t length = __builtin_strlen(name);
	return length >= 1 && length <= FLASH_MNG_NAME_MAX ? FLASH_MNG_OK : FLASH_MNG_INVALID;
}

u32 drv_mtd_get_info(const char *mtd_name, mtd_device_info *info)
{
	if (flash_check_name(mtd_name) || !info) {
		drv_log_record(module_log, ordinary, 0, "mtd getinfo: input argument are invalid");
		return FLASH_MNG_INVALID;
	}

	const mtd_device device = mtd_device::named(mtd_name);
	if (!device) {
		drv_log_record(module_log, trace, 0, "mtd getinfo: info not found");
		return FLASH_MNG_NO_PARTITION;
	}

	info->size = device.size();
	info->index = device.index();
	info->type = device.type();
	return FLASH_MNG_OK;
}

void report_no_usrdata(const char *name)
{
	drv_log_record(module_log, serious, 0, "Failed to get %s MTD information.\n", name);
}

u32 drv_flash_get_mtd_size(const char *mtd_name, u64 *size)
{
	if (!size || flash_check_name(mtd_name)) {
		drv_log_record(module_log, ordinary, 0, "mtd getinfo: input argument are invalid");
		return FLASH_MNG_INVALID;
	}

	mtd_device_info info = {};
	const u32 code = drv_mtd_get_info(mtd_name, &info);
	if (code == FLASH_MNG_OK)
		*size = info.size;
	return code;
}

u32 drv_flash_get_nand_part_num(u32 *num)
{
	if (!num)
		return FLASH_MNG_NULL_POINTER;

	return count_usrdata(*num);
}

u32 drv_flash_get_nand_part_size_info(nand_part_info *info)
{
	if (!info)
		return FLASH_MNG_NULL_POINTER;

	if (const u32 code = count_usrdata(info->part_num)) {
		drv_log_record(module_log, serious, 0, "Failed to get nand part num, (ret=%u)\n", code);
		return FLASH_MNG_FAILED;
	}

	const char *const name = usrdata_mtd_name();
	const mtd_device device = mtd_device::named(name);
	if (!device) {
		report_no_usrdata(name);
		return FLASH_MNG_FAILED;
	}
	info->size = device.size();
	return FLASH_MNG_OK;
}

u32 drv_flash_get_nand_is_exist(u32 *exist)
{
	if (!exist)
		return FLASH_MNG_NULL_POINTER;
	*exist = usrdata_exists(usrdata_mtd_name()) ? 1 : 0;
	return FLASH_MNG_OK;
}

u32 drv_flash_mtd_is_nand(u32 type)
{
	return type == LINUX_MTD_NANDFLASH || type == LINUX_MTD_MLCNANDFLASH;
}

u32 drv_flash_get_type(const char *mtd_name, u32 *type)
{
	mtd_device_info info = {};
	if (const u32 code = drv_mtd_get_info(mtd_name, &info))
		return code;
	if (!type)
		return FLASH_MNG_NULL_POINTER;
	*type = drv_flash_mtd_is_nand(info.type) ? type_is_nand : type_is_other;
	return FLASH_MNG_OK;
}
}
