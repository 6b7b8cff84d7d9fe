/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Flash buffer service of the platform module "plat_extern_api": reads and updates NAND partitions.
 *
 * How the service treats erase blocks, bad blocks and ECC is its own business. Both functions sleep, and both take any offset and
 * length within the partition's usable bytes.
 */
#ifndef FLASH_MNG_PLATFORM_FLASH_BUFFER_H
#define FLASH_MNG_PLATFORM_FLASH_BUFFER_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

/**
 * plat_mtd_read_buf() - read bytes of a NAND partition.
 * @path: "/dev/mtd<N>" of the partition
 * @offset: first byte, counted from the start of the partition
 * @buf: kernel buffer of at least @len bytes
 * @len: number of bytes
 *
 * Return: 0 when all bytes were read, otherwise the service's own status.
 */
u32 plat_mtd_read_buf(const char *path, unsigned long offset, void *buf, unsigned long len);

/**
 * plat_mtd_update_buf() - make bytes of a NAND partition equal to a buffer.
 *
 * Arguments as plat_mtd_read_buf(). Bytes outside the range keep their value.
 * Return: 0 when all bytes are on the flash, otherwise the service's own status; the partition may then be partly written.
 */
u32 plat_mtd_update_buf(const char *path, unsigned long offset, const void *buf, unsigned long len);

FLASH_MNG_C_END

#endif
