// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The fixtures: bad/<rule>[-<case>].xml breaks a rule, bad/<...>.txt is what check says about it, good/<rule>.xml is just within the rule.
// All are checked against the partitions of partitions.mtd, or of bad/<...>.mtd where that is there.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "check.hpp"

namespace fixtures {

struct fixture {
	std::string name; // without folder and ending
	bool is_good;

	std::filesystem::path xml() const;
	std::filesystem::path expected() const; // what check prints
	std::string shown_path() const;		// as it is named in messages
	const flash_board::rule &broken() const;
	flash_board::mtd_layout layout() const;
	flash_board::findings found() const;
};

void PrintTo(const fixture &one, std::ostream *to);

std::vector<fixture> good();
std::vector<fixture> bad();

std::string read(const std::filesystem::path &path);
flash_board::mtd_layout common_layout();

} // namespace fixtures
