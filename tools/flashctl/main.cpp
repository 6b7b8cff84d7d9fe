// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flashctl: the flash of a board with flash_mng, for people and scripts.
#include <algorithm>

#include "common/standard_streams.hpp"
#include "kernel_flash.hpp"
#include "run.hpp"
#include "terminal.hpp"

int main(int argc, char **argv)
{
	tools::hold_standard_streams();
	flashctl::kernel_flash flash;
	flashctl::terminal terminal;
	return flashctl::run({argv + std::min(argc, 1), argv + argc}, flash, terminal, flashctl::wants_no_colours());
}
