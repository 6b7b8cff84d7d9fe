// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Armed faults: a short list, every entry counting the calls of its function by itself. The first that is due decides.
 */
#include <linux/spinlock.h>
#include <linux/string.h>
#include <linux/uaccess.h>
#include <linux/wait.h>

#include "lab.h"

#define MOST_FAULTS 64

/* A call asks for each of these by itself. */
enum fault_class { FAILURE, LIE, INTERRUPTION };

struct fault {
	int function;
	enum lab_fault_kind kind;
	bool always;
	bool hit;
	u64 countdown; /* calls up to and with the failing one */
	s64 result;
	u32 argument;
	u32 content_size;
	u8 content[LAB_CONTENT_SIZE];
};

static const char *const names[] = {
#define FLASH_CALL(name, arguments) #name,
#include "calls.def"
#undef FLASH_CALL
};

static DEFINE_RAW_SPINLOCK(lock);
static struct fault faults[MOST_FAULTS];
static u32 armed;
static u32 clearings;
static DECLARE_WAIT_QUEUE_HEAD(cleared);

static enum fault_class class_of(enum lab_fault_kind kind)
{
	switch (kind) {
	case LAB_FAIL:
		return FAILURE;
	case LAB_LIE_COUNT:
	case LAB_LIE_NULL:
		return LIE;
	case LAB_DRIVER_GOES:
	case LAB_DRIVER_COMES:
	case LAB_WAIT:
		break;
	}
	return INTERRUPTION;
}

int lab_function_index(const char *name)
{
	int index = match_string(names, ARRAY_SIZE(names), name);

	return index < 0 ? -ENOENT : index;
}

static int add_fault(const struct fault *fault)
{
	unsigned long flags;
	int error = -ENOSPC;

	raw_spin_lock_irqsave(&lock, flags);
	if (armed < MOST_FAULTS) {
		faults[armed] = *fault;
		/* Calls look at the count without the lock first. */
		WRITE_ONCE(armed, armed + 1);
		error = 0;
	}
	raw_spin_unlock_irqrestore(&lock, flags);
	return error;
}

static bool is_good(const struct lab_fault *wanted)
{
	if (!wanted->nth || wanted->kind > LAB_WAIT || wanted->argument >= LAB_ARGUMENTS || wanted->content_size > LAB_CONTENT_SIZE)
		return false;
	return wanted->kind != LAB_DRIVER_COMES || lab_driver_table(wanted->result);
}

long lab_fault_arm(struct lab_fault __user *argument)
{
	struct lab_fault wanted;
	struct fault fault = { 0 };

	if (copy_from_user(&wanted, argument, sizeof(wanted)))
		return -EFAULT;
	wanted.function[LAB_NAME_SIZE - 1] = '\0';
	fault.kind = wanted.kind;
	fault.function = lab_function_index(class_of(wanted.kind) == LIE ? "xml_get_entry_list" : wanted.function);
	fault.always = wanted.always;
	fault.countdown = wanted.nth;
	fault.result = wanted.result;
	fault.argument = wanted.argument;
	fault.content_size = wanted.content_size;
	memcpy(fault.content, wanted.content, sizeof(fault.content));
	if (fault.function < 0 || !is_good(&wanted)) {
		pr_err("fault refused: function \"%s\", kind %u, call %llu\n", wanted.function, wanted.kind, wanted.nth);
		return -EINVAL;
	}
	return add_fault(&fault);
}

void lab_fault_clear(void)
{
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	WRITE_ONCE(armed, 0);
	WRITE_ONCE(clearings, clearings + 1);
	raw_spin_unlock_irqrestore(&lock, flags);
	wake_up_all(&cleared);
}

u32 lab_faults_hit(void)
{
	unsigned long flags;
	u32 i, hit = 0;

	raw_spin_lock_irqsave(&lock, flags);
	for (i = 0; i < armed; i++)
		hit += faults[i].hit;
	raw_spin_unlock_irqrestore(&lock, flags);
	return hit;
}

/* A countdown of 0 is over. */
static bool is_due(struct fault *fault)
{
	if (fault->countdown > 1) {
		fault->countdown--;
		return false;
	}
	if (!fault->countdown)
		return false;
	if (!fault->always)
		fault->countdown = 0;
	return true;
}

static struct fault *next_due(int function, enum fault_class class)
{
	struct fault *due = NULL;
	u32 i;

	for (i = 0; i < armed; i++) {
		struct fault *fault = &faults[i];

		if (fault->function != function || class_of(fault->kind) != class || !is_due(fault))
			continue;
		if (!due)
			due = fault;
	}
	if (due)
		due->hit = class != INTERRUPTION;
	return due;
}

bool lab_fault_take(int function, const u64 *arguments, s64 *result)
{
	struct fault *due;
	unsigned long flags;

	if (!READ_ONCE(armed))
		return false;
	raw_spin_lock_irqsave(&lock, flags);
	due = next_due(function, FAILURE);
	if (due) {
		*result = due->result;
		if (due->content_size)
			memcpy((void *)arguments[due->argument], due->content, due->content_size);
	}
	raw_spin_unlock_irqrestore(&lock, flags);
	return due;
}

enum lab_fault_kind lab_fault_take_lie(u32 *count)
{
	enum lab_fault_kind kind = LAB_FAIL;
	struct fault *due;
	unsigned long flags;

	if (!READ_ONCE(armed))
		return LAB_FAIL;
	raw_spin_lock_irqsave(&lock, flags);
	due = next_due(lab_function_index("xml_get_entry_list"), LIE);
	if (due) {
		kind = due->kind;
		*count = due->result;
	}
	raw_spin_unlock_irqrestore(&lock, flags);
	return kind;
}

bool lab_interruption_take(int function, struct lab_interruption *taken)
{
	struct fault *due;
	unsigned long flags;

	if (!READ_ONCE(armed))
		return false;
	raw_spin_lock_irqsave(&lock, flags);
	due = next_due(function, INTERRUPTION);
	if (due) {
		taken->kind = due->kind;
		taken->table = due->result;
		taken->clearings = clearings;
	}
	raw_spin_unlock_irqrestore(&lock, flags);
	return due;
}

void lab_interrupt(const struct lab_interruption *taken)
{
	switch (taken->kind) {
	case LAB_DRIVER_GOES:
		lab_driver_goes();
		break;
	case LAB_DRIVER_COMES:
		lab_driver_comes(taken->table);
		break;
	default:
		wait_event_killable(cleared, READ_ONCE(clearings) != taken->clearings);
	}
}
