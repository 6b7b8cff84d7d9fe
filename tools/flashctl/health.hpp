// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// How a partition is: what the kernel counts of it, how many blocks it has left, and what that gives cause to warn of.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "flash.hpp"

namespace flashctl {

struct health_warning {
	const char *kind;  // one word, for programs
	std::string words; // follow the partition's name
};

struct health_report {
	device_counts counts;
	std::optional<std::int64_t> spare_blocks; // good ones beyond the usable bytes, negative when there are too few; of NAND
	bool read_only;
	bool locks_at_power_on; // whether it is locked at this moment no file tells
	std::vector<health_warning> warnings;
};

health_report examine(const mtd_device &device, const device_counts &counts);

} // namespace flashctl
