// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The records of the control device leave the kernel byte for byte: sizes and offsets are fixed.
#pragma once

#include <stddef.h>

#include <type_traits>

#include "uapi/flash_mng.h"

namespace flash_mng {

template <typename record, size_t size>
inline constexpr bool is_user_record = sizeof(record) == size &&std::is_trivially_copyable_v<record> &&std::is_standard_layout_v<record>;

static_assert(is_user_record<nand_part_info, 520>);
static_assert(offsetof(nand_part_info, part_num) == 0);
static_assert(offsetof(nand_part_info, reserved0) == 4);
static_assert(offsetof(nand_part_info, size) == 264);
static_assert(offsetof(nand_part_info, reserved1) == 272);

static_assert(is_user_record<flash_mtd_stat_entry, 56>);
static_assert(offsetof(flash_mtd_stat_entry, size) == 0);
static_assert(offsetof(flash_mtd_stat_entry, index) == 8);
static_assert(offsetof(flash_mtd_stat_entry, type) == 12);
static_assert(offsetof(flash_mtd_stat_entry, erasesize) == 16);
static_assert(offsetof(flash_mtd_stat_entry, flags) == 20);
static_assert(offsetof(flash_mtd_stat_entry, name) == 24);

static_assert(is_user_record<flash_mtd_statistics, 7172>);
static_assert(offsetof(flash_mtd_statistics, count) == 0);
static_assert(offsetof(flash_mtd_statistics, entries) == 4);

static_assert(is_user_record<spi_controller_config, 32>);
static_assert(offsetof(spi_controller_config, inst_id) == 0);
static_assert(offsetof(spi_controller_config, cfg_inst_id) == 4);
static_assert(offsetof(spi_controller_config, sfc_chip_id) == 8);
static_assert(offsetof(spi_controller_config, sfc_ctrl) == 12);
static_assert(offsetof(spi_controller_config, sfc_cs) == 16);
static_assert(offsetof(spi_controller_config, hardlock_type) == 20);
static_assert(offsetof(spi_controller_config, hardlock_val) == 24);
static_assert(offsetof(spi_controller_config, hardunlock_val) == 28);

static_assert(is_user_record<flash_find_config_arg, 56>);
static_assert(offsetof(flash_find_config_arg, inst_id) == 0);
static_assert(offsetof(flash_find_config_arg, reserved) == 4);
static_assert(offsetof(flash_find_config_arg, name_length) == 12);
static_assert(offsetof(flash_find_config_arg, config) == 16);
static_assert(offsetof(flash_find_config_arg, name) == 48);

static_assert(is_user_record<flash_mtd_io_arg, 48>);
static_assert(offsetof(flash_mtd_io_arg, name) == 0);
static_assert(offsetof(flash_mtd_io_arg, offset) == 32);
static_assert(offsetof(flash_mtd_io_arg, length) == 36);
static_assert(offsetof(flash_mtd_io_arg, buffer) == 40);

} // namespace flash_mng
