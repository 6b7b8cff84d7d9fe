// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The figures of a run, in the order in which they were counted.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "trace.hpp"

namespace bench {

inline const std::string module_way = "flash_mng";

struct peer {
	std::string way;
	std::uint64_t instructions = 0;				     // 0 where they were not counted
	std::vector<std::pair<std::string, std::uint64_t>> counts{}; // of anything else, by name
};

// One thing that was done in one size: through flash_mng and by its peers.
struct row {
	std::string key; // area, subject, size and unit, with tabs between them
	std::string area;
	std::string subject;
	std::uint64_t size = 0;
	std::string unit;
	std::vector<peer> ways;	    // flash_mng first
	const share *own = nullptr; // instructions inside flash_mng, where that was traced

	const peer &module() const { return ways.front(); }
	bool is_counted() const { return module().instructions != 0; }
};

// A file that is not there, or cannot be made, ends the program.
std::ifstream opened(const std::string &path);
std::ofstream created(const std::string &path);

std::vector<std::string> split(const std::string &line, char at);

// Reads figures.tsv. A file that is not there or a line that is none ends the program.
std::vector<row> read_figures(const std::string &path);

// "4096 bytes" as "4 KiB", other units as they are.
std::string size_text(const row &of);

// 1234567 as "1,234,567".
std::string number_text(std::uint64_t number);
std::string fixed(double value, int digits);

// Instructions of flash_mng by those of a peer.
double ratio(const row &of, const peer &by);

// With a large first letter, for a heading.
std::string heading(const std::string &text);

[[noreturn]] void fail(const std::string &what);

} // namespace bench
