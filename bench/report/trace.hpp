// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What ran inside flash_mng between two marks, from the emulator's log of the blocks that it executed there.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace bench {

struct share {
	std::uint64_t instructions = 0;
	std::uint64_t copies = 0; // Linux's own code for copies from and to a program, which it puts into the function that copies
	std::map<std::string, std::uint64_t> functions;
};

// Reads places.tsv, marks.tsv and trace.log of a traced run in that folder: the share of each traced row, by its key.
std::map<std::string, share> read_shares(const std::string &folder);

} // namespace bench
