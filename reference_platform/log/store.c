// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "store.h"

#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/mutex.h>
#include <linux/spinlock.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#include "platform_status.h"

struct log_ring {
	u32 module_id;
	bool open;
	char name[LOG_NAME_SIZE];
	u32 capacity;
	u32 oldest;
	u32 count;
	struct log_record *records;
};

static struct log_ring g_rings[LOG_MAX_LOGS]; /* the common log is the first */
static u32 g_ring_count;
static u64 g_next_sequence = 1;
static DEFINE_SPINLOCK(g_rings_lock); /* all of the above */
static DEFINE_MUTEX(g_open_lock); /* taken before g_rings_lock; serialises opening and closing */

static struct log_ring *find_ring(u32 module_id)
{
	u32 i;

	for (i = 0; i < g_ring_count; i++)
		if (g_rings[i].module_id == module_id)
			return &g_rings[i];
	return NULL;
}

static void set_open(struct log_ring *ring, const char *name, bool open)
{
	unsigned long irq_state;

	spin_lock_irqsave(&g_rings_lock, irq_state);
	if (name)
		strscpy(ring->name, name, sizeof(ring->name));
	ring->open = open;
	spin_unlock_irqrestore(&g_rings_lock, irq_state);
}

static u32 append_ring(u32 module_id, const char *name, u32 capacity)
{
	struct log_ring *ring = &g_rings[g_ring_count];
	unsigned long irq_state;

	if (g_ring_count == LOG_MAX_LOGS)
		return LOG_TOO_MANY;
	ring->records = vzalloc(array_size(capacity, sizeof(*ring->records)));
	if (!ring->records)
		return LOG_NO_MEMORY;
	ring->module_id = module_id;
	ring->capacity = capacity;
	set_open(ring, name, true);

	spin_lock_irqsave(&g_rings_lock, irq_state);
	g_ring_count++;
	spin_unlock_irqrestore(&g_rings_lock, irq_state);
	return 0;
}

u32 log_store_open(u32 module_id, const char *name, u32 records)
{
	struct log_ring *ring;
	u32 status = 0;

	mutex_lock(&g_open_lock);
	ring = find_ring(module_id);
	if (!ring)
		status = append_ring(module_id, name, clamp_t(u32, records, LOG_MIN_RECORDS, LOG_MAX_RECORDS));
	else if (ring->open)
		status = LOG_ALREADY_REGISTERED;
	else
		set_open(ring, name, true);
	mutex_unlock(&g_open_lock);
	return status;
}

u32 log_store_close(u32 module_id)
{
	struct log_ring *ring;
	u32 status = 0;

	mutex_lock(&g_open_lock);
	ring = find_ring(module_id);
	if (ring && ring->open)
		set_open(ring, NULL, false);
	else
		status = LOG_NOT_REGISTERED;
	mutex_unlock(&g_open_lock);
	return status;
}

static struct log_record *take_slot(struct log_ring *ring)
{
	struct log_record *slot = &ring->records[(ring->oldest + ring->count) % ring->capacity];

	if (ring->count < ring->capacity)
		ring->count++;
	else
		ring->oldest = (ring->oldest + 1) % ring->capacity;
	return slot;
}

void log_store_add(u32 module_id, u32 level, u32 flag, const char *fmt, va_list values)
{
	u64 time_ms = ktime_to_ms(ktime_get());
	struct log_record *slot;
	struct log_ring *ring;
	unsigned long irq_state;

	spin_lock_irqsave(&g_rings_lock, irq_state);
	ring = find_ring(module_id);
	slot = take_slot(ring ? ring : &g_rings[0]);
	slot->sequence = g_next_sequence++;
	slot->time_ms = time_ms;
	slot->module_id = module_id;
	slot->level = level;
	slot->flag = flag;
	vscnprintf(slot->text, sizeof(slot->text), fmt, values);
	spin_unlock_irqrestore(&g_rings_lock, irq_state);
}

static const struct log_record *first_from(const struct log_ring *ring, u64 from)
{
	u32 low = 0, high = ring->count;

	while (low < high) {
		u32 middle = low + (high - low) / 2;

		if (ring->records[(ring->oldest + middle) % ring->capacity].sequence < from)
			low = middle + 1;
		else
			high = middle;
	}
	return low < ring->count ? &ring->records[(ring->oldest + low) % ring->capacity] : NULL;
}

bool log_store_next(u64 from, struct log_record *record)
{
	const struct log_record *best = NULL;
	unsigned long irq_state;
	u32 i;

	spin_lock_irqsave(&g_rings_lock, irq_state);
	for (i = 0; i < g_ring_count; i++) {
		const struct log_record *candidate = first_from(&g_rings[i], from);

		if (candidate && (!best || candidate->sequence < best->sequence))
			best = candidate;
	}
	if (best)
		*record = *best;
	spin_unlock_irqrestore(&g_rings_lock, irq_state);
	return best;
}

void log_store_clear(void)
{
	unsigned long irq_state;
	u32 i;

	spin_lock_irqsave(&g_rings_lock, irq_state);
	for (i = 0; i < g_ring_count; i++)
		g_rings[i].count = 0;
	spin_unlock_irqrestore(&g_rings_lock, irq_state);
}

u32 log_store_init(void)
{
	return log_store_open(LOG_COMMON_ID, "common", LOG_MAX_RECORDS);
}

void log_store_free(void)
{
	while (g_ring_count)
		vfree(g_rings[--g_ring_count].records);
}
