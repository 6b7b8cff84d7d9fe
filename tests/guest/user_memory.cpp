// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Memory of this process that ends at the end of its mapping, with a page behind it that nobody may touch.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "harness.hpp"
#include "parts.hpp"

namespace {

const std::size_t page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));

struct mapping {
	void *start;
	std::size_t size;
};

std::mutex g_lock;
std::vector<mapping> g_mappings;

std::size_t whole_pages(std::size_t size)
{
	return (size + page_size - 1) / page_size * page_size;
}

int protection(harness::access mode)
{
	switch (mode) {
	case harness::access::read_write:
		return PROT_READ | PROT_WRITE;
	case harness::access::read_only:
		return PROT_READ;
	case harness::access::none:
		break;
	}
	return PROT_NONE;
}

[[noreturn]] void throw_error(const char *what)
{
	throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

} // namespace

namespace guest {

void release_user_memory()
{
	const std::scoped_lock held(g_lock);
	for (const mapping &one : g_mappings)
		munmap(one.start, one.size);
	g_mappings.clear();
}

} // namespace guest

namespace harness {

std::uint8_t *user_memory(std::size_t size, access mode)
{
	const std::size_t usable = whole_pages(size);
	void *start = mmap(nullptr, usable + page_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
	if (start == MAP_FAILED)
		throw_error("no user memory");
	const std::scoped_lock held(g_lock);
	g_mappings.push_back({start, usable + page_size});
	if (usable && mprotect(start, usable, protection(mode)))
		throw_error("user memory cannot be protected");
	return static_cast<std::uint8_t *>(start) + usable - size;
}

uint64_t user_address(const void *memory)
{
	return reinterpret_cast<uint64_t>(memory);
}

void protect(void *memory, std::size_t size, access mode)
{
	const auto first = reinterpret_cast<std::uintptr_t>(memory) / page_size * page_size;
	const auto end = whole_pages(reinterpret_cast<std::uintptr_t>(memory) + size);
	if (mprotect(reinterpret_cast<void *>(first), end - first, protection(mode)))
		throw_error("user memory cannot be protected");
}

} // namespace harness
