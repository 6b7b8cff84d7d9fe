# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Tests of the gates themselves: each inspection is shown an object or a text with the fault that it exists for, and must find it; and
# one without, and must be silent. Sourced by ./dev, which has the inspections.

gate_failures=0

wrong() {
	echo "$*"
	gate_failures=$((gate_failures + 1))
}

# finds TEXT COMMAND...: the inspection must report something that contains TEXT.
finds() {
	wanted=$1
	shift
	case $("$@") in
	*"$wanted"*) ;;
	*) wrong "$1 does not find '$wanted'" ;;
	esac
}

# silent COMMAND...: the inspection must report nothing.
silent() {
	said=$("$@")
	[ -z "$said" ] || wrong "$1 reports without reason: $said"
}

# fails COMMAND...: the check must not pass.
fails() {
	! "$@" >/dev/null || wrong "$1 passes"
}

# compile NAME FLAG... <SOURCE
compile() {
	name=$1
	shift
	aarch64-linux-gnu-g++ -std=c++20 -O1 -fstack-usage "$@" -x c++ -c - -o "$gate_dir/$name.o"
}

test_object_gates() {
	compile clean -fno-exceptions -fno-rtti <<'SOURCE'
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
	echo known >"$gate_dir/allowed"
	silent symbols_outside "$gate_dir/allowed"

	flash_object=$gate_dir/faulty.o
	finds .init_array constructors
	finds __cxa_guard_acquire runtime_symbols
	finds _ZTV runtime_symbols
	finds _Znwm runtime_symbols
	finds unheard_of symbols_outside "$gate_dir/allowed"

	mkdir -p "$gate_dir/frames/large" "$gate_dir/frames/small"
	mv "$gate_dir/faulty.su" "$gate_dir/frames/large"
	mv "$gate_dir/clean.su" "$gate_dir/frames/small"
	finds large large_frames "$gate_dir/frames/large"
	silent large_frames "$gate_dir/frames/small"
}

# The lists beside the module; what is built is a planted table of exports, a planted header, planted sizes.
test_list_gates() {
	root=$gate_dir/clone
	stage_dir=$gate_dir/stage
	build_dir=$gate_dir
	mkdir -p "$root/scripts" "$root/flash_mng_kernel/include/uapi" "$stage_dir/flash_mng_kernel" "$gate_dir/results"
	test_export_list
	test_header_lists
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
	finds results/exports as_listed "$gate_dir/exports" exports
	fails as_listed "$gate_dir/exports" exports
}

test_header_lists() {
	cp "$clone/scripts/records.awk" "$root/scripts"
	cat >"$root/flash_mng_kernel/include/uapi/flash_mng.h" <<'SOURCE'
#include <stdint.h>
#define FLASH_MNG_OTHER_FORM 0x10u
#define FLASH_MNG_TEXT "text"
struct with_hole {
	uint8_t first;
	struct { uint8_t a, b; } inside;
	uint64_t last;
};
struct with_address {
	void *address;
	uint8_t last;
};
SOURCE
	cat >"$root/flash_mng_kernel/include/flash_mng.h" <<'SOURCE'
#include "uapi/flash_mng.h"
struct in_kernel {
	with_hole *other;
};
SOURCE
	for line in 'with_hole 16 16' 'with_hole.inside 1 1' 'with_hole.last 8 8' 'with_address 16 8' 'with_address.last 8 4' \
		'in_kernel.other 0 -'; do
		finds "$line" records
	done
	finds 'FLASH_MNG_OTHER_FORM 0x10u' numbers
	[ "$(records | wc -l) $(numbers | wc -l)" = '9 1' ] || wrong "records or numbers find too much"
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
	for line in '< probe 300' '> probe 400' '< gone 16' 'cp '; do
		finds "$line" sizes_on "$gate_dir/sizes"
	done
	fails sizes_on "$gate_dir/sizes"
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
	for line in '2 1 1' 'frame 2' 'config 1' '! frame_load.fails'; do
		finds "$line" awk -f "$root/scripts/results.awk" "$gate_dir/report.xml"
	done
}

# The style checks ask our_files for their files; here that is one planted file.
test_style_gates() {
	our_files() {
		echo "$planted"
	}
	planted=$gate_dir/planted.cpp
	cat >"$planted" <<'SOURCE'
int  badly_formatted( int*p ){return p==0?*p:1;}
int leaves_the_array()
{
	int room[2] = {1, 2};
	return room[2];
}
SOURCE
	printf '// %0150d \n' 0 >>"$planted"
	finds planted.cpp tidy_findings
	finds planted.cpp format_findings
	finds planted.cpp files_without_licence
	finds columns long_lines
	finds 'white space at the end' long_lines
	finds room cppcheck_findings "$planted"
	planted=$gate_dir/planted.c
	printf 'int wrong_style(int a) {\n    return a;\n}\n' >"$planted"
	finds ERROR kernel_style_findings
	planted=$gate_dir/planted.sh
	# shellcheck disable=SC2016 # the text of a script
	printf '#!/bin/sh\nrm $1/*\n' >"$planted"
	finds SC2086 shell_findings "$planted"
	finds SC2086 bash_findings "$planted"
	# shellcheck disable=SC2016 # the text of a script
	printf '_planted() {\n\tcase $1 in\n}\n' >"$planted"
	finds 'parse error' zsh_findings "$planted"
	planted=$gate_dir/planted.1
	printf '.Dd November 21, 2026\n.Dt PLANTED 1\n.Os\n.Sh NAME\n.Nm planted\n.Nd fault\n.Bl -tag\n.It one\n' >"$planted"
	finds WARNING manual_findings "$planted"
}

gate_test() (
	gate_dir=$build_dir/gate
	rm -rf "$gate_dir"
	mkdir -p "$gate_dir"
	test_object_gates
	clone=$root
	(test_list_gates && exit "$gate_failures") || gate_failures=$((gate_failures + 1))
	test_console_gate
	test_shim_gate
	test_report_sums
	test_style_gates
	[ "$gate_failures" -eq 0 ]
)
