// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* The header of a compiled board description, for any file of up to MOST bytes, and board names of any text up to one too long. */
#include "proof.h"

#include <../lib/ctype.c>

#include "../../reference_platform/xml_parser/board_file.c"
#include "bodies.h"

#define MOST 72

static const u8 *g_file;
static size_t g_size;
static u32 g_checksum;

/* The checksum itself is Linux's. */
u32 __pure crc32_le(u32 crc, unsigned char const *bytes, size_t size)
{
	proved(bytes == g_file + BOARD_FILE_HEADER_SIZE && size == g_size - BOARD_FILE_HEADER_SIZE, "all behind the header is summed up");
	return ~g_checksum;
}

static u32 number_at(u32 offset)
{
	return g_file[offset] | g_file[offset + 1] << 8 | g_file[offset + 2] << 16 | (u32)g_file[offset + 3] << 24;
}

/* tree_states() - the length that the tree states, its second number, which has the largest byte first. */
static u32 tree_states(void)
{
	const u8 *number = g_file + BOARD_FILE_HEADER_SIZE + 4;

	return (u32)number[0] << 24 | number[1] << 16 | number[2] << 8 | number[3];
}

void proof_file(void)
{
	u8 all[MOST];
	u32 i;

	for (i = 0; i < MOST; i++)
		all[i] = nondet_u8();
	g_size = below(MOST + 1);
	g_file = all + MOST - g_size; /* so that a byte too many is out of bounds */
	g_checksum = nondet_u32();
	if (fault_of(g_file, g_size))
		return;
	proved(g_size >= BOARD_FILE_HEADER_SIZE + TREE_HEADER_SIZE, "a good file has both headers");
	for (i = 0; i < BOARD_FILE_MAGIC_SIZE; i++)
		proved(g_file[i] == BOARD_FILE_MAGIC[i], "a good file has the magic");
	proved(number_at(BOARD_FILE_AT_VERSION) == BOARD_FILE_VERSION, "a good file is of this version");
	proved(number_at(BOARD_FILE_AT_LENGTH) == g_size, "a good file has the length it states");
	proved(number_at(BOARD_FILE_AT_CHECKSUM) == g_checksum, "a good file has the checksum it states");
	proved(tree_states() == g_size - BOARD_FILE_HEADER_SIZE, "the tree fills the rest");
}

static bool is_name_character(char c)
{
	return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' || c == '/';
}

void proof_name(void)
{
	char name[BOARD_NAME_MAX + 2];
	u32 length = below(BOARD_NAME_MAX + 2);
	bool good = length > 0 && length <= BOARD_NAME_MAX;
	u32 i;

	for (i = 0; i < BOARD_NAME_MAX + 2; i++) {
		name[i] = nondet_u8();
		assume((u8)name[i] < 0x80); /* Linux has letters behind that, which no file of the firmware folder begins with */
		assume(i > length || (name[i] == 0) == (i == length));
		if (i < length && !is_name_character(name[i]))
			good = false;
	}
	if (name[0] == '/')
		good = false;
	proved(is_board_name(name) == good, "letters, digits, \"_\", \"-\" and \"/\" behind the first are a name");
}
