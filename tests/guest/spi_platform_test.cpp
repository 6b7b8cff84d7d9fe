// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The reference platform's flash driver: its answers through flash_mng, checked by the kernel module spi_flash_check, and what only
// programs can show: open partitions, unloading, its files in debugfs.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>

#include "harness.hpp"
#include "lab_device.hpp"

namespace {

const std::string debugfs = "/sys/kernel/debug/";
const std::string board_selector = debugfs + "xml_parser/reload";
const std::string held_locks = debugfs + "drv_basic/hard_locks";
const std::string driver_switches = debugfs + "spi_flash_driver/switches";

void insert(const std::string &name)
{
	if (const int error = guest::insert_module(guest::module_file(name)))
		throw std::runtime_error(name + " does not load: " + std::strerror(error));
}

void run_group(const std::string &group)
{
	const int error = guest::insert_module(guest::module_file("spi_flash_check"), "only=" + group);

	ASSERT_EQ(error, 0) << guest::kernel_messages("spi_flash_check: ");
	EXPECT_EQ(guest::remove_module_patiently("spi_flash_check"), 0);
}

// The number of an MTD device, -1 when there is none.
int mtd_number(const std::string &name)
{
	std::istringstream lines(guest::read_file("/proc/mtd"));
	std::string line;
	int number = -1;

	while (std::getline(lines, line)) {
		if (line.find('"' + name + '"') != std::string::npos)
			std::sscanf(line.c_str(), "mtd%d:", &number);
	}
	return number;
}

class spi_platform : public testing::Test {
protected:
	void SetUp() override
	{
		harness::reset();
		guest::write_file(board_selector, "cards");
		insert("flash_mng");
		insert("spi_flash_driver");
	}

	void TearDown() override
	{
		if (guest::file_exists("/sys/module/spi_flash_driver")) {
			EXPECT_EQ(guest::remove_module_patiently("spi_flash_driver"), 0);
		}
		EXPECT_EQ(guest::read_file("/proc/mtd"), "dev:    size   erasesize  name\n");
		EXPECT_EQ(guest::read_file(held_locks), "");
		harness::reset();
		guest::write_file(board_selector, "plain");
	}
};

TEST_F(spi_platform, makes_the_partitions_of_the_board)
{
	run_group("board_parts");
}

TEST_F(spi_platform, tells_sizes)
{
	run_group("sizes");
}

TEST_F(spi_platform, refuses_what_it_must)
{
	run_group("refusals");
}

TEST_F(spi_platform, refuses_what_only_another_caller_would_ask)
{
	run_group("driver_itself");
}

TEST_F(spi_platform, passes_failures_of_the_kernel_on)
{
	run_group("failing_kernel");
}

TEST_F(spi_platform, works_under_the_hardware_locks)
{
	run_group("locks");
}

TEST_F(spi_platform, keeps_partitions_that_are_open)
{
	run_group("open_partitions");
}

TEST_F(spi_platform, behaves_as_nor_flash)
{
	run_group("content");
}

TEST_F(spi_platform, serves_transfers_by_name)
{
	run_group("transfers");
}

TEST_F(spi_platform, serves_threads_side_by_side)
{
	run_group("threads");
}

TEST_F(spi_platform, fails_on_demand)
{
	guest::write_file(driver_switches, "spi_flash_get_size 2 0x71");
	guest::write_file(driver_switches, "spi_flash_create 1 0x72");
	guest::write_file(driver_switches, "spi_flash_destroy 1 0x73 sticky");
	run_group("switched");
	EXPECT_EQ(guest::read_file(driver_switches), "spi_flash_destroy 1 0x73 sticky\n");
}

TEST_F(spi_platform, takes_its_partitions_along)
{
	run_group("leave");
	EXPECT_GE(mtd_number("mtd_00000011_settings"), 0);
	EXPECT_GE(mtd_number("mtd_00000013_log"), 0);
	EXPECT_EQ(guest::remove_module_patiently("spi_flash_driver"), 0);
	EXPECT_EQ(mtd_number("mtd_00000011_settings"), -1);
	EXPECT_EQ(mtd_number("mtd_00000013_log"), -1);
}

TEST_F(spi_platform, stays_while_a_partition_is_open)
{
	run_group("leave");
	const std::string path = "/dev/mtd" + std::to_string(mtd_number("mtd_00000011_settings"));
	const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
	ASSERT_GE(file, 0) << path;
	EXPECT_EQ(guest::remove_module("spi_flash_driver"), EWOULDBLOCK);
	EXPECT_GE(mtd_number("mtd_00000011_firmware"), 0);
	close(file);
	EXPECT_EQ(guest::remove_module_patiently("spi_flash_driver"), 0);
}

TEST_F(spi_platform, keeps_flash_mng_loaded)
{
	EXPECT_EQ(guest::remove_module("flash_mng"), EWOULDBLOCK);
}

TEST_F(spi_platform, does_not_load_without_flash_mng)
{
	ASSERT_EQ(guest::remove_module_patiently("spi_flash_driver"), 0);
	ASSERT_EQ(guest::remove_module_patiently("flash_mng"), 0);
	EXPECT_EQ(guest::insert_module(guest::module_file("spi_flash_driver")), ENOENT);
}

} // namespace
