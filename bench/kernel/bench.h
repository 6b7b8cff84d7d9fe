/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the files of the module have for each other. One program at a time uses it; nothing here is locked.
 */
#ifndef BENCH_H
#define BENCH_H

#include <asm/sysreg.h>
#include <linux/types.h>

#include "bench_abi.h"

/** bench_counter() - instructions until now, modulo 2^32, with those before it done. */
static inline u32 bench_counter(void)
{
	isb();
	return read_sysreg(pmevcntr0_el0);
}

/**
 * bench_run() - make a call @request->times times and count the instructions.
 * @buffer: @request->length bytes in the kernel, the program's data
 *
 * The count and the call's code go to @request. Return: 0, or an errno when there is no such call.
 */
int bench_run(struct bench_request *request, void *buffer);

/* The calls that flash_mng's are made of. Return: 0, or the code of the one that failed. */
u32 bench_listed_read(const struct bench_request *request);
u32 bench_listed_write(const struct bench_request *request, void *buffer);
u32 bench_block_read(const struct bench_request *request, void *buffer);
u32 bench_block_write(const struct bench_request *request, const void *buffer, int flags);
u32 bench_device_by_name(const struct bench_request *request);

/** bench_free_image() - free the memory that the listed calls keep. */
void bench_free_image(void);

/** bench_devices() - make or remove MTD devices until there are @count. Return: 0 or an errno. */
int bench_devices(u32 count);

/** bench_records() - make or remove records of flash_mng until there are @count. Return: 0, or -EIO when flash_mng refuses. */
int bench_records(u32 count);

void bench_register_driver(void);
void bench_unregister_driver(void);

/** bench_erases() - turn counting of erased blocks on or off. Return: those counted since the last call, or an errno. */
int bench_erases(bool counted);

#endif
