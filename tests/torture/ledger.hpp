// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What stands on the flash: slots, each with one writer. A slot's content names its slot and generation and is checked to the last byte,
// so that a torn, lost or misplaced write is noticed, by its writer and by readers.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "calls.hpp"

namespace torture {

class transfer_path;

constexpr uint32_t slot_capacity = 6000; // bytes

struct slot {
	const transfer_path *way;
	uint32_t id;
	uint32_t offset;		   // as the path counts it; on no boundary
	std::atomic<uint64_t> started{0};  // generation that is being written, or was written last
	std::atomic<uint64_t> finished{0}; // generation whose write has returned
};

// The content of a generation; its length, at most slot_capacity, follows from slot and generation.
bytes content(uint32_t slot_id, uint64_t generation);

struct reading {
	std::optional<uint64_t> generation;
	std::string error; // when there is none
};

// What slot_capacity bytes of a slot hold.
reading read_content(uint32_t slot_id, const bytes &found);

} // namespace torture
