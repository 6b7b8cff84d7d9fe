// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Who uses an MTD device, from what the kernel tells everybody: mounts, UBI, swap, holders of the block device.
#pragma once

#include <string>
#include <vector>

#include "flash.hpp"

namespace flashctl {

// root: what stands before /proc and /sys; empty on a board. Mounts of every process are looked at, so those of containers count.
std::vector<device_use> uses_of(const mtd_device &device, const std::string &root);

} // namespace flashctl
