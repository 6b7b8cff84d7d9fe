// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/kprobes.h>
#include <linux/mtd/mtd.h>

#include "bench.h"

static u32 g_erased;
static bool g_counted;

static int count_erase(struct kprobe *probe, struct pt_regs *registers)
{
	const struct mtd_info *mtd = (const struct mtd_info *)registers->regs[0];
	const struct erase_info *erase = (const struct erase_info *)registers->regs[1];

	g_erased += mtd_div_by_eb(erase->len, (struct mtd_info *)mtd);
	return 0;
}

static struct kprobe g_probe;

int bench_erases(bool counted)
{
	u32 erased = g_erased;
	int result = 0;

	g_erased = 0;
	if (counted && !g_counted) {
		g_probe = (struct kprobe){ .symbol_name = "mtd_erase", .pre_handler = count_erase };
		result = register_kprobe(&g_probe);
	} else if (!counted && g_counted) {
		unregister_kprobe(&g_probe);
	}
	if (!result)
		g_counted = counted;
	return result ? result : erased;
}
