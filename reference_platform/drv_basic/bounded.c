// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The bounded routines. A copy or fill that is refused writes nothing; a formatting that fails leaves an empty text.
 */
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/string.h>

#include "fault_switches.h"
#include "platform/bounded.h"
#include "platform_status.h"
#include "switches.h"

static int check_copy(const void *dest, size_t dest_size, const void *src, size_t count)
{
	if (!dest || !src || !dest_size)
		return BOUNDED_BAD_ARGUMENT;
	return count > dest_size ? BOUNDED_NO_ROOM : 0;
}

int strcpy_s(char *dest, size_t dest_size, const char *src)
{
	size_t needed = src ? strlen(src) + 1 : 0;
	u32 status;
	int result;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	result = check_copy(dest, dest_size, src, needed);
	if (!result)
		memcpy(dest, src, needed);
	return result;
}
EXPORT_SYMBOL(strcpy_s);

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count)
{
	u32 status;
	int result;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	result = check_copy(dest, dest_size, src, count);
	if (!result)
		memcpy(dest, src, count);
	return result;
}
EXPORT_SYMBOL(memcpy_s);

int memset_s(void *dest, size_t dest_size, int c, size_t count)
{
	u32 status;
	int result;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	result = check_copy(dest, dest_size, dest, count);
	if (!result)
		memset(dest, c, count);
	return result;
}
EXPORT_SYMBOL(memset_s);

static __printf(4, 0) int format(char *dest, size_t dest_size, size_t most, const char *fmt, va_list values)
{
	int length;

	if (!dest || !dest_size || !fmt)
		return BOUNDED_FORMAT_FAILED;
	length = vsnprintf(dest, dest_size, fmt, values);
	if (length >= 0 && length < dest_size && length <= most)
		return length;
	dest[0] = '\0';
	return BOUNDED_FORMAT_FAILED;
}

int sprintf_s(char *dest, size_t dest_size, const char *fmt, ...)
{
	va_list values;
	u32 status;
	int result;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	va_start(values, fmt);
	result = format(dest, dest_size, dest_size, fmt, values);
	va_end(values);
	return result;
}
EXPORT_SYMBOL(sprintf_s);

int snprintf_s(char *dest, size_t dest_size, size_t count, const char *fmt, ...)
{
	va_list values;
	u32 status;
	int result;

	if (fault_switched(&g_basic_switches, __func__, &status))
		return status;
	va_start(values, fmt);
	result = format(dest, dest_size, count, fmt, values);
	va_end(values);
	return result;
}
EXPORT_SYMBOL(snprintf_s);
