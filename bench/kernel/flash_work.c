// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Counts the pages that are read and programmed and the blocks that are erased, whoever asks for it.
 */
#include <linux/kernel.h>
#include <linux/kprobes.h>
#include <linux/mtd/mtd.h>

#include "bench.h"

static struct bench_work g_work;
static bool g_watched;

/* Pages of which any byte is asked for; none where only their spare bytes are. */
static u32 pages_of(struct mtd_info *mtd, u64 address, const struct mtd_oob_ops *ops)
{
	if (!ops->len)
		return 0;
	return mtd_div_by_ws(address + ops->len - 1, mtd) - mtd_div_by_ws(address, mtd) + 1;
}

static int count_read(struct kprobe *probe, struct pt_regs *registers)
{
	g_work.pages_read += pages_of((void *)registers->regs[0], registers->regs[1], (void *)registers->regs[2]);
	return 0;
}

static int count_program(struct kprobe *probe, struct pt_regs *registers)
{
	g_work.pages_programmed += pages_of((void *)registers->regs[0], registers->regs[1], (void *)registers->regs[2]);
	return 0;
}

static int count_erase(struct kprobe *probe, struct pt_regs *registers)
{
	const struct erase_info *erase = (void *)registers->regs[1];

	g_work.blocks_erased += mtd_div_by_eb(erase->len, (void *)registers->regs[0]);
	return 0;
}

static struct kprobe g_read, g_program, g_erase;
static struct kprobe *g_probes[] = { &g_read, &g_program, &g_erase };

int bench_watch(bool watched)
{
	int result = 0;

	if (g_watched)
		unregister_kprobes(g_probes, ARRAY_SIZE(g_probes));
	g_watched = false;
	if (watched) {
		g_read = (struct kprobe){ .symbol_name = "mtd_read_oob", .pre_handler = count_read };
		g_program = (struct kprobe){ .symbol_name = "mtd_write_oob", .pre_handler = count_program };
		g_erase = (struct kprobe){ .symbol_name = "mtd_erase", .pre_handler = count_erase };
		g_work = (struct bench_work){};
		result = register_kprobes(g_probes, ARRAY_SIZE(g_probes));
		g_watched = !result;
	}
	return result;
}

const struct bench_work *bench_work(void)
{
	return &g_work;
}
