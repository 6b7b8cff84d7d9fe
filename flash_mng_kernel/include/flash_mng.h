/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * flash_mng for other kernel modules: flash by partition name.
 *
 * All functions run in the caller's context, may sleep and must not be called in atomic context. All are exported with EXPORT_SYMBOL
 * and have C linkage. A result is an unsigned 32-bit code, FLASH_MNG_OK (0) on success, otherwise one of the codes of
 * uapi/flash_mng.h or a code of the platform that is passed through unchanged; it is never an errno. Buffers are kernel memory owned by
 * the caller and used only during the call. Offsets and lengths are bytes; a range ends before offset + length and may end exactly at
 * the end of the partition.
 *
 * Device files ("/dev/mtdblock<N>") are opened in the calling task's own root and mount name space and with its rights: call from a
 * task that sees the board's /dev.
 */
#ifndef FLASH_MNG_H
#define FLASH_MNG_H

#include "flash_mng_types.h"
#include "uapi/flash_mng.h"

FLASH_MNG_C_BEGIN

/**
 * drv_flash_mtd_read() - read a range of an MTD partition.
 * @mtd_name: partition name, NUL-terminated, 1 to 31 characters
 * @offset: first byte, counted from the start of the partition
 * @buf: receives the data
 * @len: number of bytes, at least 1
 *
 * A NAND partition is read through the platform's flash service; one that the board lists as updated as a whole is read from its first
 * byte and under its lock. Any other partition is read through its block device.
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_CLEAR_FAILED; FLASH_MNG_INVALID for a bad name or a range beyond the partition (its size taken modulo
 * 2^32); FLASH_MNG_NO_PARTITION; FLASH_MNG_NO_DATA when @buf is NULL or @len is 0; FLASH_MNG_OVERFLOW; FLASH_MNG_COPY_FAILED when the
 * device path could not be formed; FLASH_MNG_NOT_OPENED; FLASH_MNG_FAILED when the block device gave less than @len bytes, those it
 * gave being in @buf; FLASH_MNG_NO_BUFFER; or a status of the flash service.
 */
u32 drv_flash_mtd_read(const char *mtd_name, u32 offset, void *buf, u32 len);

/**
 * drv_flash_mtd_write() - write a range of an MTD partition.
 * @mtd_name: partition name, NUL-terminated, 1 to 31 characters
 * @offset: first byte, counted from the start of the partition
 * @buf: the data, only read
 * @len: number of bytes, at least 1
 *
 * The roads are those of drv_flash_mtd_read(). A listed NAND partition is changed by reading its usable bytes, patching them in memory
 * and writing them back, all under its lock; a range beyond the usable bytes is refused with nothing written. A block device is flushed
 * before the call returns.
 *
 * Return: as drv_flash_mtd_read() but for FLASH_MNG_CLEAR_FAILED, which does not occur; further FLASH_MNG_EMPTY_RANGE when a listed
 * partition has no usable bytes, and a code of the platform's bounded copy when the range leaves the usable bytes. After FLASH_MNG_FAILED
 * or a status of the flash service part of the range may have been written.
 */
u32 drv_flash_mtd_write(const char *mtd_name, u32 offset, const void *buf, u32 len);

/**
 * drv_flash_get_mtd_size() - size of an MTD partition.
 * @mtd_name: partition name, NUL-terminated, 1 to 31 characters
 * @size: receives the size in bytes; untouched on failure
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_INVALID when @size is NULL or the name is bad; FLASH_MNG_NO_PARTITION.
 */
u32 drv_flash_get_mtd_size(const char *mtd_name, u64 *size);

/**
 * drv_flash_get_nand_part_num() - number of NAND user-data partitions.
 * @num: receives 1, or 0 when there is none
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NULL_POINTER when @num is NULL; FLASH_MNG_FAILED when there is none.
 */
u32 drv_flash_get_nand_part_num(u32 *num);

/**
 * drv_flash_get_nand_part_size_info() - count and size of the NAND user-data partition.
 * @info: a whole record of 520 bytes; part_num and, on success, size are written, every other byte keeps its value
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NULL_POINTER when @info is NULL; FLASH_MNG_FAILED when there is no such partition.
 */
u32 drv_flash_get_nand_part_size_info(struct nand_part_info *info);

/**
 * drv_flash_get_nand_is_exist() - whether the NAND user-data partition exists.
 * @exist: receives 1 or 0
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NULL_POINTER when @exist is NULL.
 */
u32 drv_flash_get_nand_is_exist(u32 *exist);

/**
 * flash_mng_drv_patch_func1() - entry point kept for patches; writes a trace line.
 *
 * Return: FLASH_MNG_OK, always.
 */
u32 flash_mng_drv_patch_func1(void);

/**
 * flash_mng_drv_patch_func2() - a second entry point kept for patches; writes a trace line.
 *
 * Return: FLASH_MNG_OK, always.
 */
u32 flash_mng_drv_patch_func2(void);

FLASH_MNG_C_END

#endif
