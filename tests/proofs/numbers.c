// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* The parser's numbers and texts, for any text of up to MOST_TEXT characters. Digits are read by Linux's own code. */
#include "proof.h"

#include <../lib/ctype.c>
#include <../lib/kstrtox.c>

#include "../../reference_platform/xml_parser/services.c"
#include "bodies.h"

size_t strspn(const char *text, const char *accepted)
{
	size_t length = 0;

	while (text[length] && strchr(accepted, text[length]))
		length++;
	return length;
}

#define MOST_TEXT 12
#define MOST_DIGITS 4

/* any_text() - a text in a buffer of most + 1 bytes; returns its length. */
static u32 any_text(char *text, u32 most)
{
	u32 length = below(most + 1);
	u32 i;

	for (i = 0; i <= most; i++) {
		text[i] = nondet_u8();
		assume(i > length || (text[i] == 0) == (i == length));
	}
	return length;
}

static int digit_value(char digit, u32 base)
{
	int value = digit >= '0' && digit <= '9' ? digit - '0' :
		    digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 :
		    digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : 16;

	return value < base ? value : -1;
}

/* is_number() - decimal, or hexadecimal behind 0x or 0X, of at least one digit and at most 32 bits. */
static bool is_number(const char *text, u32 length, u32 *value)
{
	u32 base = length > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') ? 16 : 10;
	u32 first = base == 16 ? 2 : 0;
	u64 number = 0;
	u32 i;

	for (i = first; i < length; i++) {
		if (digit_value(text[i], base) < 0)
			return false;
		number = base == 16 ? number << 4 : number * 10;
		number += digit_value(text[i], base);
	}
	*value = number;
	return length > first && number <= U32_MAX;
}

/* check_number() - for a text that begins with the given one, and up to MOST_DIGITS more characters, any. */
static void check_number(const char *start)
{
	char text[MOST_TEXT + 1];
	u32 first = strlen(start);
	u32 length = first + any_text(text + first, MOST_DIGITS);
	u32 before = nondet_u32();
	u32 value = before, expected;
	bool good;

	memcpy(text, start, first);
	good = is_number(text, length, &expected);
	proved(parse_number(text, &value) == (good ? 0 : XML_BAD_NUMBER), "exactly the numbers are taken");
	proved(value == (good ? expected : before), "the value is written when it is one, and is the number's");
}

void proof_number(void)
{
	check_number("");
}

/* 4294967295 is the last that has 32 bits. */
void proof_large_number(void)
{
	check_number("4294967");
}

void proof_hexadecimal_number(void)
{
	check_number("0xff");
}

void proof_text(void)
{
	char text[MOST_TEXT + 1], to[MOST_TEXT + 1], before[MOST_TEXT + 1];
	u32 length = any_text(text, MOST_TEXT);
	u32 size = below(MOST_TEXT + 2);
	u32 at = below(MOST_TEXT + 1);
	u32 i;

	for (i = 0; i <= MOST_TEXT; i++)
		before[i] = to[i] = nondet_u8();
	proved(copy_text(text, to, size) == (length < size ? 0 : XML_TEXT_TOO_LONG), "a text is taken with its NUL or not at all");
	proved(to[at] == (length < size && at <= length ? text[at] : before[at]), "a copy is the text, a refusal writes nothing");
}

void proof_variant(void)
{
	char name[MOST_TEXT + 1];
	u32 length = any_text(name, MOST_TEXT);
	bool expected = length == 4 || length > 5;
	u32 i;

	if (length < 4 || name[0] != 'a' || name[1] != 't' || name[2] != 't' || name[3] != 'r')
		expected = false;
	if (length > 4 && name[4] != '_')
		expected = false;
	for (i = 5; i < length; i++)
		if (name[i] < '0' || name[i] > '9')
			expected = false;
	proved(is_node_or_variant(name, "attr") == expected, "\"attr\" and \"attr_<number>\" are the node");
}
