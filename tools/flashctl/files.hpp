// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Files on this side of the flash. Each function throws a failure with exit_status::file.
#pragma once

#include <string>

#include "bytes.hpp"

namespace flashctl {

// The file's content, or one byte more than `most`.
bytes read_file(const std::string &path, std::size_t most);

// A regular file is written beside its place and renamed, so that a failure leaves the old one; anything else is written to directly.
void write_file(const std::string &path, byte_view data);

} // namespace flashctl
