/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * /dev/flash_bench: calls of the kernel that a program cannot make itself, each counted in the kernel, and what the measurements need
 * beside them. For the only user, the program "bench" of the same build.
 *
 * The counter is event counter 0 of the processor's performance monitors, set to "instructions retired" and opened to programs by the load
 * of the module; it goes on after the unload. It is 32 bits wide: the difference of two readings is right below 2^32 instructions.
 */
#ifndef BENCH_ABI_H
#define BENCH_ABI_H

#ifdef __KERNEL__
#include <linux/types.h>
#else
#include <stdint.h>
#endif

#define BENCH_DEVICE "/dev/flash_bench"

/* Calls of BENCH_RUN: those of flash_mng, and the calls that they are made of. */
enum bench_call {
	BENCH_PARTITION_READ,	/* drv_flash_mtd_read */
	BENCH_PARTITION_WRITE,	/* drv_flash_mtd_write */
	BENCH_PARTITION_SIZE,	/* drv_flash_get_mtd_size */
	BENCH_SECTION_READ,	/* drv_flash_read */
	BENCH_SECTION_WRITE,	/* drv_flash_write */
	BENCH_SERVICE_READ,	/* plat_mtd_read_buf of the range */
	BENCH_SERVICE_UPDATE,	/* plat_mtd_update_buf of the range */
	BENCH_LISTED_READ,	/* plat_mtd_read_buf from the first byte to the end of the range, one copy to the program */
	BENCH_LISTED_WRITE,	/* plat_mtd_read_buf and plat_mtd_update_buf of the first usable bytes, one copy from the program */
	BENCH_IMAGE_READ,	/* BENCH_LISTED_READ with the copy to memory of the kernel */
	BENCH_IMAGE_WRITE,	/* BENCH_LISTED_WRITE with the copy from memory of the kernel */
	BENCH_BLOCK_READ,	/* open, seek, read, close of the block device */
	BENCH_BLOCK_WRITE,	/* open, seek, write, fsync, close */
	BENCH_BLOCK_SYNC_WRITE, /* open with O_SYNC, seek, write, close */
	BENCH_DEVICE_BY_NAME,	/* get_mtd_device_nm and put_mtd_device */
	BENCH_CALLS
};

/* struct bench_request - one call, and what it took; 96 bytes. */
struct bench_request {
	uint32_t call; /* enum bench_call */
	uint32_t times; /* at least 1; the smallest count is given */
	uint32_t section_id; /* of the default instance */
	uint32_t offset; /* bytes; for a section its address */
	uint32_t length; /* bytes, at most 16 MiB */
	uint32_t usable; /* BENCH_LISTED_WRITE, BENCH_IMAGE_WRITE: usable bytes of the partition */
	uint32_t search; /* enum bench_search, made before the call and counted with it */
	uint32_t changed; /* bytes at the start of the buffer of which some differ from call to call */
	uint64_t buffer; /* of the program; its content is taken before where the data are the kernel's, and stays */
	char name[32]; /* partition */
	char path[16]; /* its device file */
	uint32_t instructions; /* of the call */
	uint32_t code; /* of the call; 0 when all was well */
};

/* Searches of the rows of BENCH_ROWS, as plain as they can be. */
enum bench_search {
	BENCH_NO_SEARCH,
	BENCH_SEARCH_RANGE, /* the last row, by its number and the range of its bytes */
	BENCH_SEARCH_NAME, /* a name that no row has */
};

/* struct bench_work - what was done on flash. */
struct bench_work {
	uint32_t pages_read;
	uint32_t pages_programmed;
	uint32_t blocks_erased;
};

#define BENCH_EMPTY	0x4201 /* does nothing: what a command costs before it is dispatched */
#define BENCH_RUN	0x4202 /* struct bench_request */
#define BENCH_MARK	0x4203 /* runs bench_mark() of the module once, for who watches the emulator's trace */
#define BENCH_DEVICES	0x4204 /* there are as many MTD devices of the module as the argument says: "part<n>", 1 MiB, can only be read */
#define BENCH_RECORDS	0x4205 /* there are as many SPI flash records in flash_mng: instances 1 and up, with partition "part<n>" */
#define BENCH_WATCH	0x4206 /* the argument says whether work on flash is counted; starts from 0 */
#define BENCH_WORK	0x4207 /* struct bench_work: counted since then */
#define BENCH_ROWS	0x4208 /* the module has as many rows of its own as the argument says: numbered from 1 and named "part<n>" */
#define BENCH_FIND	0x4209 /* struct flash_find_config_arg: what flash_mng finds by instance, found in the rows */
#define BENCH_FIND_NAME 0x420A /* the same by name */

#endif
