/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * flash_mng for other kernel modules: flash by section and by partition name, and SPI flash instances.
 *
 * All functions run in the caller's context, in process context without a lock that forbids to sleep, but for drv_flash_driver_register()
 * and drv_flash_driver_unregister(), which any context may call. All are exported with EXPORT_SYMBOL and have C linkage. A result is an
 * unsigned 32-bit code, FLASH_MNG_OK (0) on success, otherwise one of the codes of uapi/flash_mng.h or a code of the platform that is
 * passed through unchanged; the module's own are never an errno. Results of a function are listed in the order of its checks, success
 * first. Buffers are kernel memory owned by the caller and used only during the call. Offsets and lengths are bytes; a range ends before
 * offset + length and may end exactly at the end of the partition.
 *
 *
 * What a write that gave FLASH_MNG_OK has done
 *
 *	transfer path					the bytes are
 *	a section, drv_flash_write()			on the flash: errors of erase and program are reported
 *	NAND by name, listed or not			where the platform's flash service says they are: its status is reported
 *	not NAND, by name (block device)		on the flash if it reported no error: Linux tells an error to the flush,
 *							whose result is not looked at
 *
 * So a write by name to a partition that is not NAND can give FLASH_MNG_OK although the erase failed, and nothing has changed, or although
 * the program failed, and a whole erase block is left erased, bytes outside of the range among it. Who has to know writes by section, or
 * reads back in a later system call and while nobody else has the block device open: as long as it is in use, the writer's own system call
 * included, a read finds the lost bytes in Linux's cache. The module reads nothing back.
 *
 *
 * Rules for callers
 *
 * - Device files are opened by path, "/dev/mtdblock<N>" by this module and "/dev/mtd<N>" by the platform's flash service if it opens one,
 *   in the calling task's own root and mount name space and with its rights: call from a task that sees the board's /dev.
 * - Do not transfer from the release function of a file or from a task that is exiting: Linux 5.10 has taken its current->fs by then, and
 *   opening a path follows a null pointer. That is an oops with the instance's sections still held, which every later caller waits for.
 * - A block device is released when the task returns to user space, not when the module closes it, and keeps its number until then. Who
 *   transfers, destroys the SPI flash, makes it anew and transfers again within one system call gets FLASH_MNG_NOT_OPENED, and so does
 *   everybody else until the flash is made once more.
 * - A path is a number. It is formed before a lock is waited for and resolved afterwards. Where MTD devices go and others come meanwhile,
 *   the number may be another partition's, which is then read or written. Who removes devices sees to it that nobody transfers.
 * - Reach a partition on one transfer path only. The sections of an instance, a listed partition and a block device are each guarded on
 *   their own or not at all: of a section that lies on a partition listed in mtd_info, a write that gave FLASH_MNG_OK is lost when a
 *   write by name is under way, and on NAND the two count bad blocks differently. A listed partition that is not NAND is reached by
 *   commands through the flash service and by the functions below through its block device.
 */
#ifndef FLASH_MNG_H
#define FLASH_MNG_H

/* FLASH_MNG_HOSTED is defined for programs in which Linux is simulated, and for tests. */
#if !defined(__KERNEL__) && !defined(FLASH_MNG_HOSTED)
#error "flash_mng.h is for kernel modules; a program includes uapi/flash_mng.h or, in C++, flash_mng/client.hpp"
#else

#include "flash_mng_types.h"
#include "uapi/flash_mng.h"

FLASH_MNG_C_BEGIN

/** struct flash_part - one partition of an SPI flash; 40 bytes. */
struct flash_part {
	u32 offset;	   /* bytes from the start of the flash */
	u32 size;	   /* bytes */
	char mtd_name[32]; /* MTD device name, NUL-terminated unless it fills the field */
};

/** struct flash_parts_info - the partitions to make of an SPI flash; 48 bytes. Owned by the caller of drv_flash_create(). */
struct flash_parts_info {
	u32 part_num;
	u8 reserved[36]; /* between the caller and the flash driver; flash_mng does not look at it */
	struct flash_part *parts; /* part_num of them */
};

