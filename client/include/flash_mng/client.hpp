// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flash_mng for C++20 programs: a handle on /dev/flash_mng whose functions are its commands.
//
//	auto device = flash_mng::device::open();
//	auto name = flash_mng::partition_name::make("usrdata");
//	if (!device || !name)
//		...
//	std::array<std::byte, 512> data;
//	if (auto done = device->read(*name, flash_mng::byte_offset{0x1000}, data); !done.ok())
//		std::fprintf(stderr, "%s\n", done.meaning());
//
// Header only. Nothing throws, nothing allocates; usable with -fno-exceptions and -fno-rtti. Every command may sleep. A handle may be used
// by several threads at a time, as long as none moves or closes it.
#pragma once

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "flash_mng/codes.hpp"
#include "flash_mng/status.hpp"
#include "uapi/flash_mng.h"

namespace flash_mng {

// First byte of a range, counted from the start of the partition. The length is that of the buffer, so the two cannot be swapped.
enum class byte_offset : std::uint32_t {};

// Instance of an SPI flash, as the board numbers it.
enum class instance_id : std::uint32_t {};

// A partition's name as a record holds it: 1 to 31 characters, no NUL among them.
class partition_name {
public:
	// Nothing when the text is not such a name.
	static constexpr std::optional<partition_name> make(std::string_view text)
	{
		if (text.empty() || text.size() > FLASH_MNG_NAME_MAX || text.find('\0') != text.npos)
			return std::nullopt;
		return partition_name(text);
	}

	constexpr std::string_view view() const { return text_; }
	constexpr const char *c_str() const { return text_; }

private:
	constexpr explicit partition_name(std::string_view text) { text.copy(text_, text.size()); }

	char text_[FLASH_MNG_NAME_SIZE] = {};
};

// The NAND partition for user data.
struct user_data {
	std::uint32_t partitions; // 1
	std::uint64_t size;	  // bytes
};

class device {
public:
	// Opens the control device. The kernel's errors: ENOENT when the module is not loaded, EACCES when the node's mode forbids it.
	static result<device> open(const char *path = FLASH_MNG_DEVICE)
	{
		const int descriptor = ::open(path, O_RDWR | O_CLOEXEC);
		if (descriptor < 0)
			return status::from_errno(errno);
		return device(descriptor);
	}

	// Takes over an open descriptor of the control device.
	static device adopt(int descriptor) { return device(descriptor); }

	device(device &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
	device &operator=(device &&other) noexcept
	{
		if (this != &other) {
			close();
			descriptor_ = std::exchange(other.descriptor_, -1);
		}
		return *this;
	}
	~device() { close(); }

	// The descriptor, still owned by the handle; -1 after a move.
	int descriptor() const { return descriptor_; }

	// Reads data.size() bytes of a listed partition. A failed read may have changed part of the buffer.
	status read(const partition_name &name, byte_offset offset, std::span<std::byte> data) const
	{
		return transfer(FLASH_MNG_MTD_READ, name, offset, data.data(), data.size());
	}

	// Changes data.size() bytes of a listed partition. Nothing is read back; after a failure part of the range may hold the new data.
	status write(const partition_name &name, byte_offset offset, std::span<const std::byte> data) const
	{
		return transfer(FLASH_MNG_MTD_WRITE, name, offset, data.data(), data.size());
	}

	// Whether the board lists a partition for programs, so that read() and write() serve it. Does not touch the flash.
	result<bool> is_listed(const partition_name &name) const
	{
		const status answer = transfer(FLASH_MNG_MTD_READ, name, byte_offset{0}, nullptr, 0);
		if (answer.is(FLASH_MNG_EMPTY_RANGE))
			return true;
		if (answer.is(FLASH_MNG_NOT_LISTED))
			return false;
		// Nothing was asked for, so success is no answer.
		return answer.ok() ? status::from_code(FLASH_MNG_FAILED) : answer;
	}

	// Fills a record of 7172 bytes with the MTD devices from number 0 up to the first number without one. Untouched or partly written
	// on failure.
	status statistics(flash_mtd_statistics &record) const { return command(FLASH_MNG_GET_MTD_STATISTICS, &record); }

	result<bool> has_user_data() const
	{
		std::uint32_t exists = 0;
		const status answer = command(FLASH_MNG_GET_NAND_IS_EXIST, &exists);
		return answer.ok() ? result<bool>(exists != 0) : answer;
	}

	// Number of NAND partitions for user data; FLASH_MNG_FAILED when there is none.
	result<std::uint32_t> user_data_count() const
	{
		std::uint32_t count = 0;
		const status answer = command(FLASH_MNG_GET_PART_NUM, &count);
		return answer.ok() ? result<std::uint32_t>(count) : answer;
	}

	// FLASH_MNG_FAILED when there is none.
	result<flash_mng::user_data> user_data() const
	{
		nand_part_info record = {};
		const status answer = command(FLASH_MNG_GET_NAND_PART_INFO, &record);
		return answer.ok() ? result<flash_mng::user_data>({record.part_num, record.size}) : answer;
	}

	// Settings of an instance's SPI flash; FLASH_MNG_NOT_FOUND when no kernel module has used it yet.
	result<spi_controller_config> find_spi_flash(instance_id instance) const
	{
		flash_find_config_arg record = {};
		record.inst_id = static_cast<std::uint32_t>(instance);
		return find(FLASH_MNG_FIND_CONFIG_BY_INST, record);
	}

	// Settings of the oldest SPI flash that has a partition of that name (at most 32 bytes).
	result<spi_controller_config> find_spi_flash(std::string_view name) const
	{
		if (name.size() > FLASH_MNG_NAME_SIZE)
			return status::from_code(FLASH_MNG_BAD_LENGTH);
		flash_find_config_arg record = {};
		record.name_length = static_cast<std::uint32_t>(name.size());
		record.name = reinterpret_cast<std::uintptr_t>(name.data());
		return find(FLASH_MNG_FIND_CONFIG, record);
	}

private:
	explicit device(int descriptor) : descriptor_(descriptor) {}

	void close()
	{
		if (descriptor_ >= 0)
			::close(descriptor_);
	}

	status command(std::uint32_t number, void *record) const
	{
		const int answer = ::ioctl(descriptor_, number, record);
		return status::from_ioctl(answer, errno);
	}

	result<spi_controller_config> find(std::uint32_t number, flash_find_config_arg &record) const
	{
		const status answer = command(number, &record);
		return answer.ok() ? result<spi_controller_config>(record.config) : answer;
	}

	status transfer(std::uint32_t number, const partition_name &name, byte_offset offset, const void *data, std::size_t length) const
	{
		if (length > std::numeric_limits<std::uint32_t>::max())
			return status::unfit_request();
		flash_mtd_io_arg record = {};
		std::memcpy(record.name, name.c_str(), name.view().size());
		record.offset = static_cast<std::uint32_t>(offset);
		record.length = static_cast<std::uint32_t>(length);
		record.buffer = reinterpret_cast<std::uintptr_t>(data);
		return command(number, &record);
	}

	int descriptor_;
};

} // namespace flash_mng
