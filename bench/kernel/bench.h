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
u32 bench_listed_write(const struct bench_request *request, const void *buffer);
u32 bench_image_read(const struct bench_request *request, void *buffer);
u32 bench_image_write(const struct bench_request *request, const void *buffer);
u32 bench_block_read(const struct bench_request *request, void *buffer);
u32 bench_block_write(const struct bench_request *request, const void *buffer, int flags);
u32 bench_device_by_name(const struct bench_request *request);

/** bench_free_image() - free the memory that the listed and image calls keep. */
void bench_free_image(void);

/** bench_devices() - make or remove MTD devices until there are @count. Return: 0 or an errno. */
int bench_devices(u32 count);

/** bench_records() - make or remove records of flash_mng until there are @count. Return: 0, or -EIO when flash_mng refuses. */
int bench_records(u32 count);

void bench_register_driver(void);
void bench_unregister_driver(void);

/** bench_watch() - turn counting of work on flash on, from 0, or off. Return: 0 or an errno. */
int bench_watch(bool watched);

/** bench_work() - what was done on flash since counting was turned on. */
const struct bench_work *bench_work(void);

/** bench_rows() - make so many rows to search, in place of those before. Return: 0 or -ENOMEM. */
int bench_rows(u32 count);

/** bench_search() - search the rows: enum bench_search. @name: not the name of a row */
void bench_search(u32 search, const char *name);

/** bench_find() - answer a struct flash_find_config_arg of a program from the rows. Return: 0 or a code of flash_mng. */
u32 bench_find(unsigned long argument);
u32 bench_find_name(unsigned long argument);

#endif