/**
 * struct flash_driver_ops - the functions of a flash driver; any may be NULL.
 * @get_size: stores the size of a flash at @size, whose type is between the driver and the caller of drv_flash_get_size()
 * @create: makes the MTD devices of a flash
 * @destroy: removes them
 *
 * cfg_inst_id is the instance whose XML held the settings, followed by chip, controller and chip select from there. All are called in
 * process context, may sleep, and return 0 or a status of their own that reaches the caller unchanged. They must not call back into
 * drv_flash_destroy() for the same instance.
 */
struct flash_driver_ops {
	u32 (*get_size)(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, void *size);
	u32 (*create)(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs, struct flash_parts_info *parts_info);
	u32 (*destroy)(u32 cfg_inst_id, u32 sfc_chip_id, u32 sfc_ctrl, u32 sfc_cs);
};

/**
 * drv_flash_read() - read a range of a section.
 * @inst_id: device instance; its sections come from the board's XML
 * @section_id: section; where several rows have the id, the first that contains the range serves
 * @offset: address of the first byte, in the addresses in which the XML states the section's offset
 * @buf: receives the data
 * @len: number of bytes, may be 0; the address must lie in the section even then
 *
 * Transfers of one instance's sections follow one another; those of different instances run side by side, on the same partition too.
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NULL_POINTER when @buf is NULL; FLASH_MNG_OVERFLOW; FLASH_MNG_INVALID when the instance has no sections,
 * none contains the range, or its partition is absent; FLASH_MNG_COPY_FAILED when the device path could not be formed;
 * FLASH_MNG_INTERRUPTED when the task was killed while it waited; FLASH_MNG_NOT_OPENED; FLASH_MNG_INVALID when the seek fails;
 * FLASH_MNG_SHORT_READ, what was read being in @buf.
 */
u32 drv_flash_read(u32 inst_id, u32 section_id, u32 offset, void *buf, u32 len);

/**
 * drv_flash_write() - write a range of a section, durably.
 *
 * Arguments as drv_flash_read(); @buf is only read. The block device is opened synchronously, so what the flash reports is reported here.
 * Nothing is read back or verified.
 *
 * Return: as drv_flash_read(), with FLASH_MNG_SHORT_WRITE in place of FLASH_MNG_SHORT_READ: less was written, or the flash reported an
 * error. Of the erase blocks of the range, any may then be old, new or erased, bytes outside of the range among them.
 */
u32 drv_flash_write(u32 inst_id, u32 section_id, u32 offset, const void *buf, u32 len);

/**
 * drv_flash_mtd_read() - read a range of an MTD partition.
 * @mtd_name: partition name, NUL-terminated, 1 to 31 characters
 * @offset: first byte, counted from the start of the partition
 * @buf: receives the data
 * @len: number of bytes, at least 1
 *
 * A NAND partition is read through the platform's flash service; one that the board lists as updated as a whole is read from its first
 * byte to the end of the range and under its lock, into a buffer of that size. Any other partition is read through its block device, listed
 * or not.
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_CLEAR_FAILED; FLASH_MNG_INVALID for a bad name; FLASH_MNG_NO_PARTITION; FLASH_MNG_NO_DATA when @buf is
 * NULL or @len is 0; FLASH_MNG_OVERFLOW; FLASH_MNG_INVALID for a range beyond the partition (its size taken modulo 2^32);
 * FLASH_MNG_COPY_FAILED when the device path could not be formed. Then, through a block device: FLASH_MNG_NOT_OPENED; FLASH_MNG_FAILED
 * when the seek fails, or less than @len bytes came, which are in @buf. Of NAND: a status of the flash service. Of listed NAND:
 * FLASH_MNG_NO_BUFFER; a status of the flash service; a code of the platform's bounded copy.
 */
u32 drv_flash_mtd_read(const char *mtd_name, u32 offset, void *buf, u32 len);

