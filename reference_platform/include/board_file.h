/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The compiled board description as a file: a header of 24 bytes, then a flattened tree.
 *
 * All numbers of the header are little-endian. The checksum is the CRC-32 of zlib and Ethernet over everything behind the header. It
 * guards against truncated, damaged and foreign files, not against someone who may write files of the firmware directory.
 */
#ifndef REFERENCE_PLATFORM_BOARD_FILE_H
#define REFERENCE_PLATFORM_BOARD_FILE_H

#define BOARD_FILE_MAGIC	"FLSHBRD" /* 8 bytes with the NUL */
#define BOARD_FILE_MAGIC_SIZE	8
#define BOARD_FILE_VERSION	1
#define BOARD_FILE_HEADER_SIZE	24
#define BOARD_FILE_MAX_SIZE	0x100000 /* 1 MiB */

/* offsets of the header's 32-bit numbers */
#define BOARD_FILE_AT_VERSION	8
#define BOARD_FILE_AT_LENGTH	12 /* of the whole file in bytes */
#define BOARD_FILE_AT_CHECKSUM	16
#define BOARD_FILE_AT_RESERVED	20 /* 0 */

#endif
