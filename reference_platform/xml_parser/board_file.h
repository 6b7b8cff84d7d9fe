/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Fetching compiled board descriptions from the firmware directory.
 */
#ifndef REFERENCE_PLATFORM_XML_BOARD_FILE_H
#define REFERENCE_PLATFORM_XML_BOARD_FILE_H

#include <linux/types.h>

#define BOARD_NAME_MAX 63 /* characters */

/* board_name_check() - whether a name can be that of a board. Return: 0, or -EINVAL after saying in the kernel log what makes one. */
int board_name_check(const char *name);

/*
 * board_file_read() - read "board/<name>.fbd" with the firmware loader and check its header and checksum; sleeps.
 * @name: of the board, checked
 * @tree: receives the flattened tree, to be freed with kvfree()
 * @size: receives its size in bytes
 *
 * Return: 0, or a negative errno after saying in the kernel log what is wrong: -ENODEV when there is no such file, -EINVAL
 * for a bad one.
 */
int board_file_read(const char *name, void **tree, size_t *size);

#endif
