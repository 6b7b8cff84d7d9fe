// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Files on this side of the flash. Each function throws a failure with exit_status::file.
#pragma once

#include <string>

#include "bytes.hpp"

namespace flashctl {

// The file's content, or one byte more than `most`.
bytes read_file(const std::string &path, std::size_t most);

// As tools::write_whole_file(): whole or not at all.
void write_file(const std::string &path, byte_view data);

} // namespace flashctl
