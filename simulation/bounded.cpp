// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The bounded routines of the platform module "drv_basic". A copy or fill that is refused writes nothing; a formatting that fails leaves
// an empty text.
#include "platform/bounded.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "../../reference_platform/include/platform_status.h"
#include "simulation.hpp"

using namespace simulation;

namespace {

int check_copy(const void *dest, size_t dest_size, const void *src, size_t count)
{
	if (!dest || !src || dest_size == 0)
		return BOUNDED_BAD_ARGUMENT;
	return count > dest_size ? BOUNDED_NO_ROOM : 0;
}

int format(char *dest, size_t dest_size, size_t most, const char *fmt, va_list values)
{
	if (!dest || dest_size == 0 || !fmt)
		return BOUNDED_FORMAT_FAILED;
	const int length = std::vsnprintf(dest, dest_size, fmt, values);
	if (length >= 0 && static_cast<size_t>(length) < dest_size && static_cast<size_t>(length) <= most)
		return length;
	dest[0] = '\0';
	return BOUNDED_FORMAT_FAILED;
}

} // namespace

int strcpy_s(char *dest, size_t dest_size, const char *src)
{
	if (auto forced = seen(call::strcpy_s, {dest, dest_size, src}))
		return static_cast<int>(*forced);
	const size_t needed = src ? std::strlen(src) + 1 : 0;
	const int result = check_copy(dest, dest_size, src, needed);

	if (result == 0)
		std::memcpy(dest, src, needed);
	return result;
}

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count)
{
	if (auto forced = seen(call::memcpy_s, {dest, dest_size, src, count}))
		return static_cast<int>(*forced);
	const int result = check_copy(dest, dest_size, src, count);

	if (result == 0)
		std::memcpy(dest, src, count);
	return result;
}

int memset_s(void *dest, size_t dest_size, int c, size_t count)
{
	if (auto forced = seen(call::memset_s, {dest, dest_size, c, count}))
		return static_cast<int>(*forced);
	const int result = check_copy(dest, dest_size, dest, count);

	if (result == 0)
		std::memset(dest, c, count);
	return result;
}

int sprintf_s(char *dest, size_t dest_size, const char *fmt, ...)
{
	va_list values;

	if (auto forced = seen(call::sprintf_s, {dest, dest_size, fmt}))
		return static_cast<int>(*forced);
	va_start(values, fmt);
	const int result = format(dest, dest_size, dest_size, fmt, values);
	va_end(values);
	return result;
}

int snprintf_s(char *dest, size_t dest_size, size_t count, const char *fmt, ...)
{
	va_list values;

	if (auto forced = seen(call::snprintf_s, {dest, dest_size, count, fmt}))
		return static_cast<int>(*forced);
	va_start(values, fmt);
	const int result = format(dest, dest_size, count, fmt, values);
	va_end(values);
	return result;
}
