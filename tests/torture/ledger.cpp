// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "ledger.hpp"

#include <cstring>

#include "choices.hpp"

namespace torture {

namespace {

constexpr uint32_t magic = 0x74726f6c;

struct header {
	uint32_t magic;
	uint32_t slot_id;
	uint64_t generation;
};

} // namespace

bytes content(uint32_t slot_id, uint64_t generation)
{
	choices pattern(slot_id, generation, 0);
	bytes all(sizeof(header) + 1 + pattern.below(slot_capacity - sizeof(header)));
	const header front = {magic, slot_id, generation};
	std::memcpy(all.data(), &front, sizeof(front));
	for (std::size_t at = sizeof(front); at < all.size(); at += sizeof(uint64_t)) {
		const uint64_t word = pattern.next();
		std::memcpy(&all[at], &word, std::min(sizeof(word), all.size() - at));
	}
	return all;
}

reading read_content(uint32_t slot_id, const bytes &found)
{
	header front;
	std::memcpy(&front, found.data(), sizeof(front));
	const std::string which = "slot " + std::to_string(slot_id);
	if (front.magic != magic || front.slot_id != slot_id)
		return {{}, which + " has no header of its own"};
	const bytes expected = content(slot_id, front.generation);
	for (std::size_t at = 0; at < expected.size(); ++at)
		if (found[at] != expected[at])
			return {{},
				which + " generation " + std::to_string(front.generation) + " differs at byte " + std::to_string(at) +
					" of " + std::to_string(expected.size())};
	return {front.generation, {}};
}

} // namespace torture
