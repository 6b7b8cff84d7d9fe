/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * For tests: the next call that this task makes to a function of the kernel or of a module does nothing and gives a wanted result. So a
 * service is brought to the failures of what it asks of Linux.
 */
#ifndef REFERENCE_PLATFORM_FAILING_CALL_H
#define REFERENCE_PLATFORM_FAILING_CALL_H

#include <linux/kernel.h>
#include <linux/kprobes.h>
#include <linux/sched.h>

struct failing_call {
	struct kprobe probe;
	struct task_struct *task; /* until it has made the call */
	unsigned long result;
	char name[64];
};

/* To the caller, as if the function had returned at once. */
static inline void failing_call_return(struct pt_regs *regs, unsigned long result)
{
	regs_set_return_value(regs, result);
#ifdef CONFIG_X86
	instruction_pointer_set(regs, *(unsigned long *)regs->sp);
	regs->sp += sizeof(unsigned long);
#else
	instruction_pointer_set(regs, procedure_link_pointer(regs));
#endif
}

static inline int failing_call_meet(struct kprobe *probe, struct pt_regs *regs)
{
	struct failing_call *call = container_of(probe, struct failing_call, probe);

	if (READ_ONCE(call->task) != current)
		return 0;
	WRITE_ONCE(call->task, NULL);
	failing_call_return(regs, call->result);
	return 1;
}

static inline bool failing_call_watch(struct failing_call *call, const char *function, const char *ending)
{
	scnprintf(call->name, sizeof(call->name), "%s%s", function, ending);
	call->probe = (struct kprobe){ .symbol_name = call->name, .pre_handler = failing_call_meet };
	return !register_kprobe(&call->probe);
}

/*
 * failing_call_begin() - from now on, until failing_call_end(). Sleeps. Return: whether there is such a function. Where Linux made a macro
 * of an allocation, it is the function below that fails.
 */
static inline bool failing_call_begin(struct failing_call *call, const char *function, unsigned long result)
{
	call->task = current;
	call->result = result;
	return failing_call_watch(call, function, "_noprof") || failing_call_watch(call, function, "");
}

/* failing_call_end() - after a begin that found its function. Sleeps. Return: whether the call was made. */
static inline bool failing_call_end(struct failing_call *call)
{
	unregister_kprobe(&call->probe);
	return !call->task;
}

#endif
