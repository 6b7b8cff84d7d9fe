// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The erase blocks of an MTD device, asked of its character device.
#pragma once

#include <string>
#include <vector>

#include "flash.hpp"

namespace flashctl {

// path: of the character device; opened to be read only. See flash::blocks().
flash_mng::result<std::vector<block_state>> blocks_of(const std::string &path, const mtd_device &device, bool scan);

} // namespace flashctl
