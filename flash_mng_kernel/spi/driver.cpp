// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// SPI flash instances through the flash driver that has registered itself, under the platform's hardware lock where the instance asks
// for it.
#include "spi/driver.hpp"

#include "kernel/memory.h"
#include "platform/instance.h"
#include "platform/messages.hpp"

using namespace flash_mng;

extern "C" {

constinit const flash_driver_ops *g_flash_funcs = nullptr;
}

namespace {

constexpr u32 lock_type_none = 1;     // the type of instances that are never locked
constexpr u32 lock_type_for_size = 0; // the only type under which a size is asked

const flash_driver_ops *driver()
{
	return __atomic_load_n(&g_flash_funcs, __ATOMIC_ACQUIRE);
}

// A function of the driver as registered now, NULL when there is none.
template <typename function> function registered(function flash_driver_ops::*slot)
{
	const flash_driver_ops *const ops = driver();
	return ops ? __atomic_load_n(&(ops->*slot), __ATOMIC_RELAXED) : nullptr;
}

u32 take_hard_lock(u32 inst_id, u32 lock_type, const spi_controller_config &config)
{
	hard_lock_request request = {};
	request.operation = HARD_LOCK_OPERATION_FLASH;
	request.inst_id = inst_id;
	request.lock_val = config.hardlock_val;
	return drv_hard_trylock(inst_id, lock_type, &request);
}

u32 release_hard_lock(u32 inst_id, u32 lock_type, const spi_controller_config &config)
{
	return drv_hard_unlock(inst_id, lock_type, inst_id, config.hardunlock_val, 0);
}

u32 report_no_size(u32 inst_id)
{
	drv_log_record(module_log, serious, 0, "inst 0x%x flash funcs NULL", inst_id);
	return FLASH_MNG_NO_DRIVER;
}

u32 report_no_create(u32 inst_id)
{
	drv_log_record(module_log, serious, 0, "inst 0x%x flash create funcs NULL", inst_id);
	return FLASH_MNG_NO_DRIVER;
}

u32 report_no_destroy(u32 inst_id)
{
	drv_log_record(module_log, serious, 0, "inst 0x%x flash destroy funcs NULL", inst_id);
	return FLASH_MNG_NO_DRIVER;
}

u32 driver_size(u32 inst_id, const spi_controller_config &config, void *size)
{
	const auto get_size = registered(&flash_driver_ops::get_size);
	return get_size ? get_size(config.cfg_inst_id, config.sfc_chip_id, config.sfc_ctrl, config.sfc_cs, size) : report_no_size(inst_id);
}

u32 driver_create(u32 inst_id, const spi_controller_config &config, flash_parts_info *parts_info)
{
	const auto create = registered(&flash_driver_ops::create);
	return create ? create(config.cfg_inst_id, config.sfc_chip_id, config.sfc_ctrl, config.sfc_cs, parts_info)
		      : report_no_create(inst_id);
}

// A copy of a part's name, which may fill its field without a NUL.
char *copy_name(const flash_part &part)
{
	char name[sizeof(part.mtd_name) + 1] = {};
	__builtin_memcpy(name, part.mtd_name, sizeof(part.mtd_name));
	return linux_kstrdup(name);
}

} // namespace

