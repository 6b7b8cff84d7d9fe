// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about the commands of the control device: memory of the calling program, addresses that are none.
#pragma once

#include <cstring>

#include "partition_words.hpp"

namespace conformance {

// Bytes of the calling program, filled with a value, that end at the end of what the program may touch.
class user_bytes {
public:
	explicit user_bytes(std::size_t size, uint8_t fill = 0xEE) : memory_(harness::user_memory(size)), size_(size)
	{
		std::memset(memory_, fill, size);
	}
	explicit user_bytes(const bytes &content) : user_bytes(content.size()) { std::copy(content.begin(), content.end(), memory_); }

	uint64_t address(std::size_t offset = 0) const { return harness::user_address(memory_ + offset); }
	std::size_t size() const { return size_; }
	bytes content() const { return {memory_, memory_ + size_}; }
	void allow(access mode) { harness::protect(memory_, size_, mode); }

private:
	std::uint8_t *memory_;
	std::size_t size_;
};

// Addresses at which a record of some size cannot be written.
enum class bad_address { null, kernel, unmapped, read_only, forbidden, last };

inline const char *name_of(bad_address kind)
{
	switch (kind) {
	case bad_address::null:
		return "null";
	case bad_address::kernel:
		return "kernel";
	case bad_address::unmapped:
		return "unmapped";
	case bad_address::read_only:
		return "read_only";
	case bad_address::forbidden:
		return "forbidden";
	default:
		return "last";
	}
}

inline uint64_t make_bad_address(bad_address kind, std::size_t size)
{
	switch (kind) {
	case bad_address::null:
		return 0;
	case bad_address::kernel:
		return harness::kernel_address();
	case bad_address::unmapped:
		return harness::unmapped_address();
	case bad_address::read_only:
		return harness::user_address(harness::user_memory(size, access::read_only));
	case bad_address::forbidden:
		return harness::user_address(harness::user_memory(size, access::none));
	default:
		return UINT64_MAX;
	}
}

inline std::string name_of_address(const testing::TestParamInfo<bad_address> &row)
{
	return name_of(row.param);
}

inline const auto unwritable_addresses = testing::Values(bad_address::null, bad_address::kernel, bad_address::unmapped,
							 bad_address::read_only, bad_address::forbidden, bad_address::last);
inline const auto unreadable_addresses =
	testing::Values(bad_address::null, bad_address::kernel, bad_address::unmapped, bad_address::forbidden, bad_address::last);

// What a program gets for a code.
inline void expect_seen_as(const harness::ioctl_result &result, long value, int errno_value)
{
	EXPECT_EQ(result.value, value);
	EXPECT_EQ(result.errno_value, errno_value);
}

// The record of a read or write command.
inline constexpr std::size_t io_record_size = 48;

inline bytes io_record(std::string_view name, uint32_t offset, uint32_t length, uint64_t buffer)
{
	bytes record(io_record_size);
	std::copy_n(name.begin(), std::min<std::size_t>(name.size(), 32), record.begin());
	std::memcpy(&record[32], &offset, sizeof(offset));
	std::memcpy(&record[36], &length, sizeof(length));
	std::memcpy(&record[40], &buffer, sizeof(buffer));
	return record;
}

inline harness::ioctl_result io_command(uint32_t command, std::string_view name, uint32_t offset, uint32_t length, uint64_t buffer)
{
	const user_bytes record(io_record(name, offset, length, buffer));
	return harness::ioctl(command, record.address());
}

} // namespace conformance
