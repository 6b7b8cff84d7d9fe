// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The chapter about flashctl, the tool for people.
#pragma once

#include <string>

namespace tour {

// Lists, writes, is told what it must not, asks what a line means and how the flash is; `letter` is the path of what is written.
void use_the_tool(const std::string &letter);

} // namespace tour
