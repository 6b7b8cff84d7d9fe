// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What flashctl needs of a board. The board's own is kernel_flash; tests have a simulated one.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "flash_mng/client.hpp"
#include "platform_codes.hpp"

namespace flashctl {

struct mtd_device {
	std::uint32_t number; // N of /dev/mtdN
	std::string name;
	std::uint32_t type;	  // as in <mtd/mtd-abi.h>
	std::uint64_t size;	  // bytes
	std::uint32_t erase_size; // bytes of an erase block
	std::uint32_t flags;
	bool listed;				  // the module reads and writes it for programs
	bool writable = true;			  // the kernel lets it be written
	std::optional<std::uint32_t> usable = {}; // bytes that the module writes, where that is known
};

// What the kernel counts of a device since the board was started; nothing where it does not tell.
struct device_counts {
	std::optional<std::uint64_t> bad_blocks = {};
	std::optional<std::uint64_t> reserved_blocks = {}; // of a table of bad blocks; nothing else is stored there
	std::optional<std::uint64_t> corrected_bits = {};
	std::optional<std::uint64_t> ecc_failures = {};	     // reads that could not be corrected
	std::optional<std::uint64_t> bitflip_threshold = {}; // corrected bits of one step of ECC from which on a read is told of
	std::optional<std::uint64_t> ecc_strength = {};	     // bits that one step can correct
};

enum class block_state : std::uint8_t { good, worn, unreadable, bad };

// Where a platform says of its flash service that it rewrites "changed-blocks" only.
inline constexpr char service_file[] = "/usr/share/flash_mng/flash-service";

// What else a write would harm.
enum class danger : std::uint8_t {
	mounted, // a file system is mounted from the device
	ubi,	 // UBI is attached to it
	swap,	 // the kernel swaps to it
	claimed, // a program or a driver has claimed its block device
	unknown, // what is mounted cannot be told
};

// The word for it on the command line and in messages.
const char *word_of(danger kind);

struct device_use {
	danger kind;
	std::string words; // follows the partition's name: "is mounted on /data (jffs2)"
	std::string hint;
};

class flash {
public:
	virtual ~flash() = default;

	// Opens the control device; before every other function. A failure is the kernel's.
	virtual flash_mng::status open(const std::string &path) = 0;

	// What the log tells about the last time that the module was loaded, the latest last; a few lines or none. Needs no open device.
	virtual std::vector<std::string> load_log() = 0;

	// The codes of the board's platform.
	virtual platform_table platform_codes() = 0;

	// Whether the platform's flash service is known to leave erase blocks alone whose bytes a write does not change. Otherwise each
	// write may rewrite the whole partition, in any order.
	virtual bool keeps_equal_blocks() = 0;

	// Keeps other writers of the device out until the program ends, without waiting; several devices are locked one after the other.
	// EWOULDBLOCK: another flashctl writes. EBUSY: the block device is claimed; the other flashctls are kept out. ENOSYS: the board has
	// no means. EACCES: its only means is the block device, which the caller may not open.
	virtual flash_mng::status lock(const mtd_device &device) = 0;

	// Who uses the device now, as far as everybody is told.
	virtual std::vector<device_use> uses(const mtd_device &device) = 0;

	// All MTD devices, by number.
	virtual flash_mng::result<std::vector<mtd_device>> devices() = 0;

	// Bad blocks of a device as far as the kernel tells; otherwise 0.
	virtual std::uint32_t bad_blocks(const mtd_device &device) = 0;

	virtual device_counts counts(const mtd_device &device) = 0;

	// Of each erase block, by its place on the device, bad ones included. Without a scan they are good or bad; a scan reads every
	// block: one with corrected bits is worn, one that could not be corrected unreadable. A failure is the kernel's.
	virtual flash_mng::result<std::vector<block_state>> blocks(const mtd_device &device, bool scan) = 0;

	virtual flash_mng::status read(const std::string &name, std::uint32_t offset, std::span<std::byte> data) = 0;
	virtual flash_mng::status write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data) = 0;

	virtual flash_mng::result<bool> has_user_data() = 0;
	virtual flash_mng::result<flash_mng::user_data> user_data() = 0;
	virtual flash_mng::result<spi_controller_config> find_spi_flash(flash_mng::instance_id instance) = 0;
	virtual flash_mng::result<spi_controller_config> find_spi_flash(const std::string &name) = 0;
};

} // namespace flashctl
