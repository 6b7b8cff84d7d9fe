// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "kernel_side.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <fstream>

#include "record.hpp"

namespace bench {

device::device(const char *path) : fd_(open(path, O_RDWR | O_CLOEXEC))
{
	if (fd_ < 0)
		fail(std::string("cannot open ") + path);
}

device::~device()
{
	close(fd_);
}

int device::command(unsigned long number, unsigned long argument) const
{
	return ioctl(fd_, number, argument);
}

int device::command(unsigned long number, void *record) const
{
	return ioctl(fd_, number, record);
}

std::string device_path(const std::string &kind, const std::string &partition)
{
	std::ifstream list("/proc/mtd");
	for (std::string line; std::getline(list, line);)
		if (line.find("\"" + partition + "\"") != std::string::npos)
			return "/dev/" + kind + line.substr(3, line.find(':') - 3);
	fail("no partition " + partition);
}

} // namespace bench
