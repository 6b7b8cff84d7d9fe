/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The commands of /dev/flash_lab, shared by the kernel module flash_lab and the test programs of the board.
 *
 * All addresses are user-space addresses carried in 64 bits. A command gives 0 or fails with errno; what failed is in the kernel log.
 */
#ifndef FLASH_LAB_ABI_H
#define FLASH_LAB_ABI_H

#include <linux/ioctl.h>
#include <linux/types.h>

#include "argument_abi.h"

#define LAB_NAME_SIZE 64
#define LAB_ARGUMENTS 8
#define LAB_TEXT_SIZE 256
#define LAB_CONTENT_SIZE 64

/* An MTD device to make. A device made with partition flags is the only partition of a parent that has no number of its own. */
struct lab_mtd_add {
	__u64 name;		/* text, NUL-terminated; 0 for a device without a name */
	__u64 size;		/* bytes */
	__u32 type;		/* MTD type code */
	__u32 erase_size;	/* bytes */
	__u32 is_partition;	/* 1: as a partition, created with partition_flags */
	__u32 partition_flags;
	__s32 index;		/* wanted MTD number or -1; out: the number given */
	__u32 reserved;
};

struct lab_mtd_bytes {
	__s32 index;
	__u32 reserved;
	__u64 offset;
	__u64 length;
	__u64 buffer;
};

struct lab_mtd_state {
	__s32 index;
	__s32 use_count;
	__u64 erases; /* erase blocks erased */
	__u64 writes; /* program operations */
};

/* The n-th erase or program operation of a device from now on fails with EIO and does nothing; nth 0 disarms. */
struct lab_mtd_failure {
	__s32 index;
	__u32 is_write;
	__u64 nth;
};

/* Commands made one after the other without a return to user space in between; the first that fails ends them. */
#define LAB_MOST_STEPS 16

struct lab_step {
	__u64 command;
	__u64 record;
};

struct lab_steps {
	__u64 steps; /* array of struct lab_step */
	__u32 count;
	__u32 reserved;
};

/* Functions that the lab's flash driver has. */
#define LAB_DRIVER_GET_SIZE 1
#define LAB_DRIVER_CREATE 2
#define LAB_DRIVER_DESTROY 4

/* What its function for sizes stores, as 64 bits. */
#define LAB_DRIVER_SIZE 0x123456789aull

struct lab_call {
	char function[LAB_NAME_SIZE];
	__u32 count;
	__u32 reserved;
	struct call_argument arguments[LAB_ARGUMENTS]; /* a driver: that of the lab with the functions of value */
	__u64 result; /* out: the whole result register */
};

/* A global of flash_mng by its name, or kernel memory by its address when the name is empty. */
struct lab_global {
	char name[LAB_NAME_SIZE]; /* of a global of flash_mng; "" for kernel memory at address */
	__u64 address;
	__u64 buffer;
	__u64 size;
};

enum lab_fault_kind {
	LAB_FAIL = 0,	   /* the call does nothing and gives result */
	LAB_LIE_COUNT = 1, /* an entry list is reported with result as its count */
	LAB_LIE_NULL = 2,  /* an entry list is reported with its count, as NULL */
	/* Interruptions: they happen before the call is made, and are not counted as hit. */
	LAB_DRIVER_GOES = 3,  /* the flash driver is unregistered */
	LAB_DRIVER_COMES = 4, /* the lab's flash driver with the functions of result is registered */
	LAB_WAIT = 5,	      /* the caller, who must be allowed to sleep, waits until the faults are cleared */
};

struct lab_fault {
	char function[LAB_NAME_SIZE]; /* of calls.def; not used by the lies */
	__u32 kind;
	__u32 always; /* 1: this call and all later ones */
	__u64 nth;    /* from 1, counted from now on */
	__s64 result;
	/* LAB_FAIL: what the caller finds where an argument points. */
	__u32 argument;
	__u32 content_size;
	__u8 content[LAB_CONTENT_SIZE];
};

/* The calls seen, each a NUL-terminated line, in order. */
struct lab_trace {
	__u64 buffer;
	__u64 size;	/* of buffer; 0 asks for used alone */
	__u64 used;	/* out: bytes of all lines */
	__u64 dropped;	/* out: lines that found no room */
};

