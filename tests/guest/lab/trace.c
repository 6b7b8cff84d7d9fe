// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * The lines of the calls seen, one after the other in one buffer. A line that does not fit is counted and left out whole.
 */
#include <linux/kmemleak.h>
#include <linux/spinlock.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "lab.h"

#define TRACE_SIZE (8u << 20)

static DEFINE_RAW_SPINLOCK(lock);
static char *lines;
static size_t used;
static u64 dropped;
static struct lab_load_end load_end;

int lab_trace_init(void)
{
	lines = vzalloc(TRACE_SIZE);
	if (!lines)
		return -ENOMEM;
	kmemleak_no_scan(lines); /* text: nothing in it points anywhere */
	return 0;
}

void lab_trace_exit(void)
{
	vfree(lines);
}

static size_t add_char(size_t at, char c)
{
	if (at < TRACE_SIZE)
		lines[at] = c;
	return at + 1;
}

static size_t add_plain(size_t at, const char *text)
{
	while (*text)
		at = add_char(at, *text++);
	return at;
}

/* A text of the observed module: its address may be anything. */
static size_t add_foreign(size_t at, const char *text)
{
	char c;

	if (!text)
		return add_plain(at, "null");
	at = add_char(at, '"');
	for (; at < TRACE_SIZE; text++) {
		if (copy_from_kernel_nofault(&c, text, 1))
			return add_plain(at, "<fault>");
		if (!c)
			break;
		at = add_char(at, c);
	}
	return add_char(at, '"');
}

static size_t add_argument(size_t at, char letter, unsigned long value)
{
	char text[24];

	switch (letter) {
	case 's':
		return add_foreign(at, (const char *)value);
	case 'u':
		snprintf(text, sizeof(text), "%u", (u32)value);
		break;
	case 'x':
		snprintf(text, sizeof(text), "0x%x", (u32)value);
		break;
	case 'l':
		snprintf(text, sizeof(text), "%lu", value);
		break;
	case 'X':
		snprintf(text, sizeof(text), "0x%lx", value);
		break;
	case 'd':
		snprintf(text, sizeof(text), "%d", (int)value);
		break;
	default:
		return add_char(at, letter);
	}
	return add_plain(at, text);
}

static size_t add_line(size_t at, const char *name, const char *signature, const u64 *arguments)
{
	int i;

	at = add_plain(at, name);
	at = add_char(at, '(');
	for (i = 0; signature[i]; i++) {
		if (i)
			at = add_plain(at, ", ");
		at = add_argument(at, signature[i], arguments[i]);
	}
	at = add_char(at, ')');
	return add_char(at, '\0');
}

void lab_trace_call(const char *name, const char *signature, const u64 *arguments)
{
	unsigned long flags;
	size_t end;

	raw_spin_lock_irqsave(&lock, flags);
	end = add_line(used, name, signature, arguments);
	if (end <= TRACE_SIZE)
		used = end;
	else
		dropped++;
	raw_spin_unlock_irqrestore(&lock, flags);
}

static void copy_foreign(char *to, const char *text)
{
	size_t i;

	for (i = 0; i < LAB_TEXT_SIZE - 1; i++) {
		if (copy_from_kernel_nofault(&to[i], &text[i], 1) || !to[i])
			break;
	}
	to[i] = '\0';
}

void lab_trace_load_end(const u64 *arguments)
{
	const char *failure = (const char *)arguments[3];
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	memset(&load_end, 0, sizeof(load_end));
	load_end.seen = 1;
	load_end.start_ms = arguments[1];
	load_end.result = arguments[2];
	load_end.has_failure = !!failure;
	copy_foreign(load_end.name, (const char *)arguments[0]);
	if (failure)
		copy_foreign(load_end.failure, failure);
	raw_spin_unlock_irqrestore(&lock, flags);
}

void lab_trace_clear(void)
{
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	used = 0;
	dropped = 0;
	raw_spin_unlock_irqrestore(&lock, flags);
}

/* Lines are only added at the end, so what was used at the start of the reading stays as it is unless somebody clears. */
long lab_trace_read(struct lab_trace __user *argument)
{
	struct lab_trace trace;
	unsigned long flags;

	if (copy_from_user(&trace, argument, sizeof(trace)))
		return -EFAULT;
	raw_spin_lock_irqsave(&lock, flags);
	trace.used = used;
	trace.dropped = dropped;
	raw_spin_unlock_irqrestore(&lock, flags);
	if (copy_to_user(u64_to_user_ptr(trace.buffer), lines, min(trace.size, trace.used)))
		return -EFAULT;
	return copy_to_user(argument, &trace, sizeof(trace)) ? -EFAULT : 0;
}

void lab_trace_load_end_clear(void)
{
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	memset(&load_end, 0, sizeof(load_end));
	raw_spin_unlock_irqrestore(&lock, flags);
}

long lab_trace_load_end_read(struct lab_load_end __user *argument)
{
	struct lab_load_end copy;
	unsigned long flags;

	raw_spin_lock_irqsave(&lock, flags);
	copy = load_end;
	raw_spin_unlock_irqrestore(&lock, flags);
	return copy_to_user(argument, &copy, sizeof(copy)) ? -EFAULT : 0;
}
