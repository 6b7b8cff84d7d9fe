#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Tests of the gates themselves, a program of its own: each inspection is shown an object or a text with the fault that it exists for, and
# must find it; and one without, and must be silent. It needs the production kernel and a configured preset debug. Its argument is the
# preset that the host's tools are of.
# shellcheck disable=SC2030,SC2031 # each test is run apart, with names of its own

set -u
root=$(CDPATH='' cd -- "$(dirname -- "$0")/../.." && pwd)
clone=$root
# shellcheck source=scripts/common.sh
. "$root/scripts/common.sh"
# shellcheck source=scripts/words.sh
. "$root/scripts/words.sh"
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
# shellcheck source=scripts/debian.sh
. "$root/scripts/debian.sh"
# shellcheck source=scripts/headers.sh
. "$root/scripts/headers.sh"
# shellcheck source=scripts/kernel.sh
. "$root/scripts/kernel.sh"
# shellcheck source=scripts/modules.sh
. "$root/scripts/modules.sh"
# shellcheck source=scripts/programs.sh
. "$root/scripts/programs.sh"
# shellcheck source=scripts/board.sh
. "$root/scripts/board.sh"
# shellcheck source=scripts/trace.sh
. "$root/scripts/trace.sh"
# shellcheck source=scripts/prove.sh
. "$root/scripts/prove.sh"
# shellcheck source=scripts/docs.sh
. "$root/scripts/docs.sh"
# shellcheck source=scripts/commits.sh
. "$root/scripts/commits.sh"
# shellcheck source=scripts/check.sh
. "$root/scripts/check.sh"
# shellcheck source=scripts/results.sh
. "$root/scripts/results.sh"
# shellcheck source=scripts/fuzz.sh
. "$root/scripts/fuzz.sh"
# shellcheck source=scripts/test.sh
. "$root/scripts/test.sh"
# shellcheck source=scripts/verification.sh
. "$root/scripts/verification.sh"
# shellcheck source=scripts/mcdc.sh
. "$root/scripts/mcdc.sh"

host_preset=${1-$host_preset}
gate_dir=$build_dir/gate
complaints=$gate_dir/complaints

# complain TEXT: in a file, so that a subshell's complaint counts too.
complain() {
	echo "$*" | tee -a "$complaints"
}

# finds TEXT COMMAND...: the inspection must report something that contains TEXT.
finds() {
	wanted_text=$1
	shift
	case $("$@") in
	*"$wanted_text"*) ;;
	*) complain "$1 does not find '$wanted_text'" ;;
	esac
}

# silent COMMAND...: the inspection must report nothing.
silent() {
	unwanted_text=$("$@" 2>&1)
	[ -z "$unwanted_text" ] || complain "$1 reports without reason: $unwanted_text"
}

# fails COMMAND...: the check must not pass.
fails() {
	! "$@" >/dev/null || complain "$1 passes"
}

# passes COMMAND...
passes() {
	"$@" >"$gate_dir/passes" 2>&1 || complain "$1 does not pass: $(tail -n 3 "$gate_dir/passes")"
}

# compile NAME FLAG... <SOURCE
compile() {
	object_name=$1
	shift
	aarch64-linux-gnu-g++ -std=c++20 -O1 -fstack-usage "$@" -x c++ -c - -o "$gate_dir/$object_name.o" ||
		complain "$object_name is not compiled"
}

# What tools/trace follows, of an object with one function that calls another.
test_trace_gate() {
	compile followed <<'SOURCE'
extern "C" int known();
extern "C" int use() { return known() + 1; }
SOURCE
	flash_object=$gate_dir/followed.o
	root=$gate_dir/traces
	build_dir=$gate_dir
	mkdir -p "$root/tools/trace" "$gate_dir/results"
	printf 'kprobe:use,\nkretprobe:known\n{\n}\n' >"$root/tools/trace/planted.bt"
	printf "\tcat <<'FUNCTIONS'\nflash_mng:use name=1\nknown\nFUNCTIONS\n" >"$root/tools/trace/flash-trace"
	silent unfollowed_names
	printf "\tcat <<'FUNCTIONS'\nflash_mng:unused name=1\nknown\nFUNCTIONS\n" >"$root/tools/trace/flash-trace"
	finds 'unused is followed' unfollowed_names
	echo 'kretprobe:unknown' >>"$root/tools/trace/planted.bt"
	finds 'unknown is followed' unfollowed_names
}

test_object_gates() {
	compile clean -fno-exceptions -fno-rtti -fno-asynchronous-unwind-tables -fno-unwind-tables <<'SOURCE'
extern "C" int known();
extern "C" int use() { return known() + 1; }
SOURCE
	compile faulty <<'SOURCE'
extern "C" int unheard_of();
struct with_table { virtual ~with_table(); int value = unheard_of(); };
with_table::~with_table() {}
with_table built_at_start;
with_table &guarded() { static with_table local; return local; }
int *made() { return new int(unheard_of()); }
int large() { volatile char room[600]; room[0] = 1; return room[0] + unheard_of(); }
SOURCE
	flash_object=$gate_dir/clean.o
	silent constructors
	silent runtime_symbols
	silent unwind_tables
	echo known >"$gate_dir/allowed"
	silent symbols_outside "$gate_dir/allowed"
	finds '1 of 1' symbols_on "$gate_dir/allowed"

	flash_object=$gate_dir/faulty.o
	finds .init_array constructors
	finds __cxa_guard_acquire runtime_symbols
	finds _ZTV runtime_symbols
	finds _Znwm runtime_symbols
	finds .eh_frame unwind_tables
	finds unheard_of symbols_outside "$gate_dir/allowed"
	fails symbols_on "$gate_dir/allowed"
	finds './dev renew symbols' symbols_on "$gate_dir/allowed"
	finds 'unheard_of is needed, and on no list' needed_elsewhere 6.12

	flash_object=$gate_dir/absent.o
	for inspection in constructors runtime_symbols unwind_tables undefined_symbols; do
		fails nothing_in "$inspection"
	done
	fails symbols_on "$gate_dir/allowed"
	fails module_information

	mkdir -p "$gate_dir/frames/large" "$gate_dir/frames/small"
	mv "$gate_dir/faulty.su" "$gate_dir/frames/large"
	mv "$gate_dir/clean.su" "$gate_dir/frames/small"
	finds large large_frames "$gate_dir/frames/large"
	silent large_frames "$gate_dir/frames/small"
	printf 'f.cpp:1:1:f\t16\tdynamic\n' >"$gate_dir/frames/small/f.su"
	finds 'f.cpp:1:1:f: 16 bytes' large_frames "$gate_dir/frames/small"
}

# Frames are known of all sources, and none is large.
test_frames_gate() {
	stage_dir=$gate_dir/frames_stage
	mkdir -p "$stage_dir/flash_mng_kernel"
	touch "$stage_dir/flash_mng_kernel/one.cpp"
	fails frames_measured
	printf 'one.cpp:1:1:one\t%s\tstatic\n' "$frame_limit" >"$stage_dir/flash_mng_kernel/one.su"
	finds "the largest has $frame_limit, in one" frames_measured
	printf 'one.cpp:1:1:one\t%s\tstatic\n' $((frame_limit + 1)) >"$stage_dir/flash_mng_kernel/one.su"
	fails frames_measured
}

