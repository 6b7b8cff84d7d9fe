// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a loader would find on the flash of a board with two slots (packages/updates/flash-slot), written a second time: which slot it
// starts, and what is in each.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace powercut {

// The flash of ./dev updates: two slots, then the choice.
constexpr std::size_t slots_flash_size = 0x4000000;
constexpr std::size_t slot_size = 0x100000;
constexpr std::size_t slot_header = 0x40000;
constexpr std::size_t choice_at = 2 * slot_size;
constexpr std::size_t choice_record = 0x40000; // two of them

using flash_view = std::span<const std::uint8_t>;

struct boot_choice {
	std::uint64_t number;
	std::string slot;
};

// find_choice() - the record with the highest number of those whose sum is right, or nothing.
std::optional<boot_choice> find_choice(flash_view flash);

enum class slot_state { no_header, whole, torn };

struct slot_content {
	slot_state state;
	std::string version; // unless there is no header
};

// look_at_slot() - @slot is 0 or 1. Torn is a valid header over something else than its image.
slot_content look_at_slot(flash_view flash, std::size_t slot);

// Installations are numbered as the choice is: the number decides slot and version, of which there are three.
std::string slot_of(std::uint64_t number);
std::string version_of(std::uint64_t number);

// What a cut left of the installation after the last one that was reported.
enum class slots_left { old_image, no_image, new_image, new_choice };
constexpr std::size_t slots_lefts = 4;

struct slots_verdict {
	std::uint64_t number = 0; // of the choice
	slots_left left = slots_left::old_image;
	bool torn_record = false;	   // one record is neither valid nor blank
	std::vector<std::string> findings; // what no cut may leave
};

// check_slots() - @reported: the number of the last installation that the board reported.
slots_verdict check_slots(flash_view flash, std::uint64_t reported);

// check_single() - the same of a board that writes each image over the one before, in slot_a; nothing is the choice.
slots_verdict check_single(flash_view flash, std::uint64_t reported);

} // namespace powercut
