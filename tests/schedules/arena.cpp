// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "arena.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#ifdef SCHEDULES_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#endif

namespace schedules {

namespace {

void *bytes_at(address where)
{
	return reinterpret_cast<void *>(where);
}

} // namespace

arena::arena() : marks_(regions * region_size / granule)
{
	void *memory = mmap(nullptr, regions * region_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);

	if (memory == MAP_FAILED)
		std::abort();
	start_ = reinterpret_cast<address>(memory);
	ASAN_POISON_MEMORY_REGION(memory, regions * region_size);
}

arena::~arena()
{
	ASAN_UNPOISON_MEMORY_REGION(bytes_at(start_), regions * region_size);
	munmap(bytes_at(start_), regions * region_size);
}

void arena::reset()
{
	for (unsigned region = 0; region < regions; ++region) {
		const address first = start_ + region * region_size;
		std::fill_n(marks_.begin() + static_cast<std::ptrdiff_t>((first - start_) / granule), used_[region] / granule, 0);
		ASAN_POISON_MEMORY_REGION(bytes_at(first), used_[region]);
		used_[region] = 0;
	}
}

void *arena::take(unsigned region, std::size_t size)
{
	const std::size_t whole = (size + granule - 1) / granule * granule;
	address where = start_ + region * region_size + used_[region];

	if (used_[region] + whole + granule > region_size)
		return nullptr;
	used_[region] += whole + granule; // what is between two pieces belongs to none
	for (std::size_t at = 0; at < size; at += granule)
		mark(where + at) = static_cast<std::uint8_t>(std::min(size - at, granule));
	ASAN_UNPOISON_MEMORY_REGION(bytes_at(where), size);
	return bytes_at(where);
}

std::size_t arena::size_of(const void *memory) const
{
	const auto start = reinterpret_cast<address>(memory);
	std::size_t size = 0;

	while (mark(start + size) == granule)
		size += granule;
	return mark(start + size) == freed ? size : size + mark(start + size);
}

void arena::give(void *memory)
{
	const auto start = reinterpret_cast<address>(memory);
	const std::size_t size = size_of(memory);

	for (std::size_t at = 0; at < size; at += granule)
		mark(start + at) = freed;
	ASAN_POISON_MEMORY_REGION(memory, size);
}

bool arena::contains(address where) const
{
	return where >= start_ && where < start_ + regions * region_size;
}

bool arena::is_live(address start, std::size_t size) const
{
	for (address at = start / granule * granule; at < start + size; at += granule) {
		const std::size_t needed = std::min(start + size - at, granule);
		if (mark(at) == freed || mark(at) < needed)
			return false;
	}
	return true;
}

} // namespace schedules
