// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "calls.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace torture {

open_device::open_device(const char *path) : descriptor_(open(path, O_RDWR | O_CLOEXEC))
{
	if (descriptor_ < 0)
		throw std::runtime_error(std::string(path) + ": " + std::strerror(errno));
}

open_device::~open_device()
{
	close(descriptor_);
}

uint32_t flash_mng_access::command_at(uint32_t number, uint64_t address) const
{
	errno = 0;
	const int result = ioctl(device_.descriptor(), number, address);
	return flash_mng_code(result, errno);
}

uint32_t flash_mng_access::transfer(uint32_t number, std::string_view partition, uint32_t offset, const void *buffer, uint32_t length) const
{
	flash_mtd_io_arg request = {};
	std::copy_n(partition.data(), std::min(partition.size(), sizeof(request.name)), request.name);
	request.offset = offset;
	request.length = length;
	request.buffer = address_of(buffer);
	return command(number, &request);
}

int flash_mng_access::try_make(flash_call &call) const
{
	return ioctl(calls_.descriptor(), FLASH_CALLS_CALL, &call) == 0 ? 0 : errno;
}

void flash_mng_access::make(flash_call &call) const
{
	if (const int error = try_make(call))
		throw std::runtime_error("flash_calls: function " + std::to_string(call.function) + ": " + std::strerror(error));
}

export_call &export_call::add(uint32_t kind, uint64_t value, uint64_t size, uint32_t number)
{
	call_.arguments[count_++] = {kind, number, value, size};
	return *this;
}

export_call &export_call::value(uint64_t number)
{
	return add(CALL_VALUE, number, 0);
}

export_call &export_call::memory(void *address, std::size_t size)
{
	return add(CALL_MEMORY, address_of(address), size);
}

export_call &export_call::memory_in(const void *address, std::size_t size)
{
	return add(CALL_MEMORY_IN, address_of(address), size);
}

export_call &export_call::text(const char *name)
{
	return memory_in(name, std::strlen(name) + 1);
}

export_call &export_call::parts(std::span<const flash_part> parts)
{
	return add(CALL_PARTS, address_of(parts.data()), parts.size_bytes(), static_cast<uint32_t>(parts.size()));
}

export_call &export_call::driver(bool present)
{
	return add(CALL_DRIVER, present, 0);
}

export_call &export_call::fail(uint32_t nth)
{
	call_.fail_nth = nth;
	return *this;
}

uint32_t export_call::make(const flash_mng_access &access)
{
	access.make(call_);
	return static_cast<uint32_t>(call_.result);
}

} // namespace torture
