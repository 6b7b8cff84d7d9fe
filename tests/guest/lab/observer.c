// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The observer of the calls that flash_mng makes.
 *
 * After the kernel has linked flash_mng and before its init function runs, every branch in flash_mng's text to a function of calls.def is
 * led to that function's stub (branches.c and stubs.S of the machine). So exactly flash_mng's own calls are seen, the rest of the kernel
 * runs untouched, and the observer works in the context of the call itself: it takes raw spinlocks only, since flash_mng may hold a lock.
 * Where the lab only lends its MTD devices, the module parameter "observe" leaves flash_mng untouched too.
 */
#include <linux/err.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/notifier.h>
#include <linux/uaccess.h>

#include "branches.h"
#include "frame.h"
#include "lab.h"

static bool follow = true;
module_param_named(observe, follow, bool, 0);
MODULE_PARM_DESC(observe, "follow the calls of flash_mng (default: yes)");

struct observed {
	const char *name;
	const char *signature; /* NULL: not of calls.def; one of flash_mng's own of which is only seen whether it runs */
	unsigned long address; /* in the kernel, the platform or flash_mng; 0: there is no such function */
	int copies_as; /* of calls.def; what the copy of a whole record is seen as */
	u32 record_size; /* bytes; 0: it is no such copy */
	bool ran;
};

enum {
#define FLASH_CALL(function, arguments) INDEX_OF_##function,
#define RECORD_COPY(function, copy, size) INDEX_OF_##function,
#include "calls.def"
#include "record_copies.def"
#undef RECORD_COPY
#undef FLASH_CALL
	CALLS
};

static struct observed observed[LAB_STUBS] = {
#define FLASH_CALL(function, arguments) { .name = #function, .signature = arguments },
#define RECORD_COPY(function, copy, size) { .name = #function, .copies_as = INDEX_OF_##copy, .record_size = size },
#include "calls.def"
#include "record_copies.def"
#undef RECORD_COPY
#undef FLASH_CALL
};
static int observed_count = CALLS;

/* What taking and giving back look like. */
struct taker {
	const char *name;
	enum lab_holding kind;
	bool returns_address; /* otherwise 0 is success, and the first argument names the holding */
};

struct giver {
	const char *name;
	enum lab_holding kind;
};

static const struct taker takers[] = {
	{ "linux_kzalloc", LAB_HEAP, true },
	{ "linux_kcalloc", LAB_HEAP, true },
	{ "linux_kstrdup", LAB_HEAP, true },
	{ "vzalloc", LAB_VIRTUAL, true },
	{ "vmalloc", LAB_VIRTUAL, true },
	{ "get_mtd_device_nm", LAB_MTD_REFERENCE, true },
	{ "get_mtd_device", LAB_MTD_REFERENCE, true },
	{ "filp_open", LAB_OPEN_FILE, true },
	{ "down_killable", LAB_LOCK, false },
};

static const struct giver givers[] = {
	{ "kfree", LAB_HEAP },
	{ "vfree", LAB_VIRTUAL },
	{ "put_mtd_device", LAB_MTD_REFERENCE },
	{ "filp_close", LAB_OPEN_FILE },
	{ "mutex_unlock", LAB_LOCK },
	{ "up", LAB_LOCK },
	{ "linux_spin_unlock", LAB_LOCK },
};

static struct module *flash_mng; /* as long as it is loaded */
static DEFINE_MUTEX(flash_mng_lock);

static const struct taker *taker_named(const char *name)
{
	size_t i;

	for (i = 0; i < ARRAY_SIZE(takers); i++) {
		if (!strcmp(takers[i].name, name))
			return &takers[i];
	}
	return NULL;
}

static void account_giving(const char *name, const struct lab_frame *frame)
{
	size_t i;

	for (i = 0; i < ARRAY_SIZE(givers); i++) {
		if (!strcmp(givers[i].name, name))
			lab_release(givers[i].kind, frame->arguments[0]);
	}
	/* They cannot fail, so their call is as good as their return. */
	if (!strcmp(name, "linux_mutex_lock") || !strcmp(name, "linux_spin_lock"))
		lab_hold(LAB_LOCK, frame->arguments[0]);
}

/* What stops a call is decided before the call is seen: a case that sees it may make the next one, which is not to be stopped. */
static bool observe(int function, const u64 *arguments, s64 *result)
{
	struct lab_interruption interruption;
	bool interrupted = lab_interruption_take(function, &interruption);

	lab_trace_call(observed[function].name, observed[function].signature, arguments);
	if (interrupted)
		lab_interrupt(&interruption);
	return lab_fault_take(function, arguments, result);
}

bool lab_observe(const char *name, const u64 *arguments, s64 *result)
{
	return observe(lab_function_index(name), arguments, result);
}

int lab_on_call(struct lab_frame *frame)
{
	struct observed *call = &observed[frame->function];
	int function = frame->function;
	s64 result;

	frame->target = call->address;
	if (call->record_size) {
		function = call->copies_as;
		frame->arguments[2] = call->record_size;
	} else if (!call->signature) {
		WRITE_ONCE(call->ran, true);
		return LAB_GO_ON;
	}
	if (!strcmp(call->name, "log_module_init_end"))
		lab_trace_load_end(frame->arguments);
	if (observe(function, frame->arguments, &result)) {
		lab_platform_skipped(call->name, frame->arguments);
		frame->result = result;
		return LAB_SKIP;
	}
	WRITE_ONCE(call->ran, true);
	account_giving(call->name, frame);
	return taker_named(call->name) || !strcmp(call->name, "xml_get_entry_list") ? LAB_WATCH : LAB_GO_ON;
}

