/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Where the records of all logs are kept: one ring of records per log, numbered in one sequence across all logs.
 *
 * A ring is allocated when its log is first opened and stays until the store is freed: the records of a closed log can still be read,
 * later ones are added to them, and opening it again goes on in the same ring. A full ring drops its oldest record, which shows as a
 * gap in the sequence. Adding a record allocates nothing. Opening and closing sleep; everything else may be called in any context. One
 * spinlock, a leaf.
 */
#ifndef REFERENCE_PLATFORM_LOG_STORE_H
#define REFERENCE_PLATFORM_LOG_STORE_H

#include <linux/kernel.h>

#define LOG_COMMON_ID		0
#define LOG_TEXT_SIZE		240 /* with the NUL; a longer text is cut */
#define LOG_NAME_SIZE		32
#define LOG_MAX_LOGS		64
#define LOG_MIN_RECORDS		256
#define LOG_MAX_RECORDS		2048

struct log_record {
	u64 sequence; /* from 1 */
	u64 time_ms;
	u32 module_id;
	u32 level;
	u32 flag;
	char text[LOG_TEXT_SIZE];
};

/* log_store_init() - create the store with the common log in it. Return: 0 or LOG_NO_MEMORY. */
u32 log_store_init(void);

void log_store_free(void);

/* log_store_open() - open a log that keeps @records records, brought into the limits above. Return: 0 or a status of the log. */
u32 log_store_open(u32 module_id, const char *name, u32 records);

/* log_store_close() - close a log. Return: 0 or LOG_NOT_REGISTERED. */
u32 log_store_close(u32 module_id);

/* log_store_add() - add a record to its log, or to the common log when that was never opened; @module_id is kept either way. */
__printf(4, 0) void log_store_add(u32 module_id, u32 level, u32 flag, const char *fmt, va_list values);

/* log_store_next() - copy the oldest record of any log whose sequence is @from or above. Return: whether there is one. */
bool log_store_next(u64 from, struct log_record *record);

/* log_store_clear() - forget all records; the sequence goes on. */
void log_store_clear(void);

#endif