# with_information LINE...: an object that says this of itself as a module.
with_information() {
	for information in "$@"; do
		printf 'asm(".pushsection .modinfo, \\"a\\"; .asciz \\"%s\\"; .popsection");\n' "$information"
	done | compile module
	flash_object=$gate_dir/module.ko
	mv "$gate_dir/module.o" "$flash_object"
}

test_information_gate() {
	dual_licence='license=Dual BSD/GPL'
	magic='vermagic=5.10.1 SMP preempt mod_unload modversions aarch64'
	this_version=version=$(cat "$clone/VERSION")
	with_information "$dual_licence" name=flash_mng "$this_version" "$magic"
	passes module_information
	with_information license=GPL name=flash_mng "$this_version" "$magic"
	fails module_information
	with_information "$dual_licence" name=other "$this_version" "$magic"
	fails module_information
	with_information "$dual_licence" name=flash_mng "$magic"
	fails module_information
	with_information "$dual_licence" name=flash_mng "$this_version.1" "$magic"
	fails module_information
	with_information "$dual_licence" name=flash_mng "$this_version" "$magic" parm=debug:level
	fails module_information
	with_information "$dual_licence" name=flash_mng "$this_version" 'vermagic=5.10.1 mod_unload aarch64'
	fails module_information
}

# Kbuild itself, on a module with a prototype missing and a pointer to user memory followed.
make_planted() {
	mkdir -p "$stage_dir/planted"
	cp "$gate_dir/planted.c" "$stage_dir/planted"
	echo 'obj-m := planted.o' >"$stage_dir/planted/Kbuild"
	make_modules planted '' "$@"
}

test_strict_gate() {
	build_dir=$gate_dir/strict
	log_dir=$gate_dir/strict
	mkdir -p "$log_dir"
	cat >"$gate_dir/planted.c" <<'SOURCE'
// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/module.h>
int planted(int __user *there)
{
	return *there;
}
MODULE_LICENSE("GPL");
SOURCE
	# The first time and again, though nothing is to be built then.
	finds 'no previous prototype' strict_findings make_planted
	finds 'dereference of noderef expression' strict_findings make_planted
	echo 'int planted(' >"$gate_dir/planted.c"
	finds 'error:' strict_findings make_planted
	printf '#include <linux/module.h>\nMODULE_LICENSE("GPL");\n' >"$gate_dir/planted.c"
	silent strict_findings make_planted
}

# The lists beside the module; what is built is a planted table of exports, a planted header, planted sizes.
test_list_gates() {
	root=$gate_dir/clone
	stage_dir=$gate_dir/stage
	build_dir=$gate_dir
	mkdir -p "$root/scripts" "$root/flash_mng_kernel/include/uapi" "$stage_dir/flash_mng_kernel" "$gate_dir/results"
	test_export_list
	test_import_list
	test_status_list
	test_header_lists
	test_interface
	test_size_list
}

test_export_list() {
	printf '0x%s\t%s\t/path with blanks/flash_mng\t%s\t\n' 00000001 known EXPORT_SYMBOL 00000002 other EXPORT_SYMBOL_GPL \
		>"$stage_dir/flash_mng_kernel/Module.symvers"
	printf '# exports\nknown 0x00000001\n' >"$gate_dir/exports"
	finds 1 as_listed "$gate_dir/exports" exports
	printf '# exports\nknown 0x00000003\nother 0x00000002\n' >"$gate_dir/exports"
	finds '< known 0x00000003' as_listed "$gate_dir/exports" exports
	finds '< other 0x00000002' as_listed "$gate_dir/exports" exports
	finds '> known 0x00000001' as_listed "$gate_dir/exports" exports
	finds './dev renew exports' as_listed "$gate_dir/exports" exports
	fails as_listed "$gate_dir/exports" exports
	printf '# exports\nknown 0x00000001\n' >"$gate_dir/exports"
	fails as_listed "$gate_dir/exports" exports /dev/null
	fails as_listed "$gate_dir/exports" exports "$gate_dir/absent"
	printf '# exports\n' >"$gate_dir/exports"
	fails as_listed "$gate_dir/exports" exports /dev/null
}

test_header_lists() {
	cat >"$root/flash_mng_kernel/include/uapi/flash_mng.h" <<'SOURCE'
#define FLASH_MNG_OTHER_FORM 0x10u
#define FLASH_MNG_TEXT "text"
SOURCE
	finds 'FLASH_MNG_OTHER_FORM 0x10u' numbers
	[ "$(numbers | wc -l)" = 1 ] || complain "numbers finds too much"
}

# with_change FILE EXPRESSION TEXT: interface_findings finds TEXT in a copy of the headers with this change.
with_change() {
	rm -rf "$root/flash_mng_kernel"
	mkdir -p "$root/flash_mng_kernel"
	cp -r "$clone/flash_mng_kernel/include" "$clone/flash_mng_kernel/platform" "$clone/flash_mng_kernel/interface.h" \
		"$root/flash_mng_kernel"
	sed -i "$2" "$root/flash_mng_kernel/$1"
	! diff -r "$clone/flash_mng_kernel/${1%%/*}" "$root/flash_mng_kernel/${1%%/*}" >/dev/null || complain "$2 changes nothing in $1"
	finds "$3" interface_findings
}

test_interface() {
	with_change platform/instance.h 's/u32 operation;/u32 kept;/; s/u32 lock_val;/u32 operation;/; s/u32 kept;/u32 lock_val;/' \
		hard_lock_request
	with_change platform/log.h 's/drv_log_deregister(u32 /drv_log_deregister(u64 /' drv_log_deregister
	with_change platform/bounded.h 's/, const void \*src/, void *src/' memcpy_s
	with_change platform/xml.h 's/^bool /u32 /' xml_is_element_exist
	with_change include/flash_mng.h 's/u8 reserved\[36\]/u8 reserved[35]/' 'flash_parts_info, reserved'
	with_change include/flash_mng.h 's/u32 sfc_cs, void \*size/u32 sfc_cs, u64 *size/' 'flash_driver_ops, get_size'
	with_change include/uapi/flash_mng.h 's/uint32_t offset;/int32_t offset;/' 'flash_mtd_io_arg, offset'
	# Too short in programs of 32 bits only.
	with_change include/uapi/flash_mng.h 's/uint64_t buffer;/unsigned long buffer;/' 'sizeof(struct flash_mtd_io_arg) == (48)'
	# shellcheck disable=SC2016 # an expression of sed
	with_change platform/board_capability.h '$a u32 drv_board_other(u32 inst_id,\n\t\tu32 *value);' 'drv_board_other is not in'
	with_change platform/xml.h 's/\tstruct xml_entry \*entry;/&\n\tu32 more[2];/' 'xml_entry_node.more is not in'
	# shellcheck disable=SC2016 # an expression of sed
	with_change platform/log.h '$a struct log_other {\n\tu32 (*first)(u32 id);\n};' 'log_other.first is not in'
	fails interface_agreed
}

