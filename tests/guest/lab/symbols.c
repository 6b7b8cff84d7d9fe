// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/kprobes.h>
#include <linux/mm.h>
#include <linux/module.h>
#include <linux/rcupdate.h>
#include <linux/slab.h>
#include <linux/string.h>

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

/* Linux keeps all symbols of a module until its init function has run; afterwards, without CONFIG_KALLSYMS_ALL, its functions only. */
struct known_symbol {
	unsigned long address;
	const char *name;
};

static struct known_symbol *known;
static unsigned int known_count;

void lab_forget_symbols(void)
{
	kvfree(known);
	known = NULL;
	known_count = 0;
}

/* One block: the symbols, and their names behind them. */
static size_t size_of_all(const struct mod_kallsyms *symbols)
{
	size_t size = symbols->num_symtab * sizeof(*known);
	unsigned int i;

	for (i = 0; i < symbols->num_symtab; i++)
		size += strlen(symbols->strtab + symbols->symtab[i].st_name) + 1;
	return size;
}

int lab_know_symbols(const struct module *module)
{
	const struct mod_kallsyms *symbols = rcu_dereference_protected(module->kallsyms, true);
	unsigned int i;
	char *name;

	lab_forget_symbols();
	known = kvmalloc(size_of_all(symbols), GFP_KERNEL);
	if (!known)
		return -ENOMEM;
	name = (char *)(known + symbols->num_symtab);
	for (i = 0; i < symbols->num_symtab; i++) {
		const Elf_Sym *symbol = &symbols->symtab[i];

		if (symbol->st_shndx == SHN_UNDEF)
			continue;
		known[known_count++] = (struct known_symbol){ symbol->st_value, name };
		strcpy(name, symbols->strtab + symbol->st_name);
		name += strlen(name) + 1;
	}
	return 0;
}

unsigned long lab_module_symbol(const char *name)
{
	unsigned int i;

	for (i = 0; i < known_count; i++) {
		if (!strcmp(known[i].name, name))
			return known[i].address;
	}
	return 0;
}
