// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The module is compiled for these schedules with the compiler's own hooks for a thread sanitizer: a call before each access of memory.
// Here is what they call. The module's sources know nothing of it, and the module of Linux is compiled without them.
#include <cstring>

#include "turns.hpp"
#include "watched.hpp"

using schedules::turns;

namespace {

void touches(const void *where, std::size_t size, bool write)
{
	if (schedules::fiber::running())
		turns::current().module_touches(where, size, write);
}

void marks(const void *where, std::size_t size, bool write, bool ordered)
{
	if (schedules::fiber::running())
		turns::current().module_marks(where, size, write, ordered);
}

} // namespace

#define PLAIN(size)                                                                                                                        \
	void read_##size(const void *where) __asm__("__tsan_read" #size);                                                                  \
	void read_##size(const void *where)                                                                                                \
	{                                                                                                                                  \
		touches(where, size, false);                                                                                               \
	}                                                                                                                                  \
	void write_##size(const void *where) __asm__("__tsan_write" #size);                                                                \
	void write_##size(const void *where)                                                                                               \
	{                                                                                                                                  \
		touches(where, size, true);                                                                                                \
	}

#define ATOMIC(bits, type)                                                                                                                 \
	type load_##bits(const volatile type *where, int order) __asm__("__tsan_atomic" #bits "_load");                                    \
	type load_##bits(const volatile type *where, int order)                                                                            \
	{                                                                                                                                  \
		marks(const_cast<const type *>(where), sizeof(type), false, order != __ATOMIC_RELAXED);                                    \
		return *where;                                                                                                             \
	}                                                                                                                                  \
	void store_##bits(volatile type *where, type value, int order) __asm__("__tsan_atomic" #bits "_store");                            \
	void store_##bits(volatile type *where, type value, int order)                                                                     \
	{                                                                                                                                  \
		marks(const_cast<const type *>(where), sizeof(type), true, order != __ATOMIC_RELAXED);                                     \
		*where = value;                                                                                                            \
	}

PLAIN(1)
PLAIN(2)
PLAIN(4)
PLAIN(8)
PLAIN(16)
ATOMIC(8, std::uint8_t)
ATOMIC(16, std::uint16_t)
ATOMIC(32, std::uint32_t)
ATOMIC(64, std::uint64_t)

void read_range(const void *where, std::size_t size) __asm__("__tsan_read_range");
void read_range(const void *where, std::size_t size)
{
	touches(where, size, false);
}

void write_range(const void *where, std::size_t size) __asm__("__tsan_write_range");
void write_range(const void *where, std::size_t size)
{
	touches(where, size, true);
}

void no_init() __asm__("__tsan_init");
void no_init() {}
void no_entry(void *) __asm__("__tsan_func_entry");
void no_entry(void *) {}
void no_exit(void *) __asm__("__tsan_func_exit");
void no_exit(void *) {}

extern "C" {

int watched_strcmp(const char *one, const char *other)
{
	touches(one, std::strlen(one) + 1, false);
	touches(other, std::strlen(other) + 1, false);
	return std::strcmp(one, other);
}

unsigned long watched_strlen(const char *text)
{
	touches(text, std::strlen(text) + 1, false);
	return std::strlen(text);
}

void *watched_memcpy(void *to, const void *from, unsigned long size)
{
	touches(from, size, false);
	touches(to, size, true);
	return std::memcpy(to, from, size);
}

void *watched_memchr(const void *where, int byte, unsigned long size)
{
	touches(where, size, false);
	return const_cast<void *>(std::memchr(where, byte, size));
}
}
