// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board's flash, through the module's control device; bad blocks, and devices that the module's statistics leave out, from sysfs.
#pragma once

#include <optional>

#include "flash.hpp"

namespace flashctl {

class kernel_flash : public flash {
public:
	// root: what stands before /sys, /proc, /usr and the log's files in /dev; for tests.
	explicit kernel_flash(const std::string &root = "") : root_(root), mtd_folder_(root + "/sys/class/mtd") {}
	kernel_flash(const kernel_flash &) = delete;
	kernel_flash &operator=(const kernel_flash &) = delete;
	~kernel_flash() override;

	flash_mng::status open(const std::string &path) override;

	// An advisory lock (flock) on the control device's node, and an exclusive claim of the block device, which keeps a mounted file
	// system out too. A kernel without file locks, or one without mtdblock, has one of them.
	flash_mng::status lock(const mtd_device &device) override;

	std::vector<device_use> uses(const mtd_device &device) override;
	std::vector<std::string> load_log() override;

	// The table that the platform ships, or the reference platform's where that is loaded; otherwise an empty one.
	platform_table platform_codes() override;

	// So does the reference platform's; another one's when it says so.
	bool keeps_equal_blocks() override;

	flash_mng::result<std::vector<mtd_device>> devices() override;
	std::uint32_t bad_blocks(const mtd_device &device) override;
	device_counts counts(const mtd_device &device) override;

	// From the character device, read only.
	flash_mng::result<std::vector<block_state>> blocks(const mtd_device &device, bool scan) override;

	flash_mng::status read(const std::string &name, std::uint32_t offset, std::span<std::byte> data) override;
	flash_mng::status write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data) override;
	flash_mng::result<bool> has_user_data() override;
	flash_mng::result<flash_mng::user_data> user_data() override;
	flash_mng::result<spi_controller_config> find_spi_flash(flash_mng::instance_id instance) override;
	flash_mng::result<spi_controller_config> find_spi_flash(const std::string &name) override;

private:
	bool has_reference_platform() const;
	std::vector<mtd_device> kernel_devices() const;
	std::optional<mtd_device> kernel_device(std::uint32_t number) const;
	flash_mng::status mark_listed(std::vector<mtd_device> &devices) const;

	void add_facts(std::vector<mtd_device> &devices) const;

	std::string root_, mtd_folder_;
	std::optional<flash_mng::device> device_;
	std::vector<int> claims_; // descriptors
};

} // namespace flashctl
