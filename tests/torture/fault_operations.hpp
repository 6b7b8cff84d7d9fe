// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What faults are tried on: every command, every export by every transfer path, load and unload.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "calls.hpp"
#include "fault_points.hpp"

namespace torture {

// Bytes of a partition that an operation writes. What stands around them, up to `around` bytes from the partition's start, has to stay.
struct write_target {
	std::string partition;
	uint32_t offset = 0;
	bytes data;
	uint32_t around = 0;
};

struct operation {
	std::string name;
	// Gives a code; without a fault FLASH_MNG_OK.
	std::function<uint32_t(fault &)> attempt;
	// Before the attempt: what it needs. After its success, or that of its retry: takes back what it did.
	std::function<void()> before = [] {};
	std::function<void()> after = [] {};
	// Blocks of the heap that a failed attempt leaves on purpose.
	std::function<int64_t()> left_on_purpose = [] { return 0; };
	write_target target = {};
};

// While flash_mng is loaded. The flash driver is that of flash_calls, which cannot fail: Linux 5.10 does not bear that a block device for a
// new MTD device finds no memory.
std::vector<operation> operations(const flash_mng_access &access);
// While it is not.
std::vector<operation> module_operations();

// Bytes of a partition, from its MTD device.
bytes stored_bytes(const std::string &partition, uint32_t length);

// Releases the hardware locks that flash_mng was kept from releasing; whether there were any.
bool release_hard_locks(const flash_mng_access &access);

} // namespace torture
