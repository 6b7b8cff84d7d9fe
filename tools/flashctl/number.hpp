// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Numbers and sizes as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace flashctl {

// A whole number: decimal or 0x, with KiB, MiB or GiB behind it, without blanks inside. Nothing when the text is anything else or the
// number is over the limit.
std::optional<std::uint64_t> parse_number(std::string_view text, std::uint64_t limit);

// A code: as a number of 32 bits, or negative as a program sees it ("-1" is 0xFFFFFFFF).
std::optional<std::uint32_t> parse_code(std::string_view text);

// "8 MiB", "1.5 MiB", "513 bytes": exact where a whole number of a unit, otherwise rounded to one digit.
std::string human_size(std::uint64_t bytes);

// "0x1ff9c"
std::string hex_number(std::uint64_t number);

} // namespace flashctl
