// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The program: a command line in, an exit status out.
#pragma once

#include <string>
#include <vector>

#include "console.hpp"
#include "flash.hpp"

namespace flashctl {

// arguments: without the program's name. plain: no colours, whatever the streams are. Throws nothing.
int run(const std::vector<std::string> &arguments, flash &flash, console &console, bool plain = false);

} // namespace flashctl
