// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What flashctl needs of a board. The board's own is kernel_flash; tests have a simulated one.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "flash_mng/client.hpp"

namespace flashctl {

struct mtd_device {
	std::uint32_t number; // N of /dev/mtdN
	std::string name;
	std::uint32_t type;	  // as in <mtd/mtd-abi.h>
	std::uint64_t size;	  // bytes
	std::uint32_t erase_size; // bytes of an erase block
	std::uint32_t flags;
	bool listed; // the module reads and writes it for programs
};

class flash {
public:
	virtual ~flash() = default;

	// Opens the control device; before every other function. A failure is the kernel's.
	virtual flash_mng::status open(const std::string &path) = 0;

	// Keeps other writers of the device out until the program ends, without waiting: EWOULDBLOCK or EBUSY when there is one, ENOSYS
	// when the board has no means.
	virtual flash_mng::status lock(const mtd_device &device) = 0;

	// All MTD devices, by number.
	virtual flash_mng::result<std::vector<mtd_device>> devices() = 0;

	// Bad blocks of a device as far as the kernel tells; otherwise 0.
	virtual std::uint32_t bad_blocks(const mtd_device &device) = 0;

	virtual flash_mng::status read(const std::string &name, std::uint32_t offset, std::span<std::byte> data) = 0;
	virtual flash_mng::status write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data) = 0;

	virtual flash_mng::result<bool> has_user_data() = 0;
	virtual flash_mng::result<flash_mng::user_data> user_data() = 0;
	virtual flash_mng::result<spi_controller_config> find_spi_flash(flash_mng::instance_id instance) = 0;
	virtual flash_mng::result<spi_controller_config> find_spi_flash(const std::string &name) = 0;
};

} // namespace flashctl
