// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Numbers and sizes as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "common/numbers.hpp"

namespace flashctl {

using tools::hex_number;
using tools::human_size;
using tools::parse_size;

// A code: as a number of 32 bits, or negative as a program sees it ("-1" is 0xFFFFFFFF).
std::optional<std::uint32_t> parse_code(std::string_view text);

} // namespace flashctl
