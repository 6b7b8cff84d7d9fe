# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev bench [KERNEL]: counts instructions on the virtual board, and draws the figures. Its gate in ./dev test counts a few of them.

# The kernel that is counted on.
bench_flavour=production
bench_time_limit=1800
bench_tools="mtdinfo nanddump flash_erase nandwrite"
bench_libraries=/usr/aarch64-linux-gnu/lib

# bench_board ROWS ENTRIES INSTANCES: a description with so many section rows, listed partitions, the last of which are used, and SPI
# flash instances.
bench_board() {
	awk -v rows="$1" -v entries="$2" -v instances="$3" '
		function entry(name, text) { printf "<entry name=\"%s\" %s/>\n", name, text }
		BEGIN {
			print "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<board name=\"bench\">"
			print "<instance id=\"0xffffffff\"><module name=\"flash_mng\"><node name=\"attr\">"
			for (i = 1; i <= rows; i++)
				entry("row" i, "section_id=\"" i "\" mtd_name=\"ram0\" offset=\"0x0\" size=\"0x400000\"")
			print "</node><node name=\"mtd_info\">"
			if (entries)
				entry("part1", "mtd_name=\"usrdata\" avail_size=\"0x800000\"")
			for (i = 2; i < entries; i++)
				entry("part" i, "mtd_name=\"part" i "\" avail_size=\"0x100000\"")
			if (entries)
				entry("part" entries, "mtd_name=\"boot\" avail_size=\"0x100000\"")
			print "</node></module></instance>"
			for (i = 1; i <= instances; i++) {
				printf "<instance id=\"%d\"><module name=\"flash_mng\">", i
				print "<node name=\"spi_flash_info\"><entry name=\"entry0\">"
				print "<flash_id>0xffffffff</flash_id><sfc_chip_id>0</sfc_chip_id><sfc_ctrl>0</sfc_ctrl><sfc_cs>0</sfc_cs>"
				print "</entry></node></module></instance>"
			}
			print "</board>"
		}'
}

# compile_bench_boards: the sizes that board/initramfs/tasks/bench loads.
compile_bench_boards() {
	mkdir -p "$initramfs_root/lib/firmware/board/bench"
	for sizes in "8 4 1000" "256 64 0" "4096 1024 0" "10 0 0" "1000 0 0" "10 100 0" "10 1000 0"; do
		# shellcheck disable=SC2086 # three numbers
		set -- $sizes
		bench_board "$1" "$2" "$3" >"$build_dir/bench/$1_$2.xml"
		compile_board "$build_dir/bench/$1_$2.xml" "$initramfs_root/lib/firmware/board/bench/$1_$2.fbd" || return 1
	done
}

# The tools that a user would take instead, of this machine's own Debian release but for AArch64, and the library they are linked with.
copy_bench_tools() {
	mkdir -p "$initramfs_root/usr/sbin" "$initramfs_root/lib"
	for tool in $bench_tools; do
		cp "$mtd_utils/files/usr/sbin/$tool" "$initramfs_root/usr/sbin/" || return 1
	done
	cp "$bench_libraries/ld-linux-aarch64.so.1" "$bench_libraries/libc.so.6" "$initramfs_root/lib/"
}

make_bench_client() {
	make_client bench/kernel "$@"
}

make_bench_initramfs() {
	begin_initramfs
	copy_modules reference_platform flash_mng_kernel bench/kernel || return 1
	compile_bench_boards || return 1
	copy_programs bench || return 1
	copy_bench_tools || return 1
	[ ! -f "$root/bench/figures.txt" ] || cp "$root/bench/figures.txt" "$initramfs_root/bench/"
	pack_initramfs
}

# build_bench: everything that a run needs.
build_bench() {
	build_kernel "$bench_flavour"
	build_modules "$bench_flavour"
	run_step "build the modules that measure" bench_client make_bench_client
	build_program_target "$host_preset" flash-board
	build_program_target "$host_preset" bench_report
	build_program_target guest bench
	use_busybox
	fetch_package "$(machine_codename)" arm64 mtd-utils
	mtd_utils=$package_files
	name_initramfs "$bench_flavour" bench
	mkdir -p "$build_dir/bench"
	run_step "build the initramfs (bench)" initramfs_bench make_bench_initramfs
}

# run_bench MODE RUN OPTION...: results in build/board/RUN-run/results.
run_bench() {
	bench_mode=$1
	bench_run=$2
	shift 2
	run_board "$bench_flavour" bench bench --output "$build_dir/board/$bench_run-run" --time-limit "$bench_time_limit" \
		--append "quiet bench.mode=$bench_mode" "$@"
}

# traced_addresses RUN: flash_mng wherever it was loaded in that run, and the first instruction of the marks.
traced_addresses() {
	awk -F '\t' '
		$2 == "module" { print "0x" $3 "+" $4 }
		$2 == "function" && $4 == "bench_mark" { print "0x" $3 "+4" }' "$build_dir/board/$1-run/results/places.tsv" |
		sort -u | paste -s -d , -
}

