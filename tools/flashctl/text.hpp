// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Results in words.
#pragma once

#include <cstddef>
#include <string>

#include "common/printable.hpp"
#include "failure.hpp"
#include "outcome.hpp"

namespace flashctl {

using tools::printable;

struct style {
	bool colours = false;
	std::size_t width = 80; // columns
	bool utf8 = false;
};

// What goes to standard output; empty when the request was to be quiet, and after a read to standard output.
std::string text_report(const outcome &found, const options &options, style style);

// What goes to standard error: "flashctl: write: ...", and a line with what to do.
std::string text_of_failure(const std::string &command, const failure &wrong, style style);

} // namespace flashctl
