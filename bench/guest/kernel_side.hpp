// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The device of the module flash_bench, and the counter that it opened to programs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench_abi.h"

namespace bench {

using bytes = std::vector<std::uint8_t>;

// Instructions until now, modulo 2^32.
inline std::uint32_t counter()
{
	std::uint64_t count = 0;
	asm volatile("isb\n\tmrs %0, pmevcntr0_el0" : "=r"(count)::"memory");
	return static_cast<std::uint32_t>(count);
}

// An open device file; one that cannot be opened ends the program.
class device {
public:
	explicit device(const char *path);
	~device();
	device(const device &) = delete;
	device &operator=(const device &) = delete;

	int get() const { return fd_; }
	int command(unsigned long number, unsigned long argument) const;
	int command(unsigned long number, void *record) const;

private:
	int fd_;
};

// "/dev/<kind><N>" of an MTD partition.
std::string device_path(const std::string &kind, const std::string &partition);

} // namespace bench
