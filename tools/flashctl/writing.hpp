// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What every command that writes does: keep others out, look at what is there, ask, write, and compare. Every function throws a failure.
#pragma once

#include <string>
#include <vector>

#include "commands.hpp"

namespace flashctl {

// The part of the partition that is read before and after; `begin` and `end`, not included, are the range's place in it.
struct picture {
	range area;
	std::size_t begin, end;
	bytes before, wanted;
};

// Whether somebody uses the device, and the person knows and does not mind. Refused when he has not said so.
bool is_known_to_be_used(workplace &place, const mtd_device &device, const std::vector<danger> &forced);

// Takes the lock until the program ends. used: a claim of the block device is no surprise.
void keep_others_out(workplace &place, const mtd_device &device, bool used);

// Asks on a terminal; without one, everything is meant. Refused unless the answer is yes.
void ask_person(workplace &place, const std::string &question);

// Ends with exit_status::interrupted when a signal came and nothing was written yet.
void leave_if_interrupted(workplace &place);

// Erase blocks that a range touches; its length is at least 1.
std::uint32_t blocks_touched(const range &written);

// Says how many bytes the transfers of one write will move: a picture, unless there is none, and then the write and the read back.
void expect_write(workplace &place, const range &written, verification verify, bool dry_run);

// Reads what is there, of the whole partition or of the range; not for verification::none.
picture take_picture(workplace &place, const range &written, byte_view data, verification verify);

// Bytes of the range that get another value.
std::uint64_t count_changes(const picture &taken);

// When the write fails, the failure tells what became of the flash, as far as there is a picture (otherwise nullptr) of it.
void write_data(workplace &place, const range &written, byte_view data, const picture *taken);

// Reads back, and puts into the result how that differs from what must be there.
void check_written(workplace &place, const picture &taken, write_outcome &result);

} // namespace flashctl
