// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux's simulated NAND flash, for the time of a case. The kernel command line says where its partitions are; board/README.md has them.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "lab_device.hpp"

// Debian's kernels have none.
#define SKIP_WITHOUT_NANDSIM()                                                                                                             \
	if (!guest::file_exists(guest::module_file("nandsim")))                                                                            \
	GTEST_SKIP() << "this kernel has no simulated NAND flash (CONFIG_MTD_NAND_NANDSIM)"

namespace guest {

// 256 MiB, erase blocks of 128 KiB with 64 pages; `faults` are parameters of the module nandsim.
class simulated_nand {
public:
	explicit simulated_nand(const std::string &faults = "")
	{
		const std::string chip = "first_id_byte=0x20 second_id_byte=0xaa third_id_byte=0x00 fourth_id_byte=0x15 ";
		const int error = insert_module(module_file("nandsim"), chip + faults);
		if (error)
			throw std::runtime_error(std::string("nandsim does not load: ") + std::strerror(error));
	}
	~simulated_nand() { EXPECT_EQ(remove_module_patiently("nandsim"), 0); }
	simulated_nand(const simulated_nand &) = delete;
	simulated_nand &operator=(const simulated_nand &) = delete;
};

} // namespace guest
