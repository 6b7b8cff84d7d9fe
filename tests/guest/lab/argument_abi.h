/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * One argument of a call that a program has a test module make: a number, or kernel memory of exactly size bytes that starts as a copy of
 * the program's.
 */
#ifndef ARGUMENT_ABI_H
#define ARGUMENT_ABI_H

#include <linux/types.h>

enum call_argument_kind {
	CALL_VALUE = 0,
	CALL_MEMORY = 1,    /* copied in and back out */
	CALL_MEMORY_IN = 2, /* copied in only */
	CALL_PARTS = 3,	    /* a struct flash_parts_info; value and size are its parts, 0 for no address, number its part_num */
	CALL_DRIVER = 4,    /* a struct flash_driver_ops of the test module; which one, value says */
};

struct call_argument {
	__u32 kind;
	__u32 number;
	__u64 value; /* the number, or the address of the program's bytes */
	__u64 size;  /* at most 64 MiB */
};

#endif
