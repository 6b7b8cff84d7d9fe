/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The log in debugfs, /sys/kernel/debug/log:
 *
 *   records    one line per record, all logs in one sequence:
 *              "<sequence> <time_ms> <module_id> <level> <flag> <text>"; in the text a backslash is written as two, a line feed as \n,
 *              any other byte that is not printable ASCII as \xHH. Writing "clear" forgets all records.
 *   last_init  the last report of log_module_init_end(): "<name> <result in hexadecimal> <failure, or - for none>"
 *   switches   see fault_switches.h
 */
#ifndef REFERENCE_PLATFORM_LOG_FILES_H
#define REFERENCE_PLATFORM_LOG_FILES_H

#include <linux/types.h>

struct fault_switches;

void log_files_create(struct fault_switches *switches);
void log_files_remove(void);

/* log_files_set_last_init() - remember a report for "last_init"; may sleep. */
void log_files_set_last_init(const char *name, u32 result, const char *failure);

#endif
