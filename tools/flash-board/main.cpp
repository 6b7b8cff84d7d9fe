// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// flash-board: board descriptions on the host. Compiles them for the parser on the device, checks and explains them, shows what flash_mng
// makes of them, and draws them.
#include <iostream>

#include "command_line.hpp"
#include "common/standard_streams.hpp"

int main(int argc, char **argv)
{
	tools::hold_standard_streams();
	const std::vector<std::string> arguments(argv + (argc > 0), argv + argc);

	return flash_board::run(arguments, {std::cin, std::cout, std::cerr});
}