/**
 * drv_flash_mtd_write() - write a range of an MTD partition.
 * @mtd_name: partition name, NUL-terminated, 1 to 31 characters
 * @offset: first byte, counted from the start of the partition
 * @buf: the data, only read
 * @len: number of bytes, at least 1
 *
 * The transfer paths are those of drv_flash_mtd_read(). A listed NAND partition is changed by reading its usable bytes, patching them in
 * memory and writing them back, all under its lock; a range beyond the usable bytes is refused with nothing written. A block device is
 * flushed before the call returns, and the result of the flush is not looked at: see above for what FLASH_MNG_OK means there.
 *
 * Return: FLASH_MNG_OK; as drv_flash_mtd_read() up to FLASH_MNG_COPY_FAILED, but for FLASH_MNG_CLEAR_FAILED, which does not occur. Then,
 * through a block device: FLASH_MNG_NOT_OPENED; FLASH_MNG_FAILED when the seek fails or fewer bytes were taken. Of NAND: a status of the
 * flash service. Of listed NAND: FLASH_MNG_EMPTY_RANGE when there are no usable bytes; FLASH_MNG_NO_BUFFER; a status of the flash service
 * that could not read them; a code of the platform's bounded copy when the range leaves them; a status of the flash service that could
 * not write them. After FLASH_MNG_FAILED or a status of a write, erase blocks of the range may be old, new or erased; of listed NAND those
 * of all usable bytes, where the flash service does not leave alone what does not differ.
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

/*
 * The user-data partition is the MTD device named "usrdata", if there was one when the module was loaded. That it is NAND is the board's
 * business: its type is not looked at.
 */

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
 * drv_flash_driver_register() - register the flash driver.
 * @unused1: ignored
 * @unused2: ignored
 * @ops: the driver's functions, owned by the driver and kept until it is replaced or unregistered; NULL unregisters
 *
 * A second registration replaces the first. May be called in any context: it is one store.
 *
 * Return: FLASH_MNG_OK, always.
 */
u32 drv_flash_driver_register(u64 unused1, u64 unused2, const struct flash_driver_ops *ops);

/**
 * drv_flash_driver_unregister() - forget the flash driver.
 *
 * A driver must not unregister, nor its module be unloaded, while a function of it may be running. May be called in any context.
 */
void drv_flash_driver_unregister(void);

/**
 * drv_flash_get_size() - ask the flash driver for the size of an instance's SPI flash.
 * @inst_id: device instance
 * @unused: ignored
 * @size: handed to the driver, which stores the size there
 *
 * An instance whose hardlock_type is 0 is locked meanwhile; the lock is tried once.
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NO_DRIVER; FLASH_MNG_NULL_POINTER when @size is NULL; FLASH_MNG_FAILED when the XML has no settings for
 * the instance or memory is short; a status of the hardware lock or of the driver. A failed release of the lock replaces the result.
 */
u32 drv_flash_get_size(u32 inst_id, u64 unused, void *size);

/**
 * drv_flash_create() - make the partitions of an instance's SPI flash.
 * @inst_id: device instance
 * @parts_info: the partitions; handed to the driver as it is
 *
 * The partitions' names can be looked up from then on, also when the lock or the driver fails. An instance whose hardlock_type is not 1 is
 * locked meanwhile; the lock is tried once.
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NO_DRIVER; FLASH_MNG_FAILED when the XML has no settings for the instance, memory is short, or
 * @parts_info is NULL or has no parts; FLASH_MNG_NO_MEMORY; FLASH_MNG_COPY_FAILED when a name could not be copied; a status of the
 * hardware lock or of the driver. A failed release of the lock replaces the result.
 */
u32 drv_flash_create(u32 inst_id, struct flash_parts_info *parts_info);

/**
 * drv_flash_destroy() - remove the partitions of an instance's SPI flash, and forget the instance.
 * @inst_id: device instance
 *
 * Nobody may transfer to or from these partitions meanwhile: Linux's block devices of MTD do not bear that. See the rules for callers
 * above.
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_NO_DRIVER; FLASH_MNG_FAILED when the XML has no settings for the instance or memory is short; a status
 * of the driver, the instance being kept.
 */
u32 drv_flash_destroy(u32 inst_id);

/**
 * drv_flash_get_type() - whether an MTD device is NAND flash.
 * @mtd_name: device name, NUL-terminated, 1 to 31 characters
 * @type: receives 0 for NAND flash, 1 for anything else; untouched on failure
 *
 * Return: FLASH_MNG_OK; FLASH_MNG_INVALID for a bad name; FLASH_MNG_NO_PARTITION; FLASH_MNG_NULL_POINTER when @type is NULL.
 */
u32 drv_flash_get_type(const char *mtd_name, u32 *type);

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

#endif
