// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "config/flash_config.hpp"
#include "config/mtd_info.hpp"
#include "interface.h"
#include "kernel/device.h"
#include "platform/messages.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

constexpr char module_name[] = "flash_mng";
constexpr u32 log_size = 8192;
constexpr u32 default_instance = 0xFFFFFFFF;

// What a load has registered. A load that fails with a positive code leaves the module in the kernel: its unload must then find
// nothing to undo.
constinit bool g_log_registered = false;
constinit bool g_device_registered = false;

void remove_log()
{
	if (g_log_registered)
		drv_log_deregister(module_log);
	g_log_registered = false;
}

void remove_device()
{
	if (g_device_registered)
		misc_deregister(&misc_dev);
	g_device_registered = false;
}

struct load_result {
	u32 code;
	const char *failure;
};

load_result build_tables()
{
	if (const u32 code = drv_flash_init(default_instance))
		return {code, "get xml config fail"};

	if (const u32 code = drv_flash_mtd_info_init(default_instance)) {
		drv_flash_exit(default_instance);
		return {code, "mtd info init fail"};
	}
	return {FLASH_MNG_OK, nullptr};
}

load_result serve()
{
	if (const int error = misc_register(&misc_dev))
		return {static_cast<u32>(error), "device register fail"};
	g_device_registered = true;

	const load_result result = build_tables();
	if (result.code)
		remove_device();
	return result;
}

load_result start()
{
	if (const u32 code = drv_log_register(module_log, module_name, log_size))
		return {code, "log register fail"};
	g_log_registered = true;

	const load_result result = serve();
	if (result.code)
		remove_log();
	return result;
}

} // namespace

extern "C" {

u32 flash_mng_load(void)
{
	const u64 start_ms = log_get_timestamp_ms();
	drv_log_record(common_log, ordinary, 0, "%s MODULE INIT BEGIN", module_name);

	const load_result result = start();
	log_module_init_end(module_name, start_ms, result.code, result.failure);
	return result.code;
}

void flash_mng_unload(void)
{
	drv_flash_mtd_info_deinit();
	release_flash_configs();
	remove_log();
	remove_device();
	drv_log_record(common_log, ordinary, 0, "flash_module_exit");
}
}
