// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The program: a command line in, an exit status out.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace flash_board {

struct streams {
	std::istream &in;
	std::ostream &out;
	std::ostream &err;
};

// The arguments without the program's name. The result is the exit status; flash-board(1) describes it. Throws nothing.
int run(const std::vector<std::string> &arguments, const streams &to);

} // namespace flash_board
