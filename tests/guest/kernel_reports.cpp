// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// After the last case: memory that the kernel's leak detector cannot find a pointer to fails the run.
#include <gtest/gtest.h>

#include <unistd.h>

#include "lab_device.hpp"

namespace {

constexpr const char *leak_detector = "/sys/kernel/debug/kmemleak";

class kernel_reports : public testing::Environment {
public:
	// What the boot left is not the module's.
	void SetUp() override
	{
		if (!guest::file_exists(leak_detector))
			return;
		guest::write_file(leak_detector, "scan");
		guest::write_file(leak_detector, "clear");
	}

	// A block is reported once it is older than some seconds, and only from the second scan on when its content changed.
	void TearDown() override
	{
		if (!guest::file_exists(leak_detector))
			return;
		sleep(6);
		guest::write_file(leak_detector, "scan");
		guest::write_file(leak_detector, "scan");
		EXPECT_EQ(guest::read_file(leak_detector), "") << "memory was leaked";
	}
};

[[maybe_unused]] testing::Environment *const reports = testing::AddGlobalTestEnvironment(new kernel_reports);

} // namespace
