// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The files of the command line. "-" is the standard stream.
#pragma once

#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>

namespace flash_board {

// A file that cannot be read or written, with the path and the reason.
struct file_error : std::runtime_error {
	file_error(const std::string &path, const std::string &reason) : std::runtime_error(path + ": " + reason) {}
};

// All of a file; of the stream for "-". Throws file_error.
std::string read_file(const std::string &path, std::istream &standard);

// A failure leaves no half-written file. Throws file_error.
void write_file(const std::string &path, std::string_view content, std::ostream &standard);

} // namespace flash_board
