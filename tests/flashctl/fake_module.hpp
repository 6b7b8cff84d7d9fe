// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The module's control device in this process: open() of /dev/flash_mng and ioctl() on it, with records and results as the kernel carries
// them; and the kernel's locks. Programs linked with it keep the content of "usrdata" in the file that FLASHCTL_FAKE_FILE names. For
// each file in the folder that FLASHCTL_FAKE_FOLDER names there is a listed partition of NOR flash, which is kept there.
#pragma once

#include <mtd/mtd-user.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulated_flash.hpp"

namespace flashctl_tests {

struct fake_module {
	simulated_flash flash;
	std::optional<std::uint32_t> answer; // every command answers with this code and does nothing
	int kernel_error = 0;		     // every command is refused by the kernel with this errno
	int open_error = 0;		     // open() is refused
	bool no_file_locks = false;	     // flock() is not implemented
	std::optional<int> claim_error;	     // open() of a block device; it succeeds on /dev/null when this is 0
	std::uint32_t reported = 128;	     // devices that the statistics report at most
	std::map<std::string, std::string> files = {{flashctl::service_file, "changed-blocks\n"}}; // of the board, by path
	std::vector<mtd_ecc_stats> ecc_stats; // of character devices: an answer for each call; the last one stays
	std::vector<unsigned long> commands;  // their numbers, in order
	std::vector<std::uint8_t> record;     // the last record, as it came

	// Character devices, and counters of sysfs.
	void show_health();
};

// The one module.
fake_module &module();

} // namespace flashctl_tests