extern "C" {

u32 drv_flash_driver_register(u64, u64, const flash_driver_ops *ops)
{
	__atomic_store_n(&g_flash_funcs, ops, __ATOMIC_RELEASE);
	return FLASH_MNG_OK;
}

void drv_flash_driver_unregister(void)
{
	if (driver())
		__atomic_store_n(&g_flash_funcs, nullptr, __ATOMIC_RELEASE);
}

u32 drv_flash_get_size(u32 inst_id, u64, void *size)
{
	if (!registered(&flash_driver_ops::get_size))
		return report_no_size(inst_id);
	if (!size) {
		drv_log_record(module_log, serious, 0, "inst 0x%x flash size is NULL", inst_id);
		return FLASH_MNG_NULL_POINTER;
	}
	const used_flash_info info(inst_id);
	if (!info)
		return FLASH_MNG_FAILED;

	const spi_controller_config &config = info->config;
	const bool locked = config.hardlock_type == lock_type_for_size;
	if (locked)
		if (const u32 status = take_hard_lock(inst_id, lock_type_for_size, config)) {
			drv_log_record(module_log, serious, 0, "get flash size lock failed, inst_id:%#x, lock_type:%u, rc=%#x", inst_id,
				       config.hardlock_type, status);
			return status;
		}

	const u32 result = driver_size(inst_id, config, size);

	if (locked)
		if (const u32 status = release_hard_lock(inst_id, lock_type_for_size, config)) {
			drv_log_record(module_log, serious, 0, "inst:%#x get flash size unlock failed, lock_type:%u, rc=%#x", inst_id,
				       config.hardlock_type, status);
			return status;
		}
	return result;
}

// Names are made in private and published whole, so that a lookup never sees a half-built array.
u32 drv_flash_init_info_mtdname(spi_flash_info *info, const flash_parts_info *parts_info)
{
	if (!parts_info || parts_info->part_num == 0 || !parts_info->parts)
		return FLASH_MNG_FAILED;

	const u32 count = parts_info->part_num;
	auto *const names = static_cast<name_list>(linux_kcalloc(count, sizeof(char *)));
	if (!names) {
		withdraw_names(*info);
		drv_log_record(module_log, serious, 0, "Malloc %u fail for init mtdname", count);
		return FLASH_MNG_NO_MEMORY;
	}

	for (u32 i = 0; i < count; ++i) {
		names[i] = copy_name(parts_info->parts[i]);
		if (!names[i]) {
			free_names(names, i);
			publish_names(*info, nullptr, count);
			return FLASH_MNG_COPY_FAILED;
		}
	}
	publish_names(*info, names, count);
	return FLASH_MNG_OK;
}

u32 drv_flash_create(u32 inst_id, flash_parts_info *parts_info)
{
	if (!registered(&flash_driver_ops::create))
		return report_no_create(inst_id);
	if (!parts_info)
		drv_log_record(module_log, serious, 0, "inst 0x%x flash create parts info is NULL", inst_id);
	const used_flash_info info(inst_id);
	if (!info)
		return FLASH_MNG_FAILED;

	if (const u32 code = drv_flash_init_info_mtdname(info.get(), parts_info)) {
		drv_log_record(module_log, serious, 0, "inst 0x%x init mtdname failed, ret=%#x", inst_id, code);
		return code;
	}

	const spi_controller_config &config = info->config;
	const bool locked = config.hardlock_type != lock_type_none;
	if (locked)
		if (const u32 status = take_hard_lock(inst_id, config.hardlock_type, config)) {
			drv_log_record(module_log, serious, 0, "inst %#x create mtd lock failed, rc=%#x", inst_id, status);
			return status;
		}

	const u32 result = driver_create(inst_id, config, parts_info);

	if (locked)
		if (const u32 status = release_hard_lock(inst_id, config.hardlock_type, config)) {
			drv_log_record(module_log, serious, 0, "inst %#x create mtd unlock failed, rc=%#x", inst_id, status);
			return status;
		}
	return result;
}

u32 drv_flash_destroy(u32 inst_id)
{
	if (!registered(&flash_driver_ops::destroy))
		return report_no_destroy(inst_id);
	const used_flash_info info(inst_id);
	if (!info)
		return FLASH_MNG_FAILED;

	const auto destroy = registered(&flash_driver_ops::destroy);
	if (!destroy)
		return report_no_destroy(inst_id);
	const spi_controller_config &config = info->config;
	if (const u32 status = destroy(config.cfg_inst_id, config.sfc_chip_id, config.sfc_ctrl, config.sfc_cs)) {
		drv_log_record(module_log, serious, 0, "inst 0x%x flash destroy failed", inst_id);
		return status;
	}
	release_flash_info_alloc(info.get());
	return FLASH_MNG_OK;
}
}
