// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Other programs, and files: what a user would take instead.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// Runs a program to its end with its output thrown away; 0 when it succeeded.
std::uint32_t run_program(const std::vector<std::string> &words);

// Reads a file from its start to its end, opened and closed; 0 when that succeeded.
std::uint32_t read_file(const char *path);

// Opens a device, reads a range and closes it.
std::uint32_t read_range(const std::string &path, std::uint32_t offset, void *buffer, std::uint32_t length);

std::uint32_t load_module(const std::string &name);
std::uint32_t unload_module(const std::string &name);

} // namespace bench
