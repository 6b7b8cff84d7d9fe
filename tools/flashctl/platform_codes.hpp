// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The statuses of the reference platform that a command of the module can pass through to a program. A vendor's platform has its own.
#pragma once

#include <cstdint>

#include "platform_status.h"

namespace flashctl {

struct platform_code {
	std::uint32_t code;
	const char *name;
	const char *meaning;
};

inline constexpr platform_code platform_codes[] = {
	{BOUNDED_BAD_ARGUMENT, "BOUNDED_BAD_ARGUMENT", "the range begins at or beyond the end of the partition's usable bytes"},
	{BOUNDED_NO_ROOM, "BOUNDED_NO_ROOM", "the range ends beyond the partition's usable bytes"},
	{FLASH_BUFFER_BAD_ARGUMENT, "FLASH_BUFFER_BAD_ARGUMENT", "the flash service was called without path or buffer"},
	{FLASH_BUFFER_BAD_PATH, "FLASH_BUFFER_BAD_PATH", "the flash service was given a path that is no MTD device"},
	{FLASH_BUFFER_NO_DEVICE, "FLASH_BUFFER_NO_DEVICE", "there is no MTD device of that number any more"},
	{FLASH_BUFFER_NO_ERASE_BLOCKS, "FLASH_BUFFER_NO_ERASE_BLOCKS", "the MTD device states no erase block size"},
	{FLASH_BUFFER_BEYOND_END, "FLASH_BUFFER_BEYOND_END", "the range ends beyond the partition"},
	{FLASH_BUFFER_OUT_OF_BLOCKS, "FLASH_BUFFER_OUT_OF_BLOCKS", "too many blocks of the partition are bad for this range"},
	{FLASH_BUFFER_BAD_BLOCK_CHECK, "FLASH_BUFFER_BAD_BLOCK_CHECK", "whether a block is bad could not be read"},
	{FLASH_BUFFER_UNCORRECTABLE, "FLASH_BUFFER_UNCORRECTABLE", "the flash holds data that its error correction could not correct"},
	{FLASH_BUFFER_READ_FAILED, "FLASH_BUFFER_READ_FAILED", "the flash could not be read"},
	{FLASH_BUFFER_ERASE_FAILED, "FLASH_BUFFER_ERASE_FAILED", "a block of the flash could not be erased"},
	{FLASH_BUFFER_WRITE_FAILED, "FLASH_BUFFER_WRITE_FAILED", "a block of the flash could not be written"},
	{FLASH_BUFFER_NO_MEMORY, "FLASH_BUFFER_NO_MEMORY", "the flash service had no memory"},
};

} // namespace flashctl
