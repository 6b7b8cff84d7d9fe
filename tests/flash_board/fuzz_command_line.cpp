// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A fuzzer for libFuzzer, as fuzz_check.cpp describes; target flash_board_command_line_fuzz. It is started in a folder of its own.
#include <cstddef>
#include <cstdint>

#include "command_line_input.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	command_line_input given({reinterpret_cast<const char *>(data), size});

	// No file of the machine is written.
	for (auto &word : given.arguments)
		std::replace(word.begin(), word.end(), '/', '_');
	try_command_line(given);
	return 0;
}
