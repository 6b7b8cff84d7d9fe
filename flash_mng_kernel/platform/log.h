/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Services of the platform module "log": numbered logs that modules register and write to.
 */
#ifndef FLASH_MNG_PLATFORM_LOG_H
#define FLASH_MNG_PLATFORM_LOG_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

/**
 * drv_log_register() - register a log.
 * @module_id: number of the log; later calls name it by this number
 * @name: name of the log, NUL-terminated, copied by the service
 * @size: size of the log; its unit is the platform's business
 *
 * Context: process context, may sleep.
 * Return: 0, or the platform's own non-zero code, which the caller passes on.
 */
u32 drv_log_register(u32 module_id, const char *name, u32 size);

/**
 * drv_log_deregister() - remove a log that was registered.
 * @module_id: number of the log
 *
 * Context: process context, may sleep.
 * Return: a status that flash_mng ignores.
 */
u32 drv_log_deregister(u32 module_id);

/**
 * drv_log_record() - write one message.
 * @module_id: number of a registered log, or 0 for the platform's common log, which always exists
 * @level: 1 serious failure, 2 ordinary message, 3 trace
 * @flag: always 0
 * @fmt: printf-style format, followed by its values; the service adds no line feed to the text it stores
 *
 * Context: process context; must not be called with a spinlock held.
 */
void drv_log_record(u32 module_id, u32 level, u32 flag, const char *fmt, ...) __attribute__((format(printf, 4, 5)));

/** log_get_timestamp_ms() - the platform's monotonic time in milliseconds. */
u64 log_get_timestamp_ms(void);

/**
 * log_module_init_end() - report how the load of a module ended.
 * @name: module name
 * @start_ms: log_get_timestamp_ms() at the start of the load
 * @result: 0, or the code of the step that failed
 * @failure: what failed, or NULL when the load succeeded
 */
void log_module_init_end(const char *name, u64 start_ms, u32 result, const char *failure);

FLASH_MNG_C_END

#endif
