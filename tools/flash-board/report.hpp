// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Findings as people and programs read them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "check.hpp"
#include "findings.hpp"
#include "source.hpp"

namespace flash_board {

// A board description that was checked, with its text.
class checked_file {
public:
	checked_file(const std::string &path, std::string text, const mtd_layout *layout)
		: text_(std::make_unique<std::string>(std::move(text))), from_(*text_, path), found_(check(from_, layout))
	{
	}

	const source &from() const { return from_; }
	const findings &found() const { return found_; }

private:
	std::unique_ptr<std::string> text_; // stays where it is when this is moved
	source from_;
	findings found_;
};

// "<file>:<line>:<column>: <severity>: <message> [<rule>]" and the hint, for each; a line that counts them at the end.
std::string as_text(const source &from, const findings &all);

// flash-board(1) describes it.
std::string as_json(const source &from, const findings &all);

// SARIF 2.1.0, for code review tools.
std::string as_sarif(const source &from, const findings &all, std::string_view version);

// The same of several files: one text behind the other, an array of objects where there are more than one, one run of SARIF.
std::string as_text(const std::vector<checked_file> &files);
std::string as_json(const std::vector<checked_file> &files);
std::string as_sarif(const std::vector<checked_file> &files, std::string_view version);

} // namespace flash_board
