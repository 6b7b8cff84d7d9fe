// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "groups.h"
#include "platform/bounded.h"
#include "platform_status.h"

static char g_text[8];
static const size_t g_size = sizeof(g_text);

static void check_strcpy(void)
{
	CHECK_EQ(strcpy_s(g_text, g_size, "1234567"), 0);
	CHECK(!strcmp(g_text, "1234567"));
	CHECK_EQ(strcpy_s(g_text, g_size, "12345678"), BOUNDED_NO_ROOM);
	CHECK_EQ(strcpy_s(g_text, 0, "1"), BOUNDED_BAD_ARGUMENT);
	CHECK_EQ(strcpy_s(NULL, g_size, "1"), BOUNDED_BAD_ARGUMENT);
	CHECK_EQ(strcpy_s(g_text, g_size, NULL), BOUNDED_BAD_ARGUMENT);
	CHECK(!strcmp(g_text, "1234567"));
}

static void check_memory(void)
{
	CHECK_EQ(memset_s(g_text, g_size, 'z', 8), 0);
	CHECK_EQ(memset_s(g_text, 4, 'y', 5), BOUNDED_NO_ROOM);
	CHECK_EQ(memset_s(g_text, 0, 'y', 0), BOUNDED_BAD_ARGUMENT);
	CHECK_EQ(memset_s(NULL, 4, 'y', 4), BOUNDED_BAD_ARGUMENT);
	CHECK_EQ(memcpy_s(g_text, 4, "abcd", 4), 0);
	CHECK_EQ(memcpy_s(g_text, 4, "ABCDE", 5), BOUNDED_NO_ROOM);
	CHECK_EQ(memcpy_s(g_text, 4, "A", ~0UL), BOUNDED_NO_ROOM);
	CHECK_EQ(memcpy_s(g_text, 0, "A", 1), BOUNDED_BAD_ARGUMENT);
	CHECK_EQ(memcpy_s(g_text, 4, NULL, 1), BOUNDED_BAD_ARGUMENT);
	CHECK_EQ(memcpy_s(NULL, 4, "A", 1), BOUNDED_BAD_ARGUMENT);
	CHECK(!memcmp(g_text, "abcdzzzz", 8));
}

static void check_formatting(void)
{
	const char *no_format = NULL;

	OPTIMIZER_HIDE_VAR(no_format); /* the compiler refuses a NULL that it sees */
	CHECK_EQ(sprintf_s(g_text, g_size, "%s", "1234567"), 7);
	CHECK(!strcmp(g_text, "1234567"));
	CHECK_EQ(sprintf_s(g_text, g_size, "%s", "12345678"), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(g_text[0], 0);
	CHECK_EQ(sprintf_s(g_text, 0, "%s", "1"), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(snprintf_s(g_text, g_size, 7, "%u", 1234567), 7);
	CHECK_EQ(snprintf_s(g_text, g_size, 6, "%u", 1234567), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(g_text[0], 0);
	CHECK_EQ(snprintf_s(g_text, 4, 7, "%u", 123), 3);
	CHECK_EQ(snprintf_s(g_text, 4, 7, "%u", 1234), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(snprintf_s(NULL, 4, 3, "%u", 1), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(snprintf_s(g_text, 0, 3, "%u", 1), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(snprintf_s(g_text, 4, 3, no_format), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(sprintf_s(NULL, 4, "%u", 1), BOUNDED_FORMAT_FAILED);
	CHECK_EQ(sprintf_s(g_text, 4, no_format), BOUNDED_FORMAT_FAILED);
}

void check_bounded(void)
{
	check_strcpy();
	check_memory();
	check_formatting();
}
