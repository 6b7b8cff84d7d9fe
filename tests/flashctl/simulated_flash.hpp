// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A board's flash in memory, as strict as the module: it checks requests as the module does, fails when it is told to, and lies when it is
// told to.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "flash.hpp"

namespace flashctl_tests {

using flash_mng::result;
using flash_mng::status;
using flashctl::bytes;

struct partition {
	flashctl::mtd_device device;
	bytes content;
	std::uint32_t usable; // avail_size of a listed partition
	std::uint32_t bad = 0;
	flashctl::device_counts counts = {};
	std::vector<flashctl::block_state> blocks = {}; // none: where they are cannot be told
};

class simulated_flash : public flashctl::flash {
public:
	// The demo board: boot, config (listed), usrdata (listed) and rootfs on NAND, nor, ram0; one SPI flash of instance 5 with "spi_a".
	simulated_flash();

	// The n-th call from now on, counted over all functions from 1, is answered with this and does nothing else.
	void fail_call(std::size_t n, status with);

	// Every call from the n-th on.
	void fail_from(std::size_t n, status with);

	// Runs after a write that succeeded, or after a read into the buffer.
	std::function<void(partition &)> after_write;
	std::function<void(std::span<std::byte>)> after_read;
	bool reads_leave_buffer = false; // reads succeed without a byte

	std::vector<std::string> calls; // names of the functions called, in order

	partition &part(const std::string &name);
	std::vector<partition> parts;
	bool user_data_exists = true;
	bool equal_blocks_stay = true;		 // a write leaves erase blocks alone that it does not change
	std::vector<flashctl::device_use> users; // of whichever device
	std::vector<std::string> log;
	status lock_answer, write_answer; // unless they are success
	flashctl::platform_table platform = flashctl::reference_platform_table();
	spi_controller_config spi = {5, 5, 1, 2, 3, 1, 0, 0};
	std::string spi_name = "spi_a";

	status open(const std::string &path) override;
	status lock(const flashctl::mtd_device &device) override;
	std::vector<flashctl::device_use> uses(const flashctl::mtd_device &device) override;
	std::vector<std::string> load_log() override { return log; }
	flashctl::platform_table platform_codes() override { return platform; }
	bool keeps_equal_blocks() override { return equal_blocks_stay; }
	result<std::vector<flashctl::mtd_device>> devices() override;
	std::uint32_t bad_blocks(const flashctl::mtd_device &device) override;
	flashctl::device_counts counts(const flashctl::mtd_device &device) override { return part(device.name).counts; }
	result<std::vector<flashctl::block_state>> blocks(const flashctl::mtd_device &device, bool scan) override;
	status read(const std::string &name, std::uint32_t offset, std::span<std::byte> data) override;
	status write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data) override;
	result<bool> has_user_data() override;
	result<flash_mng::user_data> user_data() override;
	result<spi_controller_config> find_spi_flash(flash_mng::instance_id instance) override;
	result<spi_controller_config> find_spi_flash(const std::string &name) override;

private:
	status called(const char *function);
	partition *find(const std::string &name);

	std::size_t fail_first_ = 0, fail_last_ = 0;
	status failure_;
};

// The content that a partition of the simulated board begins with.
bytes pattern(std::size_t size, unsigned seed);

// Text as data.
bytes data_of(std::string_view text);

} // namespace flashctl_tests
