// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Updates whose power is cut: what is on the flash, and which bytes are given to the service.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "strict_flash.hpp"

namespace powercut {

// What the flash held before. Erased flash, or content in all good blocks.
enum class history { blank, written, first_half_written };

// Offsets and lengths are in usable bytes: the good blocks one after the other.
struct scenario {
	std::string name;
	geometry shape;
	std::vector<unsigned int> bad_blocks;
	history past;
	std::uint64_t offset;
	std::uint64_t length;
	std::vector<unsigned int> unchanged; // usable blocks to which the update gives the bytes that they have
	bool to_blank = false;		     // the bytes given are all 0xff
};

// Every kind of update. Small: NAND with ECC, and NOR, whose page is a byte. Large: NAND with as many pages in a block as real ones.
std::vector<scenario> small_scenarios();
std::vector<scenario> large_scenarios();

// All cuts of so many operations: before, between and after the pages of each, and in the middle of each page.
std::vector<cut_point> cuts_of(std::size_t operations, const geometry &shape);

std::ostream &operator<<(std::ostream &out, const scenario &one);

// The good blocks of a scenario, in order.
std::vector<unsigned int> good_blocks(const scenario &one);
// The old content of the whole device; bytes below 0x80 where it is written.
bytes old_content(const scenario &one);
// The bytes that are given to the service; below 0x80 or 0xff, and none equal to the old one outside of the unchanged blocks.
bytes update_bytes(const scenario &one);
// The content of the device `before`, after an update with `given`: the independent model of the service.
bytes updated_content(const scenario &one, bytes before, std::uint64_t offset, const bytes &given);
// Makes the flash what it was before the update.
void prepare(const scenario &one, strict_flash &flash);

} // namespace powercut
