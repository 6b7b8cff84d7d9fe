// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the platform knows about instances: the BOM value, the parent and the hardware lock.
#include "platform/instance.h"

#include <map>

#include "../../reference_platform/include/platform_status.h"
#include "platform/board_capability.h"
#include "simulation.hpp"

namespace simulation {

namespace {

constexpr u32 capability_bom = 0x100000;
constexpr u32 hard_lock_operation = 720;

struct hard_lock {
	u32 inst_id;
	u32 lock_type;
	auto operator<=>(const hard_lock &) const = default;
};

std::map<hard_lock, u32> g_held; // and the value it was taken with

} // namespace

void reset_hard_locks()
{
	state_guard guard;
	g_held.clear();
}

} // namespace simulation

using namespace simulation;

u32 drv_board_get_bom_value(u32 inst_id, u32 capability, u32 *bom_value)
{
	if (auto forced = seen(call::drv_board_get_bom_value, {inst_id, capability, bom_value}))
		return static_cast<u32>(*forced);
	if (capability != capability_bom)
		return CAPABILITY_UNKNOWN;
	*bom_value = facts_of_instance(inst_id).bom;
	return 0;
}

u32 drv_common_parse_parent_id_card_id(u32 inst_id, u32 *parent_inst_id, u32 *card_id)
{
	if (auto forced = seen(call::drv_common_parse_parent_id_card_id, {inst_id, parent_inst_id, card_id}))
		return static_cast<u32>(*forced);
	const auto facts = facts_of_instance(inst_id);

	if (!facts.known)
		return INSTANCE_UNKNOWN;
	if (!facts.parent || !facts.card)
		return INSTANCE_NO_PARENT;
	*parent_inst_id = *facts.parent;
	*card_id = *facts.card;
	return 0;
}

u32 drv_hard_trylock(u32 inst_id, u32 lock_type, struct hard_lock_request *request)
{
	if (auto forced = seen(call::drv_hard_trylock, {inst_id, lock_type, request}))
		return static_cast<u32>(*forced);
	const auto stated = stated_lock_values(inst_id, lock_type);
	state_guard guard;

	if (!request || request->operation != hard_lock_operation || request->inst_id != inst_id || request->reserved0 ||
	    request->reserved1)
		return HARD_LOCK_BAD_REQUEST;
	if (stated && request->lock_val != stated->lock)
		return HARD_LOCK_BAD_VALUE;
	return g_held.try_emplace({inst_id, lock_type}, request->lock_val).second ? 0 : HARD_LOCK_BUSY;
}

u32 drv_hard_unlock(u32 inst_id, u32 lock_type, u32 inst_id_again, u32 unlock_val, u64 reserved)
{
	if (auto forced = seen(call::drv_hard_unlock, {inst_id, lock_type, inst_id_again, unlock_val, reserved}))
		return static_cast<u32>(*forced);
	const auto stated = stated_lock_values(inst_id, lock_type);
	state_guard guard;

	if (reserved)
		return HARD_LOCK_BAD_REQUEST;
	if (inst_id_again != inst_id)
		return HARD_LOCK_BAD_OWNER;
	if (stated && unlock_val != stated->unlock)
		return HARD_LOCK_BAD_VALUE;
	return g_held.erase({inst_id, lock_type}) ? 0 : HARD_LOCK_NOT_HELD;
}
