/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * flash_mng for programs: the commands of /dev/flash_mng, the records they exchange and the codes they answer with.
 *
 * Usable from C and C++, in 64-bit and in 32-bit Arm programs: every record has the same layout in both.
 *
 *
 * Calling
 *
 *	int fd = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);
 *	int result = ioctl(fd, FLASH_MNG_GET_PART_NUM, &count);
 *
 * Opening needs nothing but access to the node; any open mode serves every command, so the node's own mode (0600 of root by default) is
 * the only access control. Whoever may open it can write every listed partition and make the kernel allocate memory that no limit of his
 * counts: see FLASH_MNG_MTD_READ. Every command may sleep. Any number of processes may run commands at the same time.
 *
 *
 * Results
 *
 * A command answers with an unsigned 32-bit code: FLASH_MNG_OK, one of the codes below, or a code of the platform or the flash service
 * that is passed through unchanged. Codes are not errno values. Linux 5.10 carries an ioctl's result in an int, so a program sees:
 *
 *	code			ioctl() returns			errno
 *	0			0				untouched
 *	1 to 0x7FFFFFFF		the code			untouched
 *	0x80000000 and up	the code as a negative int	untouched	example: 0x811B01A4 is -2128936540
 *	0xFFFFFFFF		-1				EPERM		the module itself never means EPERM
 *	0xFFFFF001 to ...FE	-1				the negated code (only a platform's own code can lie here)
 *	0xFFFFFDFD		-1				ENOTTY		Linux keeps this number for itself; taken for 0xFFFFFFE7
 *
 * The kernel's own errors (EBADF, EFAULT before the module is reached) come as -1 with errno, as everywhere. flash_mng_code() turns both
 * forms into the code:
 *
 *	uint32_t code = flash_mng_code(ioctl(fd, command, &record), errno);
 */
#ifndef UAPI_FLASH_MNG_H
#define UAPI_FLASH_MNG_H

#if defined(__KERNEL__) && !defined(__cplusplus)
#include <linux/types.h>
#else
#include <stdint.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define FLASH_MNG_DEVICE "/dev/flash_mng"

/* Longest name of a partition, without its NUL; and the size of a field that holds one. */
#define FLASH_MNG_NAME_MAX 31
#define FLASH_MNG_NAME_SIZE 32

/* Most MTD devices that the statistics report. */
#define FLASH_MNG_STAT_ENTRIES 128

/*
 * Codes
 */

#define FLASH_MNG_OK 0u			      /* success */
#define FLASH_MNG_FAILED 0xFFFFFFFFu	      /* nothing found, or a transfer came out short; -1 with EPERM in a program */
#define FLASH_MNG_NULL_POINTER 417u	      /* a buffer, or the address of an answer, is NULL */
#define FLASH_MNG_INVALID 418u		      /* a bad name, a range beyond the partition, or a thing that is not there */
#define FLASH_MNG_UNKNOWN_COMMAND 420u	      /* no such command */
#define FLASH_MNG_NO_DRIVER 421u	      /* no flash driver is registered, or it lacks the function */
#define FLASH_MNG_BAD_LENGTH 425u	      /* a name of more than 32 bytes */
#define FLASH_MNG_NOT_FOUND 427u	      /* no SPI flash of that instance or with a partition of that name */
#define FLASH_MNG_OVERFLOW 435u		      /* offset + length does not fit in 32 bits */
#define FLASH_MNG_COPY_FAILED 1186u	      /* an answer could not be copied or a text not be formed */
#define FLASH_MNG_NO_MEMORY 1194u	      /* an allocation failed */
#define FLASH_MNG_NO_DATA 1205u		      /* a transfer without buffer or length */
#define FLASH_MNG_REQUEST_UNREADABLE 1207u    /* the caller's request could not be read */
#define FLASH_MNG_INTERRUPTED 1954u	      /* the task was killed while it waited */
#define FLASH_MNG_SHORT_WRITE 2978u	      /* less was written than asked for, or the flash failed */
#define FLASH_MNG_SHORT_READ 2979u	      /* less was read than asked for */
#define FLASH_MNG_NOT_OPENED 2983u	      /* the partition's block device could not be opened */
#define FLASH_MNG_ENTRY_COUNT 3489u	      /* the number of entries of an XML node could not be read */
#define FLASH_MNG_NOT_LISTED 0x811B01A4u      /* the name is not in the board's list of partitions updated as a whole */
#define FLASH_MNG_VARIANT_NAME 0x811B01A7u    /* the name of a variant's table could not be formed */
#define FLASH_MNG_EMPTY_RANGE 0x811B01A9u     /* length 0, or a partition without usable bytes */
#define FLASH_MNG_PATH_FAILED 0x811B04A2u     /* the path of a device could not be formed */
#define FLASH_MNG_CLEAR_FAILED 0x811B04A3u    /* a record could not be cleared */
#define FLASH_MNG_NO_BUFFER 0x811B04AAu	      /* a buffer could not be allocated */
#define FLASH_MNG_USER_UNREADABLE 0x811B04B7u /* the caller's record or data could not be read */
#define FLASH_MNG_USER_UNWRITABLE 0x811B04B8u /* data could not be written to the caller's memory */
#define FLASH_MNG_NO_PARTITION 0x811B0BA1u    /* no MTD partition of that name */
#define FLASH_MNG_XML_NODE 0x811B0DA1u	      /* a node of the board's XML could not be read */
#define FLASH_MNG_XML_ATTRIBUTE 0x811B0DA2u   /* an attribute of the board's XML could not be read */
#define FLASH_MNG_XML_NAME 0x811B0DA3u	      /* a partition name of the board's XML could not be read */

/*
 * flash_mng_code() - the code that a command answered with.
 * @result: what ioctl() returned
 * @error: errno right after it, looked at only when @result is -1
 */
static inline uint32_t flash_mng_code(int result, int error)
{
	return result == -1 ? (uint32_t)-error : (uint32_t)result;
}

/*
 * Commands. The numbers are fixed: type 'T', size field 4 whatever the size of the record.
 */

/*
 * FLASH_MNG_GET_NAND_PART_INFO - count and size of the NAND user-data partition.
 * Argument: struct nand_part_info to be written.
 * The user-data partition is the MTD device named "usrdata", if there was one when the module was loaded; its type is not looked at.
 * Codes, in the order of the checks: FLASH_MNG_OK; FLASH_MNG_NO_MEMORY; FLASH_MNG_FAILED when the board has no user-data partition;
 * FLASH_MNG_COPY_FAILED when the record could not be written (part of it may have been). On any other failure the record is untouched.
 */
#define FLASH_MNG_GET_NAND_PART_INFO 0x80045406u

/*
 * FLASH_MNG_GET_PART_NUM - number of NAND user-data partitions.
 * Argument: uint32_t to be written: 1.
 * Codes: FLASH_MNG_OK; FLASH_MNG_FAILED when the board has none, the argument being untouched; FLASH_MNG_COPY_FAILED.
 */
#define FLASH_MNG_GET_PART_NUM 0x80045407u

/*
 * FLASH_MNG_GET_NAND_IS_EXIST - whether the NAND user-data partition exists.
 * Argument: uint32_t to be written: 1 or 0.
 * Codes: FLASH_MNG_OK; FLASH_MNG_COPY_FAILED.
 */
#define FLASH_MNG_GET_NAND_IS_EXIST 0x80045408u

/*
 * FLASH_MNG_FIND_CONFIG - settings of the SPI flash that has a partition of a name.
 * Argument: struct flash_find_config_arg; name_length and name are read, config is written.
 * Partitions are known from drv_flash_create() of a kernel module on; the oldest SPI flash with the name answers.
 * Codes, in the order of the checks: FLASH_MNG_OK; FLASH_MNG_REQUEST_UNREADABLE (the record); FLASH_MNG_BAD_LENGTH;
 * FLASH_MNG_REQUEST_UNREADABLE (the name); FLASH_MNG_NOT_FOUND; 1 to 56, the number of bytes of the record that could not be written.
 */
#define FLASH_MNG_FIND_CONFIG 0x80045409u

/*
 * FLASH_MNG_FIND_CONFIG_BY_INST - settings of an instance's SPI flash.
 * Argument: struct flash_find_config_arg; inst_id is read, config is written.
 * An instance is known from its first use by a kernel module on, until it is destroyed.
 * Codes: as FLASH_MNG_FIND_CONFIG, but for FLASH_MNG_BAD_LENGTH.
 */
#define FLASH_MNG_FIND_CONFIG_BY_INST 0x8004540Au

/*
 * FLASH_MNG_MTD_READ - read bytes of a listed NAND partition.
 * Argument: struct flash_mtd_io_arg to be read; its buffer is written.
 * The partition is read from its first byte to the end of the range, whatever the range is; a range beyond the partition is refused by
 * the platform's flash service with a status of its own. Before that the kernel has allocated a buffer of the length and one up to the end
 * of the range, 4 GiB each at most, whatever the size of the partition: what it cannot have is refused, what it can have is taken from
 * everybody.
 * Codes, in the order of the checks: FLASH_MNG_OK; FLASH_MNG_USER_UNREADABLE (the record); FLASH_MNG_NOT_LISTED (also for a name without
 * a NUL); FLASH_MNG_EMPTY_RANGE; FLASH_MNG_NO_BUFFER; FLASH_MNG_INVALID; FLASH_MNG_NO_PARTITION; FLASH_MNG_PATH_FAILED;
 * FLASH_MNG_NO_BUFFER (also when offset + length does not fit in 32 bits); a status of the flash service; a code of the platform's bounded
 * copy; FLASH_MNG_USER_UNWRITABLE (also for a length above 0x7FFFFFFF, at which Linux warns once, and stops where panic_on_warn is set). A
 * failed read may have written part of the buffer.
 */
#define FLASH_MNG_MTD_READ 0x8004540Bu

/*
 * FLASH_MNG_MTD_WRITE - change bytes of a listed NAND partition.
 * Argument: struct flash_mtd_io_arg to be read, and its buffer too.
 * The partition's usable bytes are read, changed in memory and written back; a range beyond them is refused.
 * Codes, in the order of the checks: FLASH_MNG_OK; FLASH_MNG_USER_UNREADABLE (the record); FLASH_MNG_NOT_LISTED; FLASH_MNG_EMPTY_RANGE;
 * FLASH_MNG_NO_BUFFER; FLASH_MNG_USER_UNREADABLE (the data, or a length above 0x7FFFFFFF, at which Linux warns once); FLASH_MNG_INVALID;
 * FLASH_MNG_NO_PARTITION; FLASH_MNG_PATH_FAILED; FLASH_MNG_EMPTY_RANGE (the partition has no usable bytes); FLASH_MNG_NO_BUFFER; a status
 * of the flash service that cannot read the usable bytes; a code of the platform's bounded copy when the range leaves them; a status of
 * the flash service that cannot write them. The partition is unchanged unless the flash service failed while it wrote.
 */
#define FLASH_MNG_MTD_WRITE 0x4004540Cu

/*
 * FLASH_MNG_GET_MTD_STATISTICS - the MTD devices of the kernel.
 * Argument: struct flash_mtd_statistics to be written.
 * Devices are listed from number 0 up to the first number without a device, 128 at most.
 * Codes: FLASH_MNG_OK; FLASH_MNG_NO_MEMORY; FLASH_MNG_COPY_FAILED when a device has no name or one of 32 characters or more (the record
 * is untouched), or when the record could not be written.
 */
#define FLASH_MNG_GET_MTD_STATISTICS 0x8004540Du

/*
 * Records
 */

/* struct nand_part_info - the NAND user-data partition; 520 bytes. */
struct nand_part_info {
	uint32_t part_num;	/* 1 */
	uint8_t reserved0[260]; /* zero */
	uint64_t size;		/* bytes */
	uint8_t reserved1[248]; /* zero */
};

/* struct flash_mtd_stat_entry - one MTD device; 56 bytes, aligned to 4 only. */
struct flash_mtd_stat_entry {
	uint64_t size;			/* bytes */
	uint32_t index;			/* N of /dev/mtdN */
	uint32_t type;			/* MTD type: 1 RAM, 3 NOR, 4 NAND, 8 MLC NAND, ... as in <mtd/mtd-abi.h> */
	uint32_t erasesize;		/* bytes of an erase block */
	uint32_t flags;			/* flags of the partition as created; 0 for a whole device */
	char name[FLASH_MNG_NAME_SIZE]; /* NUL-terminated */
} __attribute__((packed, aligned(4)));

/* struct flash_mtd_statistics - all MTD devices; 7172 bytes, entries without padding before them. */
struct flash_mtd_statistics {
	uint32_t count;							/* valid entries, 0 to 128 */
	struct flash_mtd_stat_entry entries[FLASH_MNG_STAT_ENTRIES]; /* those at and beyond count are zero */
};

/* struct spi_controller_config - where an SPI flash sits and how it is locked; 32 bytes. */
struct spi_controller_config {
	uint32_t inst_id;     /* instance of the SPI flash */
	uint32_t cfg_inst_id; /* instance whose XML held the settings: the same, or its parent */
	uint32_t sfc_chip_id;
	uint32_t sfc_ctrl;
	uint32_t sfc_cs;	 /* chip select */
	uint32_t hardlock_type;	 /* 1 without hardware lock */
	uint32_t hardlock_val;	 /* value that takes the lock */
	uint32_t hardunlock_val; /* value that releases it */
};

/* struct flash_find_config_arg - a question for an SPI flash, and its answer; 56 bytes. Only config is changed. */
struct flash_find_config_arg {
	uint32_t inst_id;
	uint8_t reserved[8];
	uint32_t name_length; /* bytes, without a NUL; at most 32 */
	struct spi_controller_config config;
	uint64_t name; /* address of the partition's name in the calling process */
};

/* struct flash_mtd_io_arg - a range of a partition and the caller's buffer; 48 bytes. */
struct flash_mtd_io_arg {
	char name[FLASH_MNG_NAME_SIZE]; /* partition name, NUL-terminated, 1 to 31 characters */
	uint32_t offset;		/* first byte, counted from the start of the partition */
	uint32_t length;		/* bytes, at least 1; the range ends before offset + length */
	uint64_t buffer;		/* address of the data in the calling process */
};

#ifdef __cplusplus
}
#endif

#endif
