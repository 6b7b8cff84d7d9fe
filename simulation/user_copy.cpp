// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Memory of the calling program and the copies to and from it. Only memory made by user_memory() counts as the program's; a copy stops
// at the first byte that the program could not touch itself. A copy of a whole record is one of so many bytes.
#include "kernel/user_copy.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "simulation.hpp"

namespace simulation {

namespace {

constexpr std::size_t page_size = 4096;
constexpr std::uint64_t end_of_user_addresses = std::uint64_t(1) << 48;
constexpr unsigned long largest_count = 0x7fffffff;

std::map<std::uint64_t, harness::access> g_pages;
std::map<void *, std::size_t> g_mappings; // with the unmapped page behind each

int protection(harness::access mode)
{
	switch (mode) {
	case harness::access::read_write:
		return PROT_READ | PROT_WRITE;
	case harness::access::read_only:
		return PROT_READ;
	default:
		return PROT_NONE;
	}
}

void set_access_locked(std::uint64_t start, std::size_t length, harness::access mode)
{
	if (mprotect(reinterpret_cast<void *>(start), length, protection(mode)) != 0)
		misuse("mprotect() of user memory failed");
	for (std::uint64_t page = start; page < start + length; page += page_size)
		g_pages[page] = mode;
}

bool allowed_locked(std::uint64_t address, bool write)
{
	const auto page = g_pages.find(address & ~std::uint64_t(page_size - 1));

	if (page == g_pages.end() || page->second == harness::access::none)
		return false;
	return !write || page->second == harness::access::read_write;
}

// How many of the bytes from @address on the program could touch itself, up to @count.
unsigned long reachable_locked(std::uint64_t address, unsigned long count, bool write)
{
	unsigned long reachable = 0;

	while (reachable < count && allowed_locked(address + reachable, write))
		reachable += page_size - (address + reachable) % page_size;
	return std::min(reachable, count);
}

bool is_user_range(std::uint64_t address, unsigned long count)
{
	return count <= end_of_user_addresses && address <= end_of_user_addresses - count;
}

// Linux refuses copies that leave a kernel object.
void check_kernel_object(const char *function, const void *memory, unsigned long count)
{
	const auto object = allocation_around(memory);

	if (object && count > object->start + object->size - reinterpret_cast<std::uintptr_t>(memory))
		misuse("%s(): %lu bytes leave a kernel object of %zu bytes", function, count, object->size);
}

} // namespace

std::uint8_t *user_memory(std::size_t size, harness::access mode)
{
	state_guard guard;
	const auto whole = std::max<std::size_t>((size + page_size - 1) / page_size * page_size, page_size);
	void *mapping = mmap(nullptr, whole + page_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);

	if (mapping == MAP_FAILED)
		misuse("mmap() of %zu bytes of user memory failed", whole);
	g_mappings.emplace(mapping, whole + page_size);
	set_access_locked(reinterpret_cast<std::uint64_t>(mapping), whole, mode);
	return static_cast<std::uint8_t *>(mapping) + whole - size;
}

void protect(void *memory, std::size_t size, harness::access mode)
{
	state_guard guard;
	const auto start = reinterpret_cast<std::uint64_t>(memory) / page_size * page_size;
	const auto end = (reinterpret_cast<std::uint64_t>(memory) + size + page_size - 1) / page_size * page_size;

	for (auto page = start; page < end; page += page_size) {
		if (!g_pages.contains(page))
			misuse("protect(): the range is no user memory");
	}
	set_access_locked(start, end - start, mode);
}

void reset_user_memory()
{
	state_guard guard;

	for (const auto &[mapping, size] : g_mappings)
		munmap(mapping, size);
	g_mappings.clear();
	g_pages.clear();
}

} // namespace simulation

using namespace simulation;

unsigned long linux_copy_to_user(unsigned long user_address, const void *from, unsigned long count)
{
	if (auto forced = seen(call::linux_copy_to_user, {user_address, from, count}))
		return static_cast<unsigned long>(*forced);
	if (count > largest_count)
		return count;
	check_kernel_object("linux_copy_to_user", from, count);
	if (!is_user_range(user_address, count))
		return count;
	state_guard guard;
	const auto copied = reachable_locked(user_address, count, true);

	if (copied > 0)
		std::memcpy(reinterpret_cast<void *>(user_address), from, copied);
	return count - copied;
}

unsigned long linux_copy_from_user(void *to, unsigned long user_address, unsigned long count)
{
	if (auto forced = seen(call::linux_copy_from_user, {to, user_address, count}))
		return static_cast<unsigned long>(*forced);
	if (count > largest_count)
		return count;
	check_kernel_object("linux_copy_from_user", to, count);
	state_guard guard;
	const auto copied = is_user_range(user_address, count) ? reachable_locked(user_address, count, false) : 0;

	if (copied > 0)
		std::memcpy(to, reinterpret_cast<const void *>(user_address), copied);
	if (copied < count)
		std::memset(static_cast<std::uint8_t *>(to) + copied, 0, count - copied);
	return count - copied;
}

unsigned long linux_copy_number_to_user(unsigned long user_address, const u32 *from)
{
	return linux_copy_to_user(user_address, from, sizeof(*from));
}

unsigned long linux_copy_part_info_to_user(unsigned long user_address, const struct nand_part_info *from)
{
	return linux_copy_to_user(user_address, from, sizeof(*from));
}

unsigned long linux_copy_statistics_to_user(unsigned long user_address, const struct flash_mtd_statistics *from)
{
	return linux_copy_to_user(user_address, from, sizeof(*from));
}

unsigned long linux_copy_config_query_to_user(unsigned long user_address, const struct flash_find_config_arg *from)
{
	return linux_copy_to_user(user_address, from, sizeof(*from));
}

unsigned long linux_copy_config_query_from_user(struct flash_find_config_arg *to, unsigned long user_address)
{
	return linux_copy_from_user(to, user_address, sizeof(*to));
}

unsigned long linux_copy_io_request_from_user(struct flash_mtd_io_arg *to, unsigned long user_address)
{
	return linux_copy_from_user(to, user_address, sizeof(*to));
}
