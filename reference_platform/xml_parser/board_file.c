// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include "board_file.h"

#include <linux/crc32.h>
#include <linux/ctype.h>
#include <linux/firmware.h>
#include <linux/kernel.h>
#include <linux/mm.h>
#include <linux/string.h>

#include "../include/board_file.h"
#include "flat_tree.h"

static bool is_board_name(const char *name)
{
	size_t i;

	for (i = 0; name[i]; i++)
		if (i == BOARD_NAME_MAX || !(isalnum(name[i]) || strchr("_-/", name[i])))
			return false;
	return i > 0 && name[0] != '/';
}

static u32 checksum(const u8 *bytes, size_t size)
{
	return crc32_le(~0U, bytes, size) ^ ~0U;
}

/* Linux keeps files of the firmware directory in whole pages, so the numbers in front are aligned. */
static u32 header_number(const u8 *file, size_t at)
{
	return le32_to_cpup((const __le32 *)(file + at));
}

/* fault_of() - what is wrong with a file; NULL for a good one */
static const char *fault_of(const u8 *file, size_t size)
{
	const u8 *tree = file + BOARD_FILE_HEADER_SIZE;

	if (size < BOARD_FILE_HEADER_SIZE + FLAT_TREE_HEADER_SIZE)
		return "it is too short";
	if (memcmp(file, BOARD_FILE_MAGIC, BOARD_FILE_MAGIC_SIZE))
		return "it is not a compiled board description";
	if (header_number(file, BOARD_FILE_AT_VERSION) != BOARD_FILE_VERSION)
		return "it is of another version; compile it again";
	if (header_number(file, BOARD_FILE_AT_LENGTH) != size || size > BOARD_FILE_MAX_SIZE)
		return "its length is not the one it states";
	if (header_number(file, BOARD_FILE_AT_CHECKSUM) != checksum(tree, size - BOARD_FILE_HEADER_SIZE))
		return "its checksum is wrong";
	if (flat_tree_length(tree) != size - BOARD_FILE_HEADER_SIZE)
		return "the tree in it has another length";
	if (!flat_tree_is_sound(tree, size - BOARD_FILE_HEADER_SIZE))
		return "the tree in it is no board";
	return NULL;
}

static int copy_tree(const struct firmware *file, const char *path, void **tree, size_t *size)
{
	const char *fault = fault_of(file->data, file->size);

	if (fault) {
		pr_err("%s is refused: %s\n", path, fault);
		return -EINVAL;
	}
	*size = file->size - BOARD_FILE_HEADER_SIZE;
	*tree = kvmalloc(*size, GFP_KERNEL);
	if (!*tree)
		return -ENOMEM;
	memcpy(*tree, file->data + BOARD_FILE_HEADER_SIZE, *size);
	return 0;
}

int board_name_check(const char *name)
{
	if (is_board_name(name))
		return 0;
	pr_err("\"%s\" is no board name: up to %d letters, digits, \"_\", \"-\" and \"/\" of a subdirectory make one\n", name,
	       BOARD_NAME_MAX);
	return -EINVAL;
}

int board_file_read(const char *name, void **tree, size_t *size)
{
	const struct firmware *file;
	char path[sizeof("board/.fbd") + BOARD_NAME_MAX];
	int result;

	scnprintf(path, sizeof(path), "board/%s.fbd", name);
	result = request_firmware_direct(&file, path, NULL);
	if (result) {
		pr_err("%s cannot be read from the firmware directory: error %d\n", path, result);
		return result == -ENOENT ? -ENODEV : result; /* insmod takes -ENOENT for an unknown symbol */
	}
	result = copy_tree(file, path, tree, size);
	release_firmware(file);
	return result;
}
