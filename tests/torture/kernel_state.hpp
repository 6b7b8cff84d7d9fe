// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the kernel and the reference platform say about what flash_mng uses and holds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace torture {

// Kilobytes in use of /proc/meminfo: slab that cannot be reclaimed, and vmalloc. Freed blocks that KASAN still holds back are given back
// first.
struct memory_use {
	long slab;
	long vmalloc;
};
memory_use memory_in_use();
std::string text_of(const memory_use &use);

// What is held while no call is running: references of the modules that bring flash devices, virtual memory of flash_mng, hardware locks.
// One line each; two lists are compared.
std::vector<std::string> holdings();

// 0 as long as the kernel has reported nothing that it remembers: warnings, oopses, memory errors. Out-of-tree modules do not count.
uint64_t taint();

// Blocks without a reference to them that kmemleak finds, apart from those found before; needs some seconds. As kmemleak prints them;
// none on a kernel without it.
std::string leaks();

// The whole number behind NAME= on the kernel command line.
uint64_t parameter(const std::string &name, uint64_t otherwise);

// A line in the kernel log.
void tell_kernel_log(const std::string &line);

} // namespace torture
