// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Follows the memory that flash_mng allocates and frees itself: what it holds now, and what it held at most.
 *
 * The sizes are those that flash_mng asked for. A call belongs to flash_mng when it returns into its text. There is no lock: it watches a
 * single caller on a board with one core, whose probes do not interrupt each other.
 *
 * /sys/module/flash_bench_memory/parameters/: held and peak in bytes; lost counts allocations that could not be followed. All may be
 * written, to start anew.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/kallsyms.h>
#include <linux/kernel.h>
#include <linux/kprobes.h>
#include <linux/module.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#define MOST_BLOCKS 4096

static ulong held;
module_param(held, ulong, 0644);
MODULE_PARM_DESC(held, "bytes that flash_mng holds");

static ulong peak;
module_param(peak, ulong, 0644);
MODULE_PARM_DESC(peak, "most bytes that flash_mng held");

static ulong lost;
module_param(lost, ulong, 0644);
MODULE_PARM_DESC(lost, "allocations that were not followed");

struct block {
	const void *memory;
	size_t size;
};

static struct block *g_blocks;

/* Slow, and the only way that a module has to learn whose an address is. */
static bool is_flash_mng(unsigned long address)
{
	static char symbol[KSYM_SYMBOL_LEN];

	sprint_symbol(symbol, address);
	return strstr(symbol, "[flash_mng]");
}

static struct block *block_of(const void *memory)
{
	u32 i;

	for (i = 0; i < MOST_BLOCKS; i++)
		if (g_blocks[i].memory == memory)
			return &g_blocks[i];
	return NULL;
}

static void take(const void *memory, size_t size)
{
	struct block *block = block_of(NULL);

	if (!block) {
		lost++;
		return;
	}
	*block = (struct block){ memory, size };
	held += size;
	peak = max(peak, held);
}

static int forget(struct kprobe *probe, struct pt_regs *registers)
{
	const void *memory = (void *)registers->regs[0];
	struct block *block;

	if (!memory || !is_flash_mng(registers->regs[30]))
		return 0;
	block = block_of(memory);
	if (block) {
		held -= block->size;
		*block = (struct block){};
	}
	return 0;
}

/* The size asked for, kept until the call returns. A status other than 0 leaves the call alone. */
static int note_size(struct kretprobe_instance *instance, struct pt_regs *registers)
{
	*(size_t *)instance->data = registers->regs[0];
	return is_flash_mng(registers->regs[30]) ? 0 : 1;
}

static int note_text(struct kretprobe_instance *instance, struct pt_regs *registers)
{
	if (!is_flash_mng(registers->regs[30]))
		return 1;
	*(size_t *)instance->data = strlen((const char *)registers->regs[0]) + 1;
	return 0;
}

static int note_memory(struct kretprobe_instance *instance, struct pt_regs *registers)
{
	if (regs_return_value(registers))
		take((void *)regs_return_value(registers), *(size_t *)instance->data);
	return 0;
}

#define ALLOCATOR(name, entry) \
	{ .kp.symbol_name = name, .entry_handler = entry, .handler = note_memory, .data_size = sizeof(size_t), .maxactive = 16 }

static struct kretprobe g_allocators[] = {
	ALLOCATOR("__kmalloc", note_size),
	ALLOCATOR("kstrdup", note_text),
	ALLOCATOR("vmalloc", note_size),
	ALLOCATOR("vzalloc", note_size),
};
static struct kprobe g_releases[] = {
	{ .symbol_name = "kfree", .pre_handler = forget },
	{ .symbol_name = "vfree", .pre_handler = forget },
};

static void unregister_all(u32 allocators, u32 releases)
{
	while (allocators)
		unregister_kretprobe(&g_allocators[--allocators]);
	while (releases)
		unregister_kprobe(&g_releases[--releases]);
}

static int register_all(void)
{
	u32 allocators, releases;
	int result = 0;

	for (releases = 0; !result && releases < ARRAY_SIZE(g_releases); releases++)
		result = register_kprobe(&g_releases[releases]);
	for (allocators = 0; !result && allocators < ARRAY_SIZE(g_allocators); allocators++)
		result = register_kretprobe(&g_allocators[allocators]);
	if (result)
		unregister_all(allocators, releases);
	return result;
}

static int __init memory_init(void)
{
	int result;

	g_blocks = vzalloc(array_size(MOST_BLOCKS, sizeof(*g_blocks)));
	if (!g_blocks)
		return -ENOMEM;
	result = register_all();
	if (result)
		vfree(g_blocks);
	return result;
}

static void __exit memory_exit(void)
{
	unregister_all(ARRAY_SIZE(g_allocators), ARRAY_SIZE(g_releases));
	vfree(g_blocks);
}

module_init(memory_init);
module_exit(memory_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Measurements: the memory of flash_mng");
