/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Every status that the reference platform's services return besides 0.
 *
 * A status names its module in the high half. The bounded routines return an int and use small positive numbers. Plain macros, so that
 * C and C++ programs can include this header.
 */
#ifndef REFERENCE_PLATFORM_STATUS_H
#define REFERENCE_PLATFORM_STATUS_H

/* log */
#define LOG_BAD_ARGUMENT		0x70010001U /* module id 0, or no name */
#define LOG_ALREADY_REGISTERED		0x70010002U /* the module id has a registered log */
#define LOG_NOT_REGISTERED		0x70010003U /* the module id has no registered log */
#define LOG_TOO_MANY			0x70010004U /* no room for another log */
#define LOG_NO_MEMORY			0x70010005U

/* xml_parser */
#define XML_BAD_ARGUMENT		0x70020001U /* a pointer is NULL */
#define XML_NO_INSTANCE			0x70020002U /* the board description has no such instance */
#define XML_NO_NODE			0x70020003U /* the instance has no such node */
#define XML_NO_ENTRY			0x70020004U /* the node has no such entry */
#define XML_NO_ATTRIBUTE		0x70020005U /* the entry has no such attribute */
#define XML_NO_ELEMENT			0x70020006U /* the entry has no such element */
#define XML_BAD_NUMBER			0x70020007U /* the text is no number, or one over 32 bits */
#define XML_TEXT_TOO_LONG		0x70020008U /* the text with its NUL is longer than the buffer */
#define XML_NO_VALUE			0x70020009U /* the board or the instance does not state the value */

/* drv_basic: instances and the hardware lock */
#define INSTANCE_BAD_ARGUMENT		0x70030001U /* a pointer is NULL */
#define INSTANCE_UNKNOWN		0x70030002U /* the board description has no such instance */
#define INSTANCE_NO_PARENT		0x70030003U /* the instance states no parent */
#define HARD_LOCK_BAD_REQUEST		0x70030011U /* no request, or its fields do not fit the call */
#define HARD_LOCK_BUSY			0x70030012U /* the lock is held */
#define HARD_LOCK_NOT_HELD		0x70030013U /* the lock is free */
#define HARD_LOCK_BAD_OWNER		0x70030014U /* the lock is held by another instance */
#define HARD_LOCK_BAD_VALUE		0x70030015U /* not the value that the board description states for this lock */
#define HARD_LOCK_TOO_MANY		0x70030016U /* no room for another held lock */

/* drv_basic: bounded routines (int) */
#define BOUNDED_BAD_ARGUMENT		22 /* a pointer is NULL, or the destination size is 0 */
#define BOUNDED_NO_ROOM			34 /* source longer than the destination */
#define BOUNDED_FORMAT_FAILED		(-1) /* the formatting routines' only failure */

/* board_capability_mng */
#define CAPABILITY_BAD_ARGUMENT		0x70040001U /* no place for the value */
#define CAPABILITY_UNKNOWN		0x70040002U /* not a capability that this board answers */

/* plat_extern_api */
#define FLASH_BUFFER_BAD_ARGUMENT	0x70050001U /* no path or no buffer */
#define FLASH_BUFFER_BAD_PATH		0x70050002U /* the path is not "/dev/mtd<N>" */
#define FLASH_BUFFER_NO_DEVICE		0x70050003U /* there is no MTD device of that number */
#define FLASH_BUFFER_NO_ERASE_BLOCKS	0x70050004U /* the device states no erase block size */
#define FLASH_BUFFER_BEYOND_END		0x70050005U /* offset plus length is over the device's size */
#define FLASH_BUFFER_OUT_OF_BLOCKS	0x70050006U /* too many blocks are bad for this range */
#define FLASH_BUFFER_BAD_BLOCK_CHECK	0x70050007U /* whether a block is bad could not be read */
#define FLASH_BUFFER_UNCORRECTABLE	0x70050008U /* data that ECC could not correct */
#define FLASH_BUFFER_READ_FAILED	0x70050009U
#define FLASH_BUFFER_ERASE_FAILED	0x7005000AU
#define FLASH_BUFFER_WRITE_FAILED	0x7005000BU
#define FLASH_BUFFER_NO_MEMORY		0x7005000CU

/* spi_flash_driver */
#define SPI_FLASH_BAD_ARGUMENT		0x70060001U /* no place for the size */
#define SPI_FLASH_UNKNOWN		0x70060002U /* no flash at that chip, controller and chip select */
#define SPI_FLASH_NO_PARTS		0x70060003U
#define SPI_FLASH_TOO_MANY_PARTS	0x70060004U /* more parts than the flash has erase blocks */
#define SPI_FLASH_BAD_NAME		0x70060005U /* a part's name is empty or has no NUL */
#define SPI_FLASH_NAME_TWICE		0x70060006U /* two parts of one name */
#define SPI_FLASH_NAME_IN_USE		0x70060007U /* an MTD device has the name of a part */
#define SPI_FLASH_BAD_ALIGNMENT		0x70060008U /* a part is not made of whole erase blocks, or of none */
#define SPI_FLASH_BEYOND_END		0x70060009U /* a part ends behind the flash */
#define SPI_FLASH_OVERLAP		0x7006000AU /* two parts overlap */
#define SPI_FLASH_ALREADY_CREATED	0x7006000BU
#define SPI_FLASH_NOT_CREATED		0x7006000CU
#define SPI_FLASH_IN_USE		0x7006000DU /* a partition is open */
#define SPI_FLASH_NO_MEMORY		0x7006000EU
#define SPI_FLASH_MTD_FAILED		0x7006000FU /* the kernel's MTD functions failed; the kernel log has their error */

#endif
