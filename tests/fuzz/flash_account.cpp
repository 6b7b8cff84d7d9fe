// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "flash_account.hpp"

namespace fuzz {

// A create that makes no names has kept those before, or lost them for want of memory.
void flash_account::enter_create(uint32_t inst_id, long change)
{
	const auto record = names_.find(inst_id);
	if (record == names_.end()) {
		if (change > 0)
			names_[inst_id] = change - 1;
	} else if (change > 0) {
		record->second = change;
	} else if (record->second != 0) {
		record->second = unknown;
	}
}

bool flash_account::enter(flash_call call, uint32_t inst_id, uint32_t code, long change)
{
	if (call == flash_call::create) {
		enter_create(inst_id, change);
		return true;
	}
	const auto record = names_.find(inst_id);
	if (call == flash_call::destroy && code == 0) {
		if (record == names_.end())
			return change == 0; // it made the record itself
		const long names = record->second;
		names_.erase(record);
		return names == unknown || change == -1 - names;
	}
	if (call != flash_call::none && record == names_.end() && change == 1)
		names_[inst_id] = 0;
	return true;
}

} // namespace fuzz
