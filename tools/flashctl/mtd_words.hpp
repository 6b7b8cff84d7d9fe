// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Types and flags of MTD devices in words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace flashctl {

// As the kernel writes it in sysfs: "nand", "mlc-nand", "nor", ...; "type 5" for a number without a word.
std::string mtd_type_name(std::uint32_t type);

std::optional<std::uint32_t> mtd_type_of(std::string_view name);

bool is_nand(std::uint32_t type);

// "writeable", "bit-writeable", "no-erase", "powerup-lock", "slc-on-mlc", and the rest as one number.
std::vector<std::string> mtd_flag_names(std::uint32_t flags);

} // namespace flashctl
