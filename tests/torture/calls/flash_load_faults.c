// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * flash_load_faults: fault points of flash_mng's load and unload, counted from the module's own first instruction to its last, so that
 * the hundreds of the kernel's module loader stay out of it. Load it before flash_mng.
 *
 * Parameters: nth is the fault point that fails at the next load or unload, 0 for none; left is what is left to count after it, 0 when
 * the fault happened.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/kernel.h>
#include <linux/kprobes.h>
#include <linux/module.h>
#include <linux/notifier.h>
#include <linux/sched.h>
#include <linux/string.h>

static uint nth;
module_param(nth, uint, 0644);
static uint left;
module_param(left, uint, 0444);

static int at_entry(struct kretprobe_instance *instance, struct pt_regs *registers)
{
#ifdef CONFIG_FAULT_INJECTION
	WRITE_ONCE(current->fail_nth, nth);
#endif
	left = nth;
	return 0;
}

static int at_return(struct kretprobe_instance *instance, struct pt_regs *registers)
{
#ifdef CONFIG_FAULT_INJECTION
	left = READ_ONCE(current->fail_nth);
	WRITE_ONCE(current->fail_nth, 0);
#endif
	nth = 0;
	return 0;
}

static struct kretprobe g_probes[2];
static bool g_probing;

static int start_probing(void)
{
	static const char *const functions[] = { "flash_mng:flash_mng_load", "flash_mng:flash_mng_unload" };
	int i, error = 0;

	for (i = 0; i < ARRAY_SIZE(g_probes) && !error; i++) {
		g_probes[i] = (struct kretprobe){ .kp.symbol_name = functions[i], .entry_handler = at_entry, .handler = at_return };
		error = register_kretprobe(&g_probes[i]);
	}
	g_probing = !error;
	if (error)
		pr_err("flash_mng's functions cannot be probed, error %d\n", error);
	return error;
}

static void stop_probing(void)
{
	int i;

	for (i = 0; i < ARRAY_SIZE(g_probes) && g_probing; i++)
		unregister_kretprobe(&g_probes[i]);
	g_probing = false;
}

static int on_module_event(struct notifier_block *block, unsigned long event, void *data)
{
	struct module *module = data;

	if (strcmp(module->name, "flash_mng"))
		return NOTIFY_DONE;
	if (event == MODULE_STATE_COMING)
		return notifier_from_errno(start_probing());
	if (event == MODULE_STATE_GOING)
		stop_probing();
	return NOTIFY_OK;
}

static struct notifier_block g_module_events = {
	.notifier_call = on_module_event,
};

static int __init flash_load_faults_init(void)
{
	return register_module_notifier(&g_module_events);
}

static void __exit flash_load_faults_exit(void)
{
	unregister_module_notifier(&g_module_events);
	stop_probing();
}

module_init(flash_load_faults_init);
module_exit(flash_load_faults_exit);

MODULE_DESCRIPTION("Fault points of flash_mng's load and unload");
MODULE_AUTHOR("flash_mng developers");
MODULE_LICENSE("GPL");