# What the figures depend on.
bench_versions() {
	printf 'Linux %s (%s), %s, mtd-utils %s, %s.' "$(source_release)" "Debian's linux-source-$kernel_version" \
		"$(aarch64-linux-gnu-g++ --version | head -n 1)" "$(cat "$mtd_utils/version")" \
		"$(qemu-system-aarch64 --version | head -n 1)"
}

# figures_of RUN
figures_of() {
	echo "$build_dir/board/$1-run/results/figures.tsv"
}

# What the loaded module takes, as figures.
module_sizes() {
	aarch64-linux-gnu-size "$stage_dir/flash_mng_kernel/flash_mng.ko" | awk -v OFS='\t' '
		function size(what, bytes) { print "memory of the module", what, 1, "module", "flash_mng", "bytes", bytes }
		NR == 2 { size("code and constants", $1); size("data", $2); size("cleared data", $3) }'
}

# Writes all that is said of the figures. The committed ones are those of the gate's run: what went before a call changes it a little.
report_bench() {
	report_program=$(preset_dir "$host_preset")/bench/bench_report
	{ cat "$(figures_of bench-1)" && module_sizes; } >"$build_dir/bench/figures.tsv" || return 1
	"$report_program" report "$build_dir/bench/figures.tsv" "$build_dir/board/bench-trace-run" "$(bench_versions)" "$root/bench" \
		"$build_dir/bench/figures.json" "$root/docs" || return 1
	"$report_program" renew "$(figures_of bench-gate)" "$root/bench/figures.txt"
}

# renew_figures: counts, and writes all that is said of it.
renew_figures() {
	build_bench
	run_step "count" bench_1 run_bench full bench-1 --icount
	run_step "count again" bench_2 run_bench full bench-2 --icount
	cmp "$(figures_of bench-1)" "$(figures_of bench-2)" || die "two runs gave different figures"
	run_step "count for the gate" bench_gate run_bench gate bench-gate --icount
	run_step "trace what runs inside the module" bench_trace run_bench trace bench-trace --icount --trace "$(traced_addresses bench-1)"
	report_bench
}

# ---- another kernel

# What else is counted on: that version's kernel with the board's configuration.
bench_kernels() {
	echo 6.12
}

# other_section KERNEL: what is said of it, and its figures beside the committed ones; fails when flash_mng's own part is over its limits.
other_section() {
	printf '## On Linux %s\n\n' "$1"
	printf '%s\n' "The rows of \`bench/figures.txt\`, counted by \`./dev bench $1\` on a kernel of the same configuration." \
		"The command fails when what runs inside the module is over the limits above." \
		"The rest is Linux's, which moves the bytes." '' \
		"$(bench_versions)" ''
	"$(preset_dir "$host_preset")/bench/bench_report" beside "$(figures_of bench-other)" "$build_dir/board/bench-other-trace-run" \
		"$root/bench/figures.txt"
}

# write_other KERNEL: its section, the last of the page.
write_other() {
	other_section "$1" >"$build_dir/bench/section" || return 1
	cp "$build_dir/bench/section" "$root/bench/linux-$1.txt" &&
		sed "/^## On Linux $1\$/,\$d" "$root/docs/performance.md" >"$build_dir/bench/page" &&
		cat "$build_dir/bench/page" "$build_dir/bench/section" >"$root/docs/performance.md"
}

# bench_other KERNEL: in a subshell, as another kernel than the board's is counted on.
bench_other() (
	bench_flavour=$1-board
	build_bench
	run_step "count on Linux $1" bench_other run_bench gate bench-other --icount
	run_step "trace what runs inside the module" bench_other_trace run_bench trace bench-other-trace --icount \
		--trace "$(traced_addresses bench-other)"
	run_step "compare" bench_beside write_other "$1"
	say "docs/performance.md and bench/linux-$1.txt are written"
)

bench_command() {
	at_most 1 bench "$@"
	known_words bench bench_kernels "$@"
	hold_clone
	need_packages "$build_packages"
	if [ $# -gt 0 ]; then
		bench_other "$1"
	else
		renew_figures
		say "figures: $build_dir/bench/figures.json; docs/performance.md, its charts and bench/figures.txt are written"
	fi
}

# count_gate: compares the figures of bench/figures.txt with those of now.
count_gate() {
	run_bench gate bench-gate --icount >"$log_dir/bench_gate.log" 2>&1 || {
		tail -n 20 "$log_dir/bench_gate.log"
		return 1
	}
	"$(preset_dir "$host_preset")/bench/bench_report" gate "$(figures_of bench-gate)" "$root/bench/figures.txt"
}

# test_bench: for ./dev test.
test_bench() {
	build_bench
	count_step "instructions of calls against the committed figures" count_gate
}
