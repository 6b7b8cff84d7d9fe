// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What is looked at beside the module: the platform's log, the MTD devices as Linux itself shows them.
#pragma once

#include <cstddef>
#include <string>

#include "calls.hpp"

namespace tour {

// Shows the log's messages since the last call of either, and a blank line below them.
void show_log();
void skip_log();

// The number of an MTD device by its name, as /proc/mtd tells it; -1 when there is none.
int mtd_number(const std::string &name);

// The line of /proc/mtd about a device.
std::string mtd_line(const std::string &name);

// "/dev/mtd<N>" of a device.
std::string mtd_path(const std::string &name);

// The first bytes of an MTD device, or all of them, read from its character device.
bytes device_content(const std::string &name, std::size_t most = SIZE_MAX);

bytes file_content(const std::string &path);

} // namespace tour
