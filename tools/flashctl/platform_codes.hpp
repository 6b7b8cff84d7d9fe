// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the codes of a platform mean. The module passes them through unchanged, and every platform has its own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace flashctl {

// What a command asked the module for. A platform's code of 16 bits may mean one thing in answer to a write and another elsewhere.
enum class asked_for : std::uint8_t { anything, read, write };

struct platform_code {
	std::uint32_t code;
	asked_for where; // in answer to what it is given; anything: to every request
	bool is_range;	 // the request's range is what is wrong
	std::string name;
	std::string meaning;
	std::string advice;
};

struct platform_table {
	std::string source; // "reference platform", "platform"
	std::vector<platform_code> codes;
};

// The statuses of the reference platform, those that only kernel modules see included.
const platform_table &reference_platform_table();

// A table that a platform ships: lines "CODE WHERE KIND NAME MEANING", with WHERE one of any, read and write, and KIND one of range and
// failure; "#" begins a comment. Lines that are anything else are left out; nothing when there is no such file.
std::optional<platform_table> read_platform_table(const std::string &path);

} // namespace flashctl
