// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Numbers and sizes as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tools {

// A whole number, decimal or hexadecimal after 0x, without sign, unit or blanks. Nothing when the text is anything else or the number is
// over `most`.
std::optional<std::uint64_t> parse_number(std::string_view text, std::uint64_t most);

// The same with KiB, MiB or GiB right behind it, or nothing.
std::optional<std::uint64_t> parse_size(std::string_view text, std::uint64_t most);

// A size in the largest unit that gives a whole number: "8 MiB", "1536 KiB", "1 byte".
std::string human_size(std::uint64_t bytes);

// "0x1ff9c"
std::string hex_number(std::uint64_t number);

} // namespace tools
