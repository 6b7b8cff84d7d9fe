// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// From arguments to a request.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "request.hpp"

namespace flashctl {

struct command_line {
	std::optional<flashctl::request> request; // nothing: only `text` is to be printed
	std::string command;
	std::string text; // help or version
};

// Throws a failure with exit_status::usage for a wrong command line. Opens nothing.
command_line parse_command_line(const std::vector<std::string> &arguments);

} // namespace flashctl
