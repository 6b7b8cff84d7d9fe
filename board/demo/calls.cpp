// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "calls.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "uapi/flash_mng.h"

namespace tour {

descriptor::descriptor(const std::string &path, int flags) : fd_(open(path.c_str(), flags | O_CLOEXEC)) {}

descriptor::~descriptor()
{
	if (fd_ >= 0)
		close(fd_);
}

bool load_module(const std::string &folder, const std::string &name)
{
	descriptor module(folder + "/" + name + ".ko", O_RDONLY);
	return module.is_open() && syscall(SYS_finit_module, module.get(), "", 0) == 0;
}

bool unload_module(const std::string &name)
{
	return syscall(SYS_delete_module, name.c_str(), O_NONBLOCK) == 0;
}

uint32_t command(uint32_t number, void *record)
{
	descriptor device(FLASH_MNG_DEVICE, O_RDWR);
	if (!device.is_open())
		return FLASH_MNG_FAILED;
	const int result = ioctl(device.get(), number, record);
	return flash_mng_code(result, errno);
}

uint32_t transfer(uint32_t number, const char *partition, uint32_t offset, bytes &data)
{
	flash_mtd_io_arg request = {};
	std::strncpy(request.name, partition, sizeof(request.name) - 1);
	request.offset = offset;
	request.length = static_cast<uint32_t>(data.size());
	request.buffer = reinterpret_cast<uintptr_t>(data.data());
	return command(number, &request);
}

answer kernel_call(const std::string &line, const bytes &data)
{
	const std::string request = line + "\n" + std::string(data.begin(), data.end());
	descriptor file("/sys/kernel/debug/demo_client/call", O_RDWR);
	bytes reply(4096);
	if (write(file.get(), request.data(), request.size()) != static_cast<ssize_t>(request.size()))
		return {FLASH_MNG_FAILED, {}};
	const ssize_t size = pread(file.get(), reply.data(), reply.size(), 0);
	constexpr ssize_t code_line = 11;
	if (size < code_line)
		return {FLASH_MNG_FAILED, {}};
	const std::string code(reply.begin(), reply.begin() + code_line);
	return {static_cast<uint32_t>(std::stoul(code, nullptr, 16)), {reply.begin() + code_line, reply.begin() + size}};
}

} // namespace tour