static void lie_about_list(const struct lab_frame *frame)
{
	u32 count;

	switch (lab_fault_take_lie(&count)) {
	case LAB_LIE_COUNT:
		*(u32 *)frame->arguments[4] = count;
		break;
	case LAB_LIE_NULL:
		*(void **)frame->arguments[3] = NULL;
		break;
	default:
		break;
	}
}

void lab_on_return(struct lab_frame *frame)
{
	const struct taker *taker = taker_named(observed[frame->function].name);

	if (!taker) {
		if (!(u32)frame->result)
			lie_about_list(frame);
	} else if (!taker->returns_address) {
		if (!(u32)frame->result)
			lab_hold(taker->kind, frame->arguments[0]);
	} else if (!IS_ERR_OR_NULL((void *)frame->result)) {
		lab_hold(taker->kind, frame->result);
	}
}

int lab_function_at(unsigned long address)
{
	int i;

	for (i = 0; i < observed_count; i++) {
		if (observed[i].address == address)
			return i;
	}
	return -ENOENT;
}

static struct observed *observed_named(const char *name)
{
	int i;

	for (i = 0; i < observed_count; i++) {
		if (!strcmp(observed[i].name, name))
			return &observed[i];
	}
	return NULL;
}

int lab_observe_too(const char *name)
{
	if (observed_named(name))
		return 0;
	if (observed_count == LAB_STUBS)
		return -ENOSPC;
	observed[observed_count++].name = name;
	return 0;
}

bool lab_ran(const char *name)
{
	const struct observed *function = observed_named(name);

	return function && READ_ONCE(function->ran);
}

/* Linux calls init and exit, so no branch of flash_mng leads there; but it tells when it has done so. */
static void ran_by_linux(const char *name)
{
	struct observed *function = observed_named(name);

	if (function)
		WRITE_ONCE(function->ran, true);
}

static bool is_shim(const struct observed *call)
{
	return !call->signature || strncmp(call->name, "linux_", strlen("linux_")) == 0;
}

/* Linux and the platform stay where they are; flash_mng's own functions come with each load, also those that stand for a macro of Linux. */
static void find_functions(void)
{
	int i;

	for (i = 0; i < observed_count; i++) {
		struct observed *call = &observed[i];
		unsigned long own = lab_module_symbol(call->name);

		if (own || is_shim(call))
			call->address = own;
		else if (!call->address)
			call->address = lab_symbol(call->name);
		if (!call->address)
			pr_warn("no function %s to be observed\n", call->name);
	}
}

static int prepare_flash_mng(struct module *module)
{
	int error = lab_know_symbols(module) ?: lab_driver_prepare();

	if (error)
		return error;
	find_functions();
	error = lab_redirect_calls(module);
	if (error)
		return error;
	/* Its text leads here from now on. */
	__module_get(THIS_MODULE);
	return 0;
}

static void set_flash_mng(struct module *module)
{
	mutex_lock(&flash_mng_lock);
	flash_mng = module;
	mutex_unlock(&flash_mng_lock);
}

static int on_module_event(struct notifier_block *block, unsigned long event, void *data)
{
	struct module *module = data;

	if (strcmp(module->name, "flash_mng"))
		return NOTIFY_DONE;
	switch (event) {
	case MODULE_STATE_COMING:
		return notifier_from_errno(prepare_flash_mng(module));
	case MODULE_STATE_LIVE:
		ran_by_linux("flash_mng_init");
		set_flash_mng(module);
		break;
	case MODULE_STATE_GOING:
		if (flash_mng)
			ran_by_linux("flash_mng_exit");
		set_flash_mng(NULL);
		module_put(THIS_MODULE);
		break;
	}
	return NOTIFY_OK;
}

static struct notifier_block module_events = {
	.notifier_call = on_module_event,
};

struct module *lab_hold_flash_mng(void)
{
	struct module *module;

	mutex_lock(&flash_mng_lock);
	module = flash_mng;
	if (module && !try_module_get(module))
		module = NULL;
	mutex_unlock(&flash_mng_lock);
	return module;
}

unsigned long lab_function(const char *name)
{
	int function = lab_function_index(name);

	return function < 0 ? 0 : observed[function].address;
}

int lab_observer_init(void)
{
	int error;

	if (!follow)
		return 0;
	if (lab_symbol("flash_mng:flash_mng_load")) {
		pr_err("flash_mng is loaded already: its load cannot be observed; unload it first\n");
		return -EBUSY;
	}
	error = lab_branches_init();
	if (error)
		return error;
	return register_module_notifier(&module_events);
}

void lab_observer_exit(void)
{
	if (!follow)
		return;
	unregister_module_notifier(&module_events);
	lab_forget_symbols();
}

long lab_status(struct lab_status __user *argument)
{
	struct lab_status status = { .functions = CALLS };
	int i;

	for (i = 0; i < CALLS; i++) {
		if (observed[i].address)
			status.observed++;
		else if (!status.unobserved[0])
			strscpy(status.unobserved, observed[i].name, sizeof(status.unobserved));
	}
	status.faults_hit = lab_faults_hit();
	return copy_to_user(argument, &status, sizeof(status)) ? -EFAULT : 0;
}
