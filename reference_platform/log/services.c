// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The log's services and module. The size of a log is the number of records that it keeps, from 256 to 2048.
 */
#define DEBUG /* traces go to the kernel log, when printk_level lets them */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/module.h>

#include "fault_switches.h"
#include "files.h"
#include "platform/log.h"
#include "platform_status.h"
#include "store.h"

#define LOG_LEVEL_SERIOUS	1
#define LOG_LEVEL_ORDINARY	2
#define LOG_LEVEL_TRACE		3
#define LOG_FLAG_PLATFORM	1 /* a record of the platform's own */

static uint keep_level = LOG_LEVEL_TRACE;
module_param(keep_level, uint, 0644);
MODULE_PARM_DESC(keep_level, "records up to this level are kept (3)");

static uint printk_level = LOG_LEVEL_ORDINARY;
module_param(printk_level, uint, 0644);
MODULE_PARM_DESC(printk_level, "records up to this level also go to the kernel log (2)");

static struct fault_switch g_switch_table[] = {
	{ .function = "drv_log_register" },
	{ .function = "drv_log_deregister" },
};
static DEFINE_FAULT_SWITCHES(g_switches, g_switch_table);

u32 drv_log_register(u32 module_id, const char *name, u32 size)
{
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	if (module_id == LOG_COMMON_ID || !name)
		return LOG_BAD_ARGUMENT;
	return log_store_open(module_id, name, size);
}
EXPORT_SYMBOL(drv_log_register);

u32 drv_log_deregister(u32 module_id)
{
	u32 status;

	if (fault_switched(&g_switches, __func__, &status))
		return status;
	if (module_id == LOG_COMMON_ID)
		return LOG_BAD_ARGUMENT;
	return log_store_close(module_id);
}
EXPORT_SYMBOL(drv_log_deregister);

static void print_record(u32 module_id, u32 level, struct va_format *text)
{
	if (level <= LOG_LEVEL_SERIOUS)
		pr_warn("%u: %pV\n", module_id, text);
	else if (level == LOG_LEVEL_ORDINARY)
		pr_info("%u: %pV\n", module_id, text);
	else
		pr_debug("%u: %pV\n", module_id, text);
}

void drv_log_record(u32 module_id, u32 level, u32 flag, const char *fmt, ...)
{
	struct va_format text = { .fmt = fmt };
	va_list values;

	if (!fmt)
		return;
	if (level <= keep_level) {
		va_start(values, fmt);
		log_store_add(module_id, level, flag, fmt, values);
		va_end(values);
	}
	if (level <= printk_level) {
		va_start(values, fmt);
		text.va = &values;
		print_record(module_id, level, &text);
		va_end(values);
	}
}
EXPORT_SYMBOL(drv_log_record);

u64 log_get_timestamp_ms(void)
{
	return ktime_to_ms(ktime_get());
}
EXPORT_SYMBOL(log_get_timestamp_ms);

void log_module_init_end(const char *name, u64 start_ms, u32 result, const char *failure)
{
	u64 took_ms = log_get_timestamp_ms() - start_ms;

	if (!name)
		name = "(no name)";
	log_files_set_last_init(name, result, failure);
	drv_log_record(LOG_COMMON_ID, LOG_LEVEL_ORDINARY, LOG_FLAG_PLATFORM, "%s MODULE INIT END result 0x%x in %llu ms%s%s", name, result,
		       took_ms, failure ? ": " : "", failure ? failure : "");
}
EXPORT_SYMBOL(log_module_init_end);

static int __init log_init(void)
{
	if (log_store_init()) {
		pr_err("no memory for the common log\n");
		return -ENOMEM;
	}
	log_files_create(&g_switches);
	return 0;
}

static void __exit log_exit(void)
{
	log_files_remove();
	log_store_free();
}

module_init(log_init);
module_exit(log_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Reference platform: numbered logs");