test_status_list() {
	mkdir -p "$root/reference_platform/include" "$root/tests/guest/platform_check/platform" \
		"$root/tests/guest/platform_check/spi_flash"
	printf '#define STATUS_H\n#define FIRST_BAD\t0x70010001U /* x */\n#define FIRST 22\n#define LAST\t(-1)\n' \
		>"$root/reference_platform/include/platform_status.h"
	echo 'CHECK_EQ(first(), FIRST_BAD);' >"$root/tests/guest/platform_check/platform/first.c"
	echo 'CHECK_EQ(last(), LAST);' >"$root/tests/guest/platform_check/spi_flash/last.c"
	finds 'FIRST is expected by no check' unexpected_statuses
	[ "$(unexpected_statuses | wc -l)" = 1 ] || complain "unexpected_statuses finds too much"
	fails statuses_expected
	echo 'CHECK_EQ(first(), FIRST);' >>"$root/tests/guest/platform_check/platform/first.c"
	finds 3 statuses_expected
}

# What the module takes and what the platform exports are planted.
test_import_list() {
	mkdir -p "$stage_dir/reference_platform"
	printf '0x%s\t%s\t/path/log\tEXPORT_SYMBOL\t\n' 00000001 unheard_of 00000002 taken_by_nobody \
		>"$stage_dir/reference_platform/Module.symvers"
	flash_object=$gate_dir/faulty.o
	printf '# imports\nunheard_of 0x00000001\n' >"$gate_dir/imports"
	finds 1 as_listed "$gate_dir/imports" imports
	printf '# imports\nunheard_of 0x00000003\n' >"$gate_dir/imports"
	finds '> unheard_of 0x00000001' as_listed "$gate_dir/imports" imports
	fails as_listed "$gate_dir/imports" imports
}

test_size_list() {
	flash_object=$gate_dir/clean.o
	printf 'probe.cpp:1:5:int large()\t400\tstatic\nprobe.cpp:2:5:int small()\t16\tstatic\n' >"$stage_dir/flash_mng_kernel/probe.su"
	printf '# sizes\n' >"$gate_dir/sizes"
	finds '> probe 400' sizes_on "$gate_dir/sizes"
	finds '> .text' sizes_on "$gate_dir/sizes"
	cp "$gate_dir/results/sizes" "$gate_dir/sizes"
	finds ', bss ' sizes_on "$gate_dir/sizes"
	sed -i 's/probe 400/probe 440/' "$gate_dir/sizes"
	finds ', bss ' sizes_on "$gate_dir/sizes"
	sed -i 's/probe 440/probe 300\ngone 16/' "$gate_dir/sizes"
	for size_line in '< probe 300' '> probe 400' '< gone 16' './dev renew sizes'; do
		finds "$size_line" sizes_on "$gate_dir/sizes"
	done
	fails sizes_on "$gate_dir/sizes"
}

# litmus_clone: a module of one atomic line and a litmus test that stands for it.
litmus_clone() {
	root=$gate_dir/litmus
	build_dir=$gate_dir
	rm -rf "$root"
	mkdir -p "$root/flash_mng_kernel/spi" "$root/tests/memory_model"
	printf '\t__atomic_store_n(&known, 1, __ATOMIC_RELEASE);\n' >"$root/flash_mng_kernel/spi/probe.cpp"
	printf ' *   spi/probe.cpp: __atomic_store_n(&known, 1, __ATOMIC_RELEASE);\n' >"$root/tests/memory_model/probe.litmus"
}

test_litmus_gate() {
	litmus_clone
	mkdir -p "$gate_dir/results"
	silent litmus_differences
	sed -i 's/RELEASE/RELAXED/' "$root/flash_mng_kernel/spi/probe.cpp"
	finds 'no longer in the module: spi/probe.cpp: __atomic_store_n(&known, 1, __ATOMIC_RELEASE);' litmus_differences
	finds 'named by no litmus test: spi/probe.cpp: __atomic_store_n(&known, 1, __ATOMIC_RELAXED);' litmus_differences
}

# verification_clone: one promise, with one of each kind that supports it.
verification_clone() {
	root=$gate_dir/verification
	build_dir=$gate_dir
	rm -rf "$root"
	mkdir -p "$root/docs" "$root/tests/memory_model" "$root/tests/proofs/ranges" "$root/simulation" "$gate_dir/results"
	printf '## Promises\n\n| Promise | Tried by |\n|---|---|\n| Nothing is lost, ever | us |\n\n### More\n' >"$root/docs/reliability.md"
	printf 'TEST_F(probe, holds)\n' >"$root/tests/probe.cpp"
	printf '  probe            a command\n' >"$root/dev"
	: >"$root/tests/memory_model/probe.litmus"
	printf 'probe | probe | proof_probe | 2 | one byte\n' >"$root/tests/proofs/proofs.list"
	printf 'inline void probe_holds(u32 a)\n' >"$root/tests/proofs/ranges/properties.inc"
	printf '%s\n' 'promise | docs/reliability.md | Nothing is lost' 'case | probe | a' 'case | probe.holds | b' 'command | probe | c' \
		'litmus | probe | d' 'proof | probe | e' 'ranges | probe_holds | f' 'suite | conformance_host | g' \
		'board | production-suite | h' 'open | all else' >"$root/docs/verification.list"
	verification_text >"$root/docs/verification.md"
}

test_verification_gate() {
	verification_clone
	silent verification_findings
	for missing_support in 'case | gone' 'case | probe.gone' 'command | gone' 'litmus | gone' 'proof | gone' 'ranges | gone' \
		'suite | gone' 'board | gone'; do
		verification_clone
		echo "$missing_support | x" >>"$root/docs/verification.list"
		finds "$(echo "$missing_support" | sed 's/ |//') is named in docs/verification.list and not there" verification_findings
	done
	verification_clone
	sed -i 's/ is lost/ is kept/' "$root/docs/reliability.md"
	finds 'docs/reliability.md does not say: Nothing is lost' verification_findings
	finds 'promises what the list does not have: Nothing is kept, ever' verification_findings
	verification_clone
	: >"$root/tests/memory_model/other.litmus"
	finds 'litmus other supports no promise' verification_findings
	verification_clone
	echo more >>"$root/docs/verification.md"
	finds 'docs/verification.md is not what its list makes' verification_findings
}

test_console_gate() {
	cat >"$gate_dir/clean_console" <<'CONSOLE'
[    0.000000] kasan: KernelAddressSanitizer initialized
[    1.000000] flash_mng_test: allow vmalloc: allocation failure
[    1.100000] conformance_gue: vmalloc: allocation failure: 4294967295 bytes
[    1.200000] flash_mng_test: end
CONSOLE
	silent awk -f "$root/scripts/console_reports.awk" "$gate_dir/clean_console"
	cat >"$gate_dir/faulty_console" <<'CONSOLE'
[    1.000000] flash_mng_test: allow vmalloc: allocation failure
[    1.100000] BUG: KASAN: slab-out-of-bounds in flash_ioctl
[    1.200000] flash_mng_test: end
[    1.300000] conformance_gue: vmalloc: allocation failure: 4294967295 bytes
[    1.400000] WARNING: possible circular locking dependency detected
[    1.500000] kmemleak: 1 new suspected memory leaks
CONSOLE
	for report in '2: ' '4: ' '5: ' '6: '; do
		finds "$report" awk -f "$root/scripts/console_reports.awk" "$gate_dir/faulty_console"
	done
	test_console_words
}

