// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the module said in the log, of the platform or of the kernel, when it was loaded.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace flashctl {

// The lines of the log that this program may read, the oldest first, without time and level; none when it may read none. The reference
// platform's own is taken if it tells of a load, since the kernel's forgets sooner. root: what stands before /sys and /dev.
std::vector<std::string> read_log(const std::string &root);

// Those that tell about the last load: what the module and the kernel's loader said of it, at most `most`, the latest.
std::vector<std::string> load_lines(const std::vector<std::string> &log, std::size_t most);

// The usable bytes of each listed partition, as the last load told them. Of partitions with one name the first counts.
std::map<std::string, std::uint32_t> usable_sizes(const std::vector<std::string> &log);

} // namespace flashctl
