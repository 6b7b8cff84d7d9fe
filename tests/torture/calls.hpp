// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The two ways into flash_mng: commands of its device, made by this process, and its exports, through the module flash_calls.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "calls/flash_calls_abi.h"
#include "flash_mng.h"

namespace torture {

using bytes = std::vector<uint8_t>;

// A file that is open as long as the object lives; throws std::runtime_error when it cannot be opened.
class open_device {
public:
	explicit open_device(const char *path);
	open_device(const open_device &) = delete;
	open_device &operator=(const open_device &) = delete;
	~open_device();

	int descriptor() const { return descriptor_; }

private:
	int descriptor_;
};

inline uint64_t address_of(const void *memory)
{
	return reinterpret_cast<uint64_t>(memory);
}

// flash_mng and flash_calls, which cannot be unloaded meanwhile. Any number of threads may use one object.
class flash_mng_access {
public:
	// The code that a command answers with.
	uint32_t command(uint32_t number, const void *record) const { return command_at(number, address_of(record)); }
	uint32_t command_at(uint32_t number, uint64_t address) const;
	// FLASH_MNG_MTD_READ or FLASH_MNG_MTD_WRITE.
	uint32_t transfer(uint32_t number, std::string_view partition, uint32_t offset, const void *buffer, uint32_t length) const;

	// Makes the call; its result is in the record. Throws when flash_calls itself fails.
	void make(flash_call &call) const;
	// The same, without an exception: 0 or an errno.
	int try_make(flash_call &call) const;

	int device() const { return device_.descriptor(); }
	int calls() const { return calls_.descriptor(); }

private:
	open_device device_{FLASH_MNG_DEVICE};
	open_device calls_{FLASH_CALLS_DEVICE};
};

// A call of an export, argument after argument. Memory given stays the caller's and has to live until the call is made.
class export_call {
public:
	explicit export_call(flash_call_function function) { call_.function = function; }

	export_call &value(uint64_t number);
	export_call &memory(void *address, std::size_t size);
	export_call &memory_in(const void *address, std::size_t size);
	export_call &text(const char *name);
	export_call &parts(std::span<const flash_part> parts);
	// The flash driver of flash_calls, or none.
	export_call &driver(bool present);

	// The n-th fault point of the call fails.
	export_call &fail(uint32_t nth);

	uint32_t make(const flash_mng_access &access);
	// Whether that fault happened.
	bool failed() const { return call_.fail_left == 0; }
	const flash_call &record() const { return call_; }

private:
	export_call &add(uint32_t kind, uint64_t value, uint64_t size, uint32_t number = 0);

	flash_call call_ = {};
	uint32_t count_ = 0;
};

} // namespace torture