struct lab_held {
	__s64 heap;
	__s64 virtual_memory;
	__s64 mtd_references;
	__s64 open_files;
	__s64 locks;
	__u64 untracked; /* takings that found no room in the table: the figures above are then too low */
};

/* The parts that the lab's flash driver was last told to create since flash_mng was loaded, as an array of struct flash_part. */
struct lab_parts {
	__u64 buffer;
	__u64 size; /* of buffer; 0 asks for used alone */
	__u64 used; /* out: bytes of all parts */
};

/* What log_module_init_end() was told at the last load. */
struct lab_load_end {
	__u32 seen;
	__u32 result;
	__u32 has_failure;
	__u32 reserved;
	__u64 start_ms;
	char name[LAB_TEXT_SIZE];
	char failure[LAB_TEXT_SIZE];
};

struct lab_status {
	__u32 functions;	  /* in calls.def, and copies of records */
	__u32 observed;		  /* of them found at the last load of flash_mng */
	__u32 faults_hit;	  /* armed faults that were hit */
	__u32 reserved;
	char unobserved[LAB_TEXT_SIZE]; /* the first function that was not found, or "" */
};

#define LAB_MAGIC 'L'
#define LAB_MTD_ADD _IOWR(LAB_MAGIC, 1, struct lab_mtd_add)
#define LAB_MTD_REMOVE _IOW(LAB_MAGIC, 2, __s32)
#define LAB_MTD_REMOVE_ALL _IO(LAB_MAGIC, 3)
#define LAB_MTD_PEEK _IOW(LAB_MAGIC, 4, struct lab_mtd_bytes)
#define LAB_MTD_POKE _IOW(LAB_MAGIC, 5, struct lab_mtd_bytes)
#define LAB_MTD_STATE _IOWR(LAB_MAGIC, 6, struct lab_mtd_state)
#define LAB_CALL _IOWR(LAB_MAGIC, 7, struct lab_call)
#define LAB_GLOBAL _IOW(LAB_MAGIC, 8, struct lab_global)
#define LAB_FAULT_ARM _IOW(LAB_MAGIC, 9, struct lab_fault)
#define LAB_FAULT_CLEAR _IO(LAB_MAGIC, 10)
#define LAB_TRACE_READ _IOWR(LAB_MAGIC, 11, struct lab_trace)
#define LAB_TRACE_CLEAR _IO(LAB_MAGIC, 12)
#define LAB_HELD _IOR(LAB_MAGIC, 13, struct lab_held)
/* Gives back what flash_mng, now unloaded, has kept, as far as it can be given back, and forgets the rest. EBUSY while it is loaded. */
#define LAB_HELD_GIVE_BACK _IO(LAB_MAGIC, 14)
#define LAB_LOAD_END _IOR(LAB_MAGIC, 15, struct lab_load_end)
#define LAB_STATUS _IOR(LAB_MAGIC, 16, struct lab_status)
#define LAB_LOAD_END_CLEAR _IO(LAB_MAGIC, 20)
/* Raw operations on a device of the lab, as a driver's user makes them: what strictness refuses comes back as errno. */
#define LAB_MTD_ERASE _IOW(LAB_MAGIC, 17, struct lab_mtd_bytes)
#define LAB_MTD_WRITE _IOW(LAB_MAGIC, 18, struct lab_mtd_bytes)
#define LAB_MTD_READ _IOW(LAB_MAGIC, 19, struct lab_mtd_bytes)
/* Removes flash_mng's log and releases its hardware locks where flash_mng was kept from doing so. Call it with flash_mng unloaded. */
#define LAB_PLATFORM_GIVE_BACK _IO(LAB_MAGIC, 21)
#define LAB_DRIVER_PARTS _IOWR(LAB_MAGIC, 22, struct lab_parts)
#define LAB_MTD_FAIL _IOW(LAB_MAGIC, 23, struct lab_mtd_failure)
#define LAB_STEPS _IOW(LAB_MAGIC, 24, struct lab_steps)
/* Whether the task that released an open file of the lab last still had its current->fs: 1 or 0. */
#define LAB_RELEASER_HAD_FS _IOR(LAB_MAGIC, 25, __u32)

#endif
