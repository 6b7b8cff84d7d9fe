// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux's allocators on malloc(): exact sizes, so that a sanitizer sees every byte beyond them, and a registry of what is live.
#include "kernel/memory.h"

#include <cstdlib>
#include <cstring>
#include <map>

#include "simulation.hpp"

namespace simulation {

namespace {

enum class pool { heap, virtual_memory };

struct block {
	std::size_t size;
	pool from;
};

// Linux's answer to a request for no bytes, and the largest request that its heap can serve with 4 KiB pages.
void *const no_bytes = reinterpret_cast<void *>(16);
constexpr std::size_t largest_heap_request = std::size_t(4) << 20;
// How far memory that Linux does not clear is filled, to show who relies on its content.
constexpr std::size_t filled = std::size_t(16) << 20;

std::map<std::uintptr_t, block> g_live;
std::size_t g_live_bytes;

void *taken(std::size_t size, pool from, bool zeroed)
{
	state_guard guard;

	if (size > memory_limit - g_live_bytes)
		return nullptr;
	void *memory = g_call_scheduler ? g_call_scheduler->take_memory(size) : zeroed ? std::calloc(1, size) : std::malloc(size);
	if (!memory)
		return nullptr;
	if (!zeroed)
		std::memset(memory, 0xa5, std::min(size, filled));
	else if (g_call_scheduler)
		std::memset(memory, 0, size);
	g_live.emplace(reinterpret_cast<std::uintptr_t>(memory), block{size, from});
	g_live_bytes += size;
	return memory;
}

void *from_heap(std::size_t size)
{
	if (size == 0)
		return no_bytes;
	return size > largest_heap_request ? nullptr : taken(size, pool::heap, true);
}

void *from_virtual_memory(std::size_t size, bool zeroed)
{
	return size == 0 ? nullptr : taken(size, pool::virtual_memory, zeroed);
}

void dispose(void *memory)
{
	if (g_call_scheduler)
		g_call_scheduler->give_memory(memory);
	else
		std::free(memory);
}

void given_back(const char *function, const void *memory, pool to)
{
	state_guard guard;
	const auto found = g_live.find(reinterpret_cast<std::uintptr_t>(memory));

	if (found == g_live.end())
		misuse("%s(%p): not the start of live memory (freed twice, or never allocated)", function, memory);
	if (found->second.from != to)
		misuse("%s(%p): the memory comes from the other allocator", function, memory);
	forget_locks_locked(found->first, found->second.size);
	g_live_bytes -= found->second.size;
	g_live.erase(found);
	dispose(const_cast<void *>(memory));
}

long count_of(pool from)
{
	state_guard guard;
	long count = 0;

	for (const auto &[address, block] : g_live)
		count += block.from == from;
	return count;
}

} // namespace

std::optional<allocation> allocation_around(const void *address)
{
	state_guard guard;
	const auto wanted = reinterpret_cast<std::uintptr_t>(address);
	auto after = g_live.upper_bound(wanted);

	if (after == g_live.begin())
		return std::nullopt;
	const auto &[start, block] = *--after;
	if (wanted - start >= block.size)
		return std::nullopt;
	return allocation{start, block.size};
}

long heap_allocations()
{
	return count_of(pool::heap);
}

long virtual_allocations()
{
	return count_of(pool::virtual_memory);
}

void reset_memory()
{
	state_guard guard;

	for (const auto &[address, block] : g_live)
		dispose(reinterpret_cast<void *>(address));
	g_live.clear();
	g_live_bytes = 0;
}

} // namespace simulation

using namespace simulation;

void *linux_kzalloc(size_t size)
{
	if (auto forced = seen(call::linux_kzalloc, {size}))
		return as_pointer<void>(*forced);
	return from_heap(size);
}

void *linux_kcalloc(size_t count, size_t size)
{
	size_t bytes;

	if (auto forced = seen(call::linux_kcalloc, {count, size}))
		return as_pointer<void>(*forced);
	return __builtin_mul_overflow(count, size, &bytes) ? nullptr : from_heap(bytes);
}

char *linux_kstrdup(const char *text)
{
	if (auto forced = seen(call::linux_kstrdup, {text}))
		return as_pointer<char>(*forced);
	const size_t size = std::strlen(text) + 1;
	return static_cast<char *>(std::memcpy(from_heap(size), text, size));
}

void kfree(const void *memory)
{
	if (seen(call::kfree, {memory}) || !memory || memory == no_bytes)
		return;
	given_back("kfree", memory, pool::heap);
}

void *vzalloc(unsigned long size)
{
	if (auto forced = seen(call::vzalloc, {size}))
		return as_pointer<void>(*forced);
	return from_virtual_memory(size, true);
}

void *vmalloc(unsigned long size)
{
	if (auto forced = seen(call::vmalloc, {size}))
		return as_pointer<void>(*forced);
	return from_virtual_memory(size, false);
}

void vfree(const void *memory)
{
	if (seen(call::vfree, {memory}) || !memory)
		return;
	given_back("vfree", memory, pool::virtual_memory);
}
