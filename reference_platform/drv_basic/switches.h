/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the files of drv_basic share: the fault switches, and the list of held hardware locks for debugfs.
 */
#ifndef REFERENCE_PLATFORM_DRV_BASIC_SWITCHES_H
#define REFERENCE_PLATFORM_DRV_BASIC_SWITCHES_H

struct fault_switches;
struct seq_file;

extern struct fault_switches g_basic_switches;

/* hard_locks_show() - write one line per held lock: "<inst_id> <lock_type> <lock_val>". */
void hard_locks_show(struct seq_file *out);

#endif
