// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the module holds for SPI flashes, in allocations: a record for each instance that was used, and the names that its latest create
// left there. A destroy gives back both, no more and no less.
#pragma once

#include <cstdint>
#include <map>

namespace fuzz {

enum class flash_call { none, create, destroy, size };

class flash_account {
public:
	// After a call that changed the heap by so many allocations. False when a destroy gave back something else.
	bool enter(flash_call call, uint32_t inst_id, uint32_t code, long change);
	// The module was unloaded and knows of none.
	void forget() { names_.clear(); }

private:
	static constexpr long unknown = -1;

	void enter_create(uint32_t inst_id, long change);

	std::map<uint32_t, long> names_; // allocations for names, by the instances that have a record
};

} // namespace fuzz
