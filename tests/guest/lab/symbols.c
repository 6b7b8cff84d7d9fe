// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/kprobes.h>
#include <linux/module.h>
#include <linux/rcupdate.h>

#include "lab.h"

static unsigned long (*lookup_name)(const char *name);

/* The kernel's name lookup is not exported, but a probe on it knows its address. */
int lab_symbols_init(void)
{
	struct kprobe probe = { .symbol_name = "kallsyms_lookup_name" };
	int error = register_kprobe(&probe);

	if (error) {
		pr_err("no probe on kallsyms_lookup_name (error %d): the kernel needs CONFIG_KPROBES and CONFIG_KALLSYMS\n", error);
		return error;
	}
	lookup_name = (void *)probe.addr;
	unregister_kprobe(&probe);
	return 0;
}

unsigned long lab_symbol(const char *name)
{
	return lookup_name(name);
}

unsigned long lab_module_symbol(const struct module *module, const char *name)
{
	const struct mod_kallsyms *symbols;
	unsigned long address = 0;
	unsigned int i;

	rcu_read_lock_sched();
	symbols = rcu_dereference_sched(module->kallsyms);
	for (i = 0; i < symbols->num_symtab && !address; i++) {
		const Elf_Sym *symbol = &symbols->symtab[i];

		if (symbol->st_shndx != SHN_UNDEF && !strcmp(symbols->strtab + symbol->st_name, name))
			address = symbol->st_value;
	}
	rcu_read_unlock_sched();
	return address;
}