# A line of each kind of report, as kernels write them.
test_console_words() {
	while IFS= read -r kernel_line; do
		printf '[    1.000000] before\r\n[    1.100000] %s\r\n' "$kernel_line" >"$gate_dir/console"
		finds "2: [    1.100000] $kernel_line" awk -f "$root/scripts/console_reports.awk" "$gate_dir/console"
	done <<'REPORTS'
BUG: KASAN: use-after-free in flash_ioctl+0x10/0x20
BUG: KCSAN: data-race in flash_ioctl / flash_open
BUG: sleeping function called from invalid context at mm/slab.h:494
BUG: scheduling while atomic: insmod/91/0x00000002
BUG: unable to handle page fault for address: ffffc90000a3d388
BUG: soft lockup - CPU#0 stuck for 22s! [insmod:91]
BUG kmalloc-128 (Tainted: G           O     ): Redzone overwritten
WARNING: CPU: 0 PID: 91 at mm/page_alloc.c:4940 __alloc_pages_nodemask+0x24c/0x2c0
WARNING: possible recursive locking detected
WARNING: bad unlock balance detected!
WARNING: inconsistent lock state
WARNING: suspicious RCU usage
UBSAN: array-index-out-of-bounds in planted.c:3:12
ODEBUG: free active (active state 0) object type: work_struct
Internal error: Oops: 96000004 [#1] PREEMPT SMP
Kernel panic - not syncing: Attempted to kill init! exitcode=0x0000000b
Unable to handle kernel NULL pointer dereference at virtual address 0000000000000010
INFO: task insmod:91 blocked for more than 120 seconds.
INFO: possible circular locking dependency detected
rcu: INFO: rcu_preempt detected stalls on CPUs/tasks:
irq 12: nobody cared (try booting with the "irqpoll" option)
unreferenced object 0xffff000003a41900 (size 128):
kmemleak: 3 new suspected memory leaks (see /sys/kernel/debug/kmemleak)
list_add corruption. next->prev should be prev, but was (null).
list_del corruption, ffff000003a41900->next is LIST_POISON1
refcount_t: underflow; use-after-free.
insmod: page allocation failure: order:10, mode:0xcc0(GFP_KERNEL)
Kernel stack is corrupted in: planted (stack-protector)
usercopy: Kernel memory exposure attempt detected from SLUB object
kernel BUG at mm/slub.c:305!
general protection fault, probably for non-canonical address 0xdead000000000100
invalid opcode: 0000 [#1] PREEMPT SMP
watchdog: Watchdog detected hard LOCKUP on cpu 0
REPORTS
}

test_shim_gate() {
	printf 'linux_first 1\nlinux_second 0\n' >"$gate_dir/shims_1"
	printf 'linux_first 0\nlinux_second 0\n' >"$gate_dir/shims_2"
	printf 'linux_first 0\nlinux_second 1\n' >"$gate_dir/shims_3"
	finds 'linux_second did not run' shims_ran "$gate_dir/shims_1" "$gate_dir/shims_2"
	finds '2 of 2 functions ran' shims_ran "$gate_dir/shims_1" "$gate_dir/shims_3"
	fails shims_ran "$gate_dir/shims_1"
	fails shims_ran /dev/null
}

test_report_sums() {
	cat >"$gate_dir/report.xml" <<'REPORT'
<testsuites tests="4" failures="1">
  <testsuite name="frame_load" tests="2">
    <testcase name="passes" status="run" result="completed" time="0" classname="frame_load" />
    <testcase name="fails" status="run" result="completed" time="0" classname="frame_load">
      <failure message="wrong" type=""><![CDATA[wrong]]></failure>
    </testcase>
  </testsuite>
  <testsuite name="worlds/config_tables" tests="2">
    <testcase name="skips/0" status="run" result="skipped" time="0" classname="worlds/config_tables">
      <skipped message="only on the board"><![CDATA[only on the board]]></skipped>
    </testcase>
    <testcase name="passes/0" status="run" result="completed" time="0" classname="worlds/config_tables" />
  </testsuite>
</testsuites>
REPORT
	for sum_line in '2 1 1' 'frame 2' 'config 1' '! frame_load.fails'; do
		finds "$sum_line" awk -f "$root/scripts/results.awk" "$gate_dir/report.xml"
	done
}

# Reports that are not what they seem to be.
# The lines for the kernel's own tools, and what these say of them.
test_ktap() {
	build_dir=$gate_dir/ktap
	mkdir -p "$build_dir/results"
	cp "$gate_dir/report.xml" "$build_dir/one.xml"
	sed 's/"fails"/"fails#too"/; s/"wrong"/"a_test.cpp:12\&#x0A;1 \&lt; 0\&#x0A;more"/; s/skips/left_out/' \
		"$gate_dir/report.xml" >"$build_dir/two.xml"
	printf '%s\n' "first|$build_dir/one.xml" "first|$build_dir/two.xml" >"$build_dir/results/reports"
	printf '%s\n' 'ok a step' 'not ok another #2' >"$build_dir/results/steps"
	write_ktap
	cat >"$build_dir/expected" <<'KTAP'
TAP version 14
1..3
    # Subtest: first/frame_load
    1..4
    ok 1 - passes
    # fails: wrong
    not ok 2 - fails
    ok 3 - passes
    # failstoo: 1 < 0
    # failstoo: more
    not ok 4 - failstoo
not ok 1 - first/frame_load
    # Subtest: first/worlds/config_tables
    1..4
    ok 1 - skips/0 # SKIP only on the board
    ok 2 - passes/0
    ok 3 - left_out/0 # SKIP only on the board
    ok 4 - passes/0
ok 2 - first/worlds/config_tables
    # Subtest: steps
    1..2
    ok 1 - a step
    not ok 2 - another 2
not ok 3 - steps
KTAP
	silent diff "$build_dir/expected" "$build_dir/results/results.ktap"
	export PYTHONDONTWRITEBYTECODE=1
	kunit=$kernel_source/tools/testing/kunit/kunit.py
	fails python3 "$kunit" parse "$build_dir/results/results.ktap"
	finds '10 tests run. 3 failed. 0 crashed.' python3 "$kunit" parse "$build_dir/results/results.ktap"
	silent unread_ktap
	printf '%s\n' 'ok a step' >"$build_dir/results/steps"
	echo 'Segmentation fault' >"$build_dir/one.xml"
	printf '%s\n' "broken|$build_dir/one.xml" >"$build_dir/results/reports"
	write_ktap
	finds '2 tests run. 1 failed. 0 crashed.' python3 "$kunit" parse "$build_dir/results/results.ktap"
	rm "$build_dir/results/reports"
	write_ktap
	passes python3 "$kunit" parse "$build_dir/results/results.ktap"
	sed -i 's/^1\.\.1$/1..2/' "$build_dir/results/results.ktap"
	finds ERROR unread_ktap
}

# unread_ktap: what the kernel's tool complains of.
unread_ktap() {
	python3 "$kunit" parse "$build_dir/results/results.ktap" | grep ERROR
}

# The job for LAVA, by LAVA's own schema.
test_lab_job() {
	passes lab_job_valid "$root/packages/lab/lava-qemu.yaml"
	sed 's/monitors:/monitor:/' "$root/packages/lab/lava-qemu.yaml" >"$gate_dir/job.yaml"
	fails lab_job_valid "$gate_dir/job.yaml" 2>/dev/null
}

test_report_faults() {
	sed -i 's/tests="4" f/tests="5" f/' "$gate_dir/report.xml"
	finds '! the report is of 5 cases and has 4' awk -f "$root/scripts/results.awk" "$gate_dir/report.xml"
	sed -i 's/tests="5" failures="1"/tests="4" failures="2"/' "$gate_dir/report.xml"
	finds '! the report is of 2 failures and has 1' awk -f "$root/scripts/results.awk" "$gate_dir/report.xml"
	echo '<testsuites tests="0" failures="0">' >"$gate_dir/report.xml"
	finds '! no case passed' awk -f "$root/scripts/results.awk" "$gate_dir/report.xml"
	echo 'Segmentation fault' >"$gate_dir/report.xml"
	finds '! the report is of 0 cases' awk -f "$root/scripts/results.awk" "$gate_dir/report.xml"
}

# adds PASSED FAILED COMMAND...: what the command adds to the total of ./dev test.
adds() {
	total_passed=0
	total_failed=0
	wanted_total="$1 $2"
	shift 2
	"$@" >"$gate_dir/added" 2>&1
	[ "$total_passed $total_failed" = "$wanted_total" ] || complain "$* adds $total_passed $total_failed, not $wanted_total"
}

# What a test program leaves that is killed, one that fails and one that passes.
left_by() {
	total_passed=$1
	total_failed=$2
	end_program planted
}

test_totals() {
	build_dir=$gate_dir/totals
	log_dir=$gate_dir/totals/logs
	mkdir -p "$build_dir/results" "$log_dir"
	adds 1 0 count_step "a step" true
	adds 0 1 count_step "a step" false
	adds 0 1 count_report "a report" "$gate_dir/absent.xml"
	adds 0 2 count_report "a report" "$gate_dir/report.xml"
	adds 0 1 count_program planted true
	adds 0 1 count_program planted kill_planted
	adds 3 1 count_program planted fail_planted
	adds 3 0 count_program planted pass_planted
	adds 0 1 add_counts nobody
	adds 1 0 count_step "a suite" ended_well 0
	adds 0 1 count_step "a suite" ended_well 8
	total_passed=1 total_failed=1
	fails show_total
	total_passed=0 total_failed=0
	fails show_total
	total_passed=1
	finds '1 passed, 0 failed' show_total
}

kill_planted() {
	(kill -KILL "$(exec sh -c 'echo $PPID')")
}

fail_planted() {
	(left_by 3 1)
}

pass_planted() {
	(left_by 3 0)
}

# run_checks itself: a check that fails, and that of which nothing is left.
test_checks() {
	build_dir=$gate_dir/checks
	log_dir=$gate_dir/checks/logs
	mkdir -p "$log_dir"
	checks_passed=0
	checks_failed=0
	{
		check first "passes" true
		check second "fails" false
		check third "finds" nothing_in echo found
		check fourth "misses its program" nothing_in /no/such/program
	} >"$gate_dir/check_lines"
	[ "$checks_passed $checks_failed" = '1 3' ] || complain "check counts $checks_passed passed, $checks_failed failed"
	finds 'FAIL  finds' cat "$gate_dir/check_lines"

	wanted_checks="first third"
	{
		check first "wanted" true
		check second "not wanted" true
	} >"$gate_dir/check_lines"
	[ "$(cat "$gate_dir/check_lines")" = '  OK    wanted' ] || complain "checks run that nobody wants, or none"
	passes are_wanted second third
	fails are_wanted second
	finds lines check_names
}

# A run of the board that did not come to its end, failed, or left an empty console.
test_task_gates() {
	build_dir=$gate_dir/tasks
	mkdir -p "$build_dir/board/planted-run"
	fails task_succeeded planted
	echo 'all is well' >"$build_dir/board/planted-run/terminal.log"
	echo 0 >"$build_dir/board/planted.status"
	finds 'all is well' task_succeeded planted
	for task_end in 1 124 255; do
		echo "$task_end" >"$build_dir/board/planted.status"
		fails task_succeeded planted
	done
	fails console_is_clean "$gate_dir/absent"
	fails console_is_clean /dev/null
	fails console_is_clean "$gate_dir/faulty_console"
	passes console_is_clean "$gate_dir/clean_console"
}

test_condition_gate() {
	mcdc_dir=$gate_dir/mcdc
	mkdir -p "$mcdc_dir"
	fails mcdc_text
	head='Filename Regions Missed Regions Cover Branches Missed Branches Cover MC/DC Conditions Missed Conditions Cover'
	printf '%s\nTOTAL 9 0 100.00%% 9 0 100.00%% 8 0 100.00%%\n' "$head" >"$mcdc_dir/report.txt"
	finds '8 of 8 conditions' mcdc_text
	passes mcdc_text
	printf '%s\nTOTAL 9 0 100.00%% 9 0 100.00%% 10000 1 99.99%%\n' "$head" >"$mcdc_dir/report.txt"
	fails mcdc_text
	printf '%s\nTOTAL 9 0 100.00%% 9 0 100.00%% 0 0 -\n' "$head" >"$mcdc_dir/report.txt"
	fails mcdc_text
	printf '%s\n' "$head" >"$mcdc_dir/report.txt"
	fails mcdc_text
	printf '%s\nTOTAL 9 0 100.00%% 9 0 100.00%%\n' "${head% MC/DC*}" >"$mcdc_dir/report.txt"
	fails mcdc_text
}

# The compiler itself, on a function that runs in part.
test_coverage_gate() {
	root=$gate_dir/covered
	build_dir=$root/build
	log_dir=$build_dir/logs
	covered=$build_dir/part
	mkdir -p "$root/flash_mng_kernel" "$log_dir"
	cat >"$root/flash_mng_kernel/part.cpp" <<'SOURCE'
int choose(int value)
{
	return value ? 1 : 2;
}
int main(int count, char **)
{
	int sum = 0;
	for (int i = 0; i < count; ++i)
		sum += choose(i);
	return sum > 9;
}
SOURCE
	fails coverage_text "$covered" "$covered.profile"
	clang++ -O0 -fprofile-instr-generate -fcoverage-mapping "$root/flash_mng_kernel/part.cpp" -o "$covered"
	fails coverage_text "$covered" "$covered.profile"
	LLVM_PROFILE_FILE="$covered.profile" "$covered"
	fails coverage_text "$covered" "$covered.profile"
	LLVM_PROFILE_FILE="$covered.profile" "$covered" more
	passes coverage_text "$covered" "$covered.profile"
	finds 'lines 100.00%, branches 100.00%' coverage_text "$covered" "$covered.profile"

	columns='Filename Regions Missed Regions Cover Functions Missed Functions Executed'
	columns="$columns Lines Missed Lines Cover Branches Missed Branches Cover"
	printf '%s\nTOTAL 9 0 100%% 9 0 100%% 9999 1 100.00%% 8 0 100.00%%\n' "$columns" >"$gate_dir/covered.txt"
	fails coverage_is_whole <"$gate_dir/covered.txt"
	printf '%s\nTOTAL 9 0 100%% 9 0 100%% 9999 0 100.00%% 0 0 -\n' "$columns" >"$gate_dir/covered.txt"
	fails coverage_is_whole <"$gate_dir/covered.txt"
	printf '%s\nTOTAL 9 0 100%% 9 0 100%% 9999 0 100.00%%\n' "${columns% Branches*}" >"$gate_dir/covered.txt"
	fails coverage_is_whole <"$gate_dir/covered.txt"
}

# apart TEST...: in a subshell, so that it may set what it likes; it has to come to its end.
apart() {
	rm -f "$gate_dir/ended"
	(
		"$@"
		: >"$gate_dir/ended"
	)
	[ -e "$gate_dir/ended" ] || complain "$* did not come to its end"
}

# bench_report as ./dev test calls it.
test_figures_gate() {
	(build_program_target "$host_preset" bench_report) >"$gate_dir/bench_report.log" 2>&1
	gate_program=$(preset_dir "$host_preset")/bench/bench_report
	printf '# figures\ncommands\topen\t1\tcommand\t1000\n' >"$gate_dir/committed"
	for counted in 1020 900 10; do
		printf 'commands\topen\t1\tcommand\tflash_mng\tinstructions\t%s\n' "$counted" >"$gate_dir/figures.tsv"
		passes "$gate_program" gate "$gate_dir/figures.tsv" "$gate_dir/committed"
	done
	printf 'commands\topen\t1\tcommand\tflash_mng\tinstructions\t1021\n' >"$gate_dir/figures.tsv"
	finds 'grown from 1000 to 1021' "$gate_program" gate "$gate_dir/figures.tsv" "$gate_dir/committed"
	fails "$gate_program" gate "$gate_dir/figures.tsv" "$gate_dir/committed"
	printf 'commands\tother\t1\tcommand\tflash_mng\tinstructions\t10\n' >"$gate_dir/figures.tsv"
	finds 'not counted: commands' "$gate_program" gate "$gate_dir/figures.tsv" "$gate_dir/committed"
	fails "$gate_program" gate "$gate_dir/figures.tsv" "$gate_dir/committed"
	echo '# figures' >"$gate_dir/committed"
	fails "$gate_program" gate "$gate_dir/figures.tsv" "$gate_dir/committed"
	fails "$gate_program" gate "$gate_dir/absent" "$gate_dir/committed"
}

# plant FILE <TEXT: in the planted clone, whose files the style checks look at.
plant() {
	mkdir -p "$(dirname "$root/$1")"
	cat >"$root/$1"
}

test_cpp_style() {
	cp "$clone/.clang-format" "$clone/.clang-tidy" "$root"
	{
		cat <<'SOURCE'
int  badly_formatted( int*p ){return p==0?*p:1;}
int leaves_the_array()
{
	int room[2] = {1, 2};
	return room[2];
}
void fill(int *number);
int trusts_whoever_fills()
{
	int number;
	fill(&number);
	return number;
}
struct __attribute__((capability("lock"))) lock_type {
} g_lock;
int g_guarded __attribute__((guarded_by(g_lock)));
int unmarked_global;
int forgets_the_lock()
{
	return g_guarded;
}
SOURCE
		printf '// %0150d \n' 0
	} | plant flash_mng_kernel/planted.cpp
	finds planted.cpp tidy_findings planted '' 'flash_mng_kernel/*.cpp'
	finds planted.cpp tidy_findings planted '' 'flash_mng_kernel/*.cpp'
	finds 'Undefined or garbage value' tidy_findings analysed '-*,clang-analyzer-*' 'flash_mng_kernel/*.cpp'
	finds "variable 'number' is not initialized" tidy_findings planted '' 'flash_mng_kernel/*.cpp'
	finds "requires holding lock 'g_lock'" tidy_findings planted '' 'flash_mng_kernel/*.cpp'
	finds "invalid case style for global variable 'unmarked_global'" tidy_findings planted '' 'flash_mng_kernel/*.cpp'
	(
		mkdir -p "$gate_dir/broken"
		printf '#!/bin/sh\nexit 3\n' >"$gate_dir/broken/clang-tidy"
		chmod +x "$gate_dir/broken/clang-tidy"
		PATH=$gate_dir/broken:$PATH
		finds 'clang-tidy ended with' tidy_findings planted '' 'flash_mng_kernel/*.cpp'
	)
	finds planted.cpp format_findings
	finds planted.cpp files_without_licence
	finds columns long_lines
	finds 'white space at the end' long_lines
	echo 'blank = 1 ' | plant flash_mng_kernel/Makefile
	finds flash_mng_kernel/Makefile files_without_licence
	finds 'flash_mng_kernel/Makefile:1: white space at the end' long_lines
	finds room cppcheck_findings flash_mng_kernel
}

# names_are_refused FILE SOURCE FINDING
names_are_refused() {
	printf '%b' "$2" | plant "$1"
	finds "$1:$3" naming_findings
	rm "$root/$1"
}

test_naming() {
	{
		printf 'int g_count;\nstatic constexpr int limit = 1;\nconst char *const words[] = {"x"};\n'
		printf 'TEST_F(suite, name)\n{\n\tint local = 1;\n}\n'
		printf 'class counter {\npublic:\n\tint left() const;\n\nprivate:\n\tstatic constexpr int most = 2;\n\tint left_ = 0;\n};\n'
	} | plant tests/planted.cpp
	printf 'static unsigned int level;\nmodule_param(level, uint, 0600);\nstatic const int limit = 1;\n' | plant board/planted.c
	silent naming_findings
	names_are_refused tests/planted.hpp 'class named {\n\tint m_other;\n};\n' 2:
	names_are_refused tests/planted.hpp 'class named {\n\tint other;\n};\n' '2: other: a private member'
	names_are_refused tests/planted.hpp 'struct named {\n\tint other_;\n};\n' '2: other_: a public member'
	names_are_refused tests/planted.hpp 'int changeCase();\n' '1: changeCase: is not'
	names_are_refused tests/planted.hpp 'enum class kind { FIRST };\n' '1: FIRST: is not'
	names_are_refused tests/planted.cpp 'const int g_unchanging = 1;\n' '1: g_unchanging: a constant'
	names_are_refused tests/planted.cpp 'static const int *unmarked = nullptr;\n' '1: unmarked: a variable'
	names_are_refused board/planted.c 'static int unmarked;\n' '1: unmarked: a variable'
	names_are_refused board/planted.c 'static const int g_unchanging = 1;\n' '1: g_unchanging: a constant'
}

test_licences() {
	mkdir -p .reuse LICENSES
	cp "$clone/.reuse/dep5" .reuse
	cp "$clone"/LICENSES/* LICENSES
	printf '// SPDX-License-%s: BSD-3-Clause OR GPL-2.0-only\n' Identifier | plant planted.cpp
	passes licences_stand
	echo '[]' | plant planted.data
	finds '* planted.data' reuse_findings
	fails licences_stand
	rm planted.data
	printf '# SPDX-License-%s: MIT\n' Identifier | plant planted.sh
	finds 'planted.sh:1:' other_licences
	finds 'Missing licenses: MIT' reuse_findings
	fails licences_stand
	rm planted.sh
	touch LICENSES/MIT.txt
	finds 'Unused licenses: MIT' reuse_findings
	rm LICENSES/MIT.txt
	passes licences_stand
	# shellcheck disable=SC2317 # licences_stand calls it
	reuse() {
		return 3
	}
	fails licences_stand
}

# A site of two documents, a manual page and a source: links that lead nowhere, and what the search is to find.
test_site() {
	mkdir -p docs/man
	cp -r "$clone/docs/site" docs
	cp "$clone"/docs/man/* docs/man
	build_dir=$root/build
	ln -s "$clone/scripts/site.py" scripts/site.py
	for document in docs/your-board docs/board-xml docs/board-rules docs/reliability docs/power-cuts; do
		echo "# $document" | plant "$document.md"
	done
	printf '# Start\n\n[a board](docs/your-board.md#docsyour-board)\n' | plant README.md
	printf 'drv_log_record(a, b, 0, "planted %%s of "\n"two <parts>", name);\n' | plant flash_mng_kernel/frame/planted.cpp
	passes make_site
	pages=$(find README.md docs -name '*.md' -o -path 'docs/man/*' | wc -l)
	finds "$((pages + 1)) pages, 1 messages" make_site # with the page of the messages
	finds 'planted %s of two &lt;parts&gt;' cat build/site/docs/messages.html
	finds 'planted %s of two <parts>' cat build/site/index.js
	printf '# Help\n\n### One\n\n- \140log: 27: planted %%s of two <parts>\140 (serious): name\n' | plant docs/troubleshooting.md
	passes make_site
	finds 'troubleshooting.html#one' cat build/site/docs/messages.html
	finds '"docs/troubleshooting.html", "one", "Message"' cat build/site/index.js
	echo '# Help' | plant docs/troubleshooting.md
	finds 'nothing about "planted %s of two <parts>"' make_site
	fails make_site
	rm docs/troubleshooting.md
	printf '[gone](gone.md)\n' | plant docs/reliability.md
	finds 'docs/reliability.html: gone.html is not there' make_site
	fails make_site
	printf '[gone](your-board.md#gone)\n' | plant docs/reliability.md
	finds 'leads to no such heading' make_site
	fails make_site
}

test_c_style() {
	printf 'int wrong_style(int a) {\n    return a;\n}\n' | plant flash_mng_kernel/kernel/planted.c
	finds ERROR kernel_style_findings
	silent other_versions
	echo '#if LINUX_VERSION_CODE < KERNEL_VERSION(6, 1, 0)' | plant flash_mng_kernel/kernel/planted.c
	silent other_versions
	printf '#if LINUX_VERSION_CODE\n#elif LINUX_VERSION_CODE\n' | plant flash_mng_kernel/kernel/planted.c
	finds 'flash_mng_kernel/kernel/planted.c: 2 times' other_versions
	echo '#if LINUX_VERSION_CODE' | plant flash_mng_kernel/spi/planted.hpp
	finds 'flash_mng_kernel/spi/planted.hpp: 1 times' other_versions
	rm flash_mng_kernel/spi/planted.hpp
}

# What a build for another kernel says, of our files and of Linux's; and one whose headers cannot be had.
test_other_kernels() (
	stage_dir=$gate_dir/stage
	printf '%s\n' "$stage_dir/log/a.c:3:4: warning: absolute" "log/b.c:1:2: warning: relative" "/linux/c.h:5:6: warning: theirs" \
		"make: *** planted" >"$gate_dir/said"
	finds absolute said_of_ours "$gate_dir/said"
	finds relative said_of_ours "$gate_dir/said"
	[ "$(said_of_ours "$gate_dir/said" | wc -l)" -eq 2 ] || complain "said_of_ours finds $(said_of_ours "$gate_dir/said")"

	log_dir=$gate_dir/logs
	cache_dir=$gate_dir/cache
	root=$gate_dir/kernels
	mkdir -p "$log_dir" "$root/flash_mng_kernel"
	printf '5.10 bullseye\n9.9 nowhere\n' >"$root/flash_mng_kernel/KERNELS"
	wanted_checks=kernels checks_passed=0 checks_skipped=0 compiled_alone=
	check_kernels >"$gate_dir/check_lines"
	finds 'SKIP  Linux 9.9 of Debian: its header packages cannot be fetched (' cat "$gate_dir/check_lines"
	! grep -qF 'fetched ()' "$gate_dir/check_lines" || complain "a skip has no reason: $(cat "$gate_dir/check_lines")"
	[ "$checks_passed $checks_skipped" = '0 1' ] || complain "$checks_passed passed, $checks_skipped skipped of one that cannot be had"
)

# shellcheck disable=SC2016 # texts of scripts
test_shell_style() {
	printf '#!/bin/sh\nrm $1/*\n' | plant planted
	finds SC2086 shell_findings planted
	finds SC2086 bash_findings planted
	printf 'if\n' | plant scripts/planted.sh
	finds 'Syntax error' shell_findings
	printf '_planted() {\n\tcase $1 in\n}\n' | plant _planted
	finds 'parse error' zsh_findings _planted
}

test_shared_names() {
	plant dev <<'SCRIPT'
once=1
counted=0
first() {
	count=1 other="count=1" command
	echo "own=1" counted=1 # own=1
	own=1
	exported=1
	for looped in 1 2; do
		counted=2
	done
}
apart() (
	own=1
	looped=1
)
SCRIPT
	silent twice_named_findings counted
	finds 'counted is set by: dev; dev, first()' twice_named_findings ''
	finds 'absent is on the list' twice_named_findings 'counted absent'
	plant scripts/planted.sh <<'SCRIPT'
first() {
	while IFS= read -r own; do
		! true || looped=$(echo "$own")
	done
	export exported=2
	cat <<TEXT
	quoted=1
TEXT
}
second() {
	cat <<TEXT
	quoted=1
TEXT
}
SCRIPT
	finds 'first() is defined twice: dev scripts/planted.sh' twice_named_findings counted
	finds 'own is set by: dev, first(); scripts/planted.sh, first()' twice_named_findings counted
	finds 'looped is set by: dev, first(); scripts/planted.sh, first()' twice_named_findings counted
	finds 'exported is set by: dev, first(); scripts/planted.sh, first()' twice_named_findings counted
	twice_named_findings counted | grep -qE '^(once|count|other|quoted)' && complain "twice_named_findings counts too much"
	printf 'text="\n' | plant scripts/planted.sh
	finds 'not understood' twice_named_findings counted
}

test_manual_style() {
	printf '.Dd November 21, 2026\n.Dt PLANTED 1\n.Os\n.Sh NAME\n.Nm planted\n.Nd fault\n.Bl -tag\n.It one\n' | plant planted.1
	finds WARNING manual_findings planted.1
}

# finds_in_message TEXT <MESSAGE
finds_in_message() {
	message_file=$gate_dir/message
	cat >"$message_file"
	case $(message_findings planted <"$message_file") in
	*"$1"*) ;;
	*) complain "message_findings does not find '$1'" ;;
	esac
}

# commit_planted MESSAGE
commit_planted() {
	git -C "$root" -c user.name=planted -c user.email=planted@example.invalid commit -q --allow-empty -m "$1"
}

# shellcheck disable=SC2016 # quotes of the document
test_commits() {
	printf 'Areas:\n\n<!-- areas -->\n`docs`, `flash-board`,\n`tests`\n\n`other`\n' | plant CONTRIBUTING.md
	[ "$(commit_areas | tr '\n' ' ')" = 'docs flash-board tests ' ] || complain "other areas: $(commit_areas)"
	for message in 'Docs: say it' 'say it' 'docs: Say it' 'docs say it'; do
		echo "$message" | finds_in_message 'not of the form'
	done
	echo 'docs, other: say it' | finds_in_message '"other" is no area'
	echo 'docs: say it.' | finds_in_message 'a full stop'
	echo 'docs: added it' | finds_in_message 'not what was done'
	printf 'docs: say it\nwhy\n' | finds_in_message 'no empty line'
	printf 'docs: say it\n\n%076d\n' 0 | finds_in_message '76 columns'
	printf 'flash-board, tests: say it\n\n%075d\n' 0 >"$gate_dir/message"
	silent message_findings planted <"$gate_dir/message"

	finds 'not looked at: this copy has no history' commits_stand 0123456789
	commit_planted 'Older than the rules'
	planted_base=$(git -C "$root" rev-parse HEAD)
	commit_planted 'docs: say it'
	finds "1 commits since $planted_base" commits_stand "$planted_base"
	passes commits_stand "$planted_base"
	commit_planted 'say it'
	finds 'not of the form' commits_stand "$planted_base"
	fails commits_stand "$planted_base"
	: >"$root/CONTRIBUTING.md"
	fails commits_stand 0123456789
}

# refuses WORD...: ./dev of the planted clone takes the words for a usage error: status 2, nothing on standard output.
refuses() {
	usage_status=0
	usage_output=$(PATH=$gate_dir/few_programs ./dev "$@" 2>usage_complaint) || usage_status=$?
	{ [ "$usage_status" -eq 2 ] && [ -z "$usage_output" ] && grep -q '^dev: ' usage_complaint; } ||
		complain "./dev $* ends with $usage_status: $usage_output $(head -n 1 usage_complaint)"
}

# accepts WORD...: it begins to work; what it needs from the machine is not there.
accepts() {
	accepted_output=$(PATH=$gate_dir/few_programs ./dev "$@" 2>&1 >/dev/null)
	case $accepted_output in
	*'needs a Debian machine'*) ;;
	*) complain "./dev $* is not accepted: $accepted_output" ;;
	esac
}

# A ./dev that cannot do any work and has nothing to remove but its own folder.
test_usage() {
	mkdir -p "$gate_dir/few_programs" cache/flash_mng build
	cp -R -H "$clone/dev" "$clone/VERSION" "$clone/scripts" .
	export XDG_CACHE_HOME="$PWD/cache"
	for program in awk cat date dirname flock grep mkdir nproc rm sed sort touch; do
		ln -sf "$(command -v "$program")" "$gate_dir/few_programs"
	done
	for tried in test build check bench coverage prove help -h --help demo shell package clean; do
		refuses "$tried" foo
	done
	for tried in powercut torture fuzz twin; do
		for refused in foo '' 0 -1 1x 1.5 010 1000000000000 10081; do
			refuses "$tried" "$refused"
		done
		accepts "$tried"
		accepts "$tried" 1
	done
	refuses foo
	refuses demo -v foo
	refuses shell --debug --debug
	refuses test --host foo
	refuses renew foo
	refuses renew numbers foo
	refuses check lines foo
	refuses case
	refuses case --board
	refuses case one two
	refuses case --board one two
	refuses package --test --test
	refuses docs foo
	refuses trace foo
	refuses trace --no-bpf foo
	refuses release
	refuses release foo
	refuses release 1.0 foo
	refuses release --verify
	refuses release --verify folder foo
	refuses clean --cache foo
	refuses powercut 1 foo
	refuses powercut 1 2 3
	refuses fuzz 1 foo
	refuses fuzz 1 2 3
	refuses twin 1 2
	refuses matrix foo
	refuses matrix ''
	refuses matrix 6
	refuses matrix 5.10 6.1
	refuses torture 1 foo
	refuses torture 1 2 foo
	refuses torture 1 2 3 4
	refuses kernel-faults ''
	refuses kernel-faults 'one two'
	refuses kernel-faults one two
	refuses faults one two
	{ [ -d build ] && [ -d cache/flash_mng ]; } || complain "a refused ./dev clean removes"
	accepts demo -v
	accepts shell --debug
	accepts test --host
	accepts renew
	accepts renew numbers rules
	accepts check lines licence
	accepts case one
	accepts case --board one
	accepts package --test
	accepts docs
	accepts powercut 1 2
	accepts fuzz 1 2
	accepts torture 1 2 0
	accepts kernel-faults one
	accepts faults one
	for tried in test build check bench coverage demo shell package kernel-faults; do
		accepts "$tried"
	done
	{ ./dev clean >/dev/null && [ ! -d build ] && [ -d cache/flash_mng ]; } || complain "./dev clean does not remove build/ only"
	{ ./dev clean --cache >/dev/null && [ ! -d cache/flash_mng ]; } || complain "./dev clean --cache does not remove the cache"
}

# in_planted_clone COMMAND: with the files of a clone of its own.
in_planted_clone() {
	root=$gate_dir/style
	rm -rf "$root"
	mkdir -p "$root/scripts"
	git -C "$root" init -q
	cp "$clone"/scripts/*.awk "$root/scripts"
	cd "$root" || exit
	"$@"
}

rm -rf "$gate_dir"
mkdir -p "$gate_dir"
use_kernel production
apart test_object_gates
apart test_trace_gate
apart test_frames_gate
apart test_information_gate
apart test_strict_gate
apart test_checks
apart test_other_kernels
apart test_list_gates
apart test_litmus_gate
apart test_verification_gate
apart test_console_gate
apart test_shim_gate
apart test_report_sums
apart test_ktap
apart test_lab_job
apart test_report_faults
apart test_totals
apart test_task_gates
apart test_condition_gate
apart test_coverage_gate
apart test_figures_gate
for style_test in test_cpp_style test_naming test_licences test_site test_c_style test_shell_style test_shared_names test_manual_style \
	test_commits test_usage; do
	apart in_planted_clone "$style_test"
done
[ ! -e "$complaints" ]
