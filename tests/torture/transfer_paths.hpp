// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The ways to flash content through flash_mng.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "calls.hpp"

namespace torture {

class transfer_path {
public:
	virtual ~transfer_path() = default;

	virtual std::string name() const = 0;
	// Whether a reader sees all of a write or nothing of it.
	virtual bool whole() const { return true; }
	// Both give the code.
	virtual uint32_t read(const flash_mng_access &access, uint32_t offset, bytes &data) const = 0;
	virtual uint32_t write(const flash_mng_access &access, uint32_t offset, const bytes &data) const = 0;

	// Where the content stands: the partition, whose bytes are counted as the path counts them.
	std::string partition;
	uint32_t slots;	     // how many
	uint32_t first_slot; // of those that fit into the partition
};

// A listed NAND partition by the commands; one by the exports; one that is not listed; a block device; a section of each.
std::vector<std::unique_ptr<transfer_path>> all_transfer_paths();

} // namespace torture
