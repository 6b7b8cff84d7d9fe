// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "inner_calls.hpp"

#include "simulation.hpp"

using namespace simulation;

extern "C" u32 __wrap_drv_flash_get_nand_is_exist(u32 *exist)
{
	if (auto forced = seen(call::drv_flash_get_nand_is_exist, {exist}))
		return static_cast<u32>(*forced);
	return __real_drv_flash_get_nand_is_exist(exist);
}
