// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The files of the command line. "-" is the standard stream.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>

namespace flash_board {

// A file that cannot be read or written, with the path and the reason.
struct file_error : std::runtime_error {
	file_error(const std::string &path, const std::string &reason) : std::runtime_error(path + ": " + reason) {}
};

// What is longer is no description of a board.
constexpr std::size_t max_file_size = 0x4000000; // 64 MiB

// All of a file, or of the stream for "-"; of one longer than max_file_size a little more than that. Throws file_error.
std::string read_file(const std::string &path, std::istream &standard);

// A failure leaves no half-written file. Throws file_error.
void write_file(const std::string &path, std::string_view content, std::ostream &standard);

} // namespace flash_board
