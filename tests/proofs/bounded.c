// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* The bounded routines, for any arguments within buffers of SIZE bytes. An armed switch may answer for any of them. */
#include "proof.h"

#include "../../reference_platform/drv_basic/bounded.c"
#include "bodies.h"

#define SIZE 6

struct fault_switches g_basic_switches;

static char g_to[SIZE], g_before[SIZE], g_from[SIZE];
static bool g_no_destination, g_no_source;

static void any_buffers(void)
{
	u32 i;

	for (i = 0; i < SIZE; i++) {
		g_before[i] = g_to[i] = nondet_u8();
		g_from[i] = nondet_u8();
	}
	g_no_destination = nondet_bool();
	g_no_source = nondet_bool();
}

/* Checks one byte, which stands for all: those of a success are the wanted ones, all others the old ones. */
static void check_result(int result, bool possible, size_t count, const char *wanted)
{
	u32 at = below(SIZE);

	proved((result == 0) == possible, "it succeeds exactly where it can");
	proved(g_to[at] == (result == 0 && at < count ? wanted[at] : g_before[at]), "what is written is wanted, a refusal writes nothing");
}

void proof_memcpy_s(void)
{
	size_t size = below(SIZE + 1), count = nondet_u64();
	bool possible;

	any_buffers();
	possible = !g_no_destination && !g_no_source && size && count <= size;
	check_result(memcpy_s(g_no_destination ? NULL : g_to, size, g_no_source ? NULL : g_from, count), possible, count, g_from);
}

void proof_strcpy_s(void)
{
	size_t size = below(SIZE + 1), length = below(SIZE);
	bool possible;
	u32 i;

	any_buffers();
	for (i = 0; i <= length; i++)
		assume((g_from[i] == 0) == (i == length));
	possible = !g_no_destination && !g_no_source && length < size;
	check_result(strcpy_s(g_no_destination ? NULL : g_to, size, g_no_source ? NULL : g_from), possible, length + 1, g_from);
}

void proof_memset_s(void)
{
	size_t size = below(SIZE + 1), count = nondet_u64();
	u8 value = nondet_u8();
	u32 i;

	any_buffers();
	for (i = 0; i < SIZE; i++)
		g_from[i] = value;
	check_result(memset_s(g_no_destination ? NULL : g_to, size, value, count), !g_no_destination && size && count <= size, count,
		     g_from);
}

/* Linux's formatting: any text, cut to what the size has room for. */
int vsnprintf(char *buf, size_t size, const char *format_text, va_list values)
{
	u32 length = below(2 * SIZE);
	size_t i;

	proved(buf == g_to && size <= SIZE && size > 0, "formatted into the buffer");
	for (i = 0; i < size; i++)
		buf[i] = i < length && i + 1 < size ? 'x' : i == length || i + 1 == size ? 0 : buf[i];
	return length;
}

static void check_format(int result, size_t size, size_t most)
{
	u32 at = below(SIZE);

	if (g_no_destination || !size) {
		proved(result < 0 && g_to[at] == g_before[at], "without room nothing is written");
		return;
	}
	proved(at < size || g_to[at] == g_before[at], "nothing is written behind the room");
	proved(result < 0 || (result < size && result <= most && g_to[result] == 0), "a success is the whole text with its NUL");
	proved(result >= 0 || g_to[0] == 0, "a failure leaves an empty text");
}

void proof_sprintf_s(void)
{
	size_t size = below(SIZE + 1);

	any_buffers();
	check_format(sprintf_s(g_no_destination ? NULL : g_to, size, "text"), size, size);
}

void proof_snprintf_s(void)
{
	size_t size = below(SIZE + 1), most = nondet_u64();

	any_buffers();
	check_format(snprintf_s(g_no_destination ? NULL : g_to, size, most, "text"), size, most);
}
