// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Making the records of flash_mng's commands and of flash_bench's calls.
#pragma once

#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "record.hpp"
#include "uapi/flash_mng.h"

namespace bench {

inline flash_mtd_io_arg io_request(const std::string &partition, std::uint32_t offset, std::uint32_t length, void *buffer)
{
	flash_mtd_io_arg request = {};
	std::strncpy(request.name, partition.c_str(), sizeof(request.name) - 1);
	request.offset = offset;
	request.length = length;
	request.buffer = reinterpret_cast<std::uintptr_t>(buffer);
	return request;
}

inline std::uint32_t code_of(const device &flash, unsigned long command, void *record)
{
	const int result = ioctl(flash.get(), command, record);
	return flash_mng_code(result, errno);
}

// As a program does it that has nothing open: open, one command, close.
inline std::uint32_t whole_command(unsigned long command, void *record)
{
	const device flash(FLASH_MNG_DEVICE);
	return code_of(flash, command, record);
}

inline bench_request kernel_call(bench_call call, std::uint32_t times, const std::string &partition, const std::string &path,
				 std::uint32_t offset, bytes &buffer, std::uint32_t length)
{
	bench_request request = {};
	request.call = call;
	request.times = times;
	request.offset = offset;
	request.length = length;
	request.changed = length;
	request.buffer = reinterpret_cast<std::uintptr_t>(buffer.data());
	std::strncpy(request.name, partition.c_str(), sizeof(request.name) - 1);
	std::strncpy(request.path, path.c_str(), sizeof(request.path) - 1);
	return request;
}

inline std::uint32_t run_call(const device &kernel, bench_request &request)
{
	if (kernel.command(BENCH_RUN, &request))
		fail("the kernel refuses a call");
	return request.code;
}

} // namespace bench
