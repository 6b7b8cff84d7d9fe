// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "config/flash_config.hpp"

extern "C" {

// Finds the first section of an id that contains the whole range; the address must lie inside it even when len is 0.
// FLASH_MNG_FAILED, with *index untouched, when none does. Silent.
u32 flash_addr_valid(const flash_section *sections, u32 count, u32 section_id, u32 offset, u32 len, u32 *index);
}
