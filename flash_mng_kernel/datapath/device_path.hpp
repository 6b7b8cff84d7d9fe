// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Paths of MTD devices, formed from their numbers.
#pragma once

#include "platform/bounded.h"

namespace flash_mng {

using device_path = char[32];

inline constexpr u32 device_path_max = sizeof(device_path) - 1;

// "/dev/mtdN", for the flash service. False when the platform does not form it.
inline bool form_flash_path(device_path &path, u32 index)
{
	return snprintf_s(path, sizeof(path), device_path_max, "/dev/mtd%d", static_cast<int>(index)) >= 0;
}

// "/dev/mtdblockN", for the block device. False when the platform does not form it.
inline bool form_block_path(device_path &path, u32 index)
{
	return snprintf_s(path, sizeof(path), device_path_max, "/dev/mtdblock%d", static_cast<int>(index)) >= 0;
}

} // namespace flash_mng
