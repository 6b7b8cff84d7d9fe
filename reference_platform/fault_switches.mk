# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# Included by the modules with fault_switches.o: each compiles one of its own, as Kbuild may be at work on several of them at once.
$(obj)/fault_switches.o: $(src)/../fault_switches.c FORCE
	$(call if_changed_rule,cc_o_c)
