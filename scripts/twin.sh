# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev twin: the suite on the board's x86_64 twin, whose kernels see what those of AArch64 cannot. "twin" sees accesses beyond memory of
# vmalloc; "twin-kcsan" sees data races, while the cases with several callers run again and again. That they see them is shown with
# mistakes put into copies of the module.

# Seconds of processor time, of two emulated cores.
twin_suite_limit=3600
twin_short_limit=600

build_twin() {
	build_kernel "$1"
	build_modules "$1"
	build_lab "$1"
	build_initramfs "$1" full
}

# make_mistaken FLAVOUR FILE MISTAKE: the initramfs of the suite, but with a flash_mng that has a file changed by sed.
make_mistaken() {
	stage_sources || return 1
	sed -i "$3" "$stage_dir/flash_mng_kernel/$2"
	! cmp "$root/flash_mng_kernel/$2" "$stage_dir/flash_mng_kernel/$2" || return 1
	make_modules flash_mng_kernel "$build_dir/kernel/$1/reference_platform/Module.symvers" || return 1
	exchange_flash_mng "$1" full
}

# shows_mistake FLAVOUR FILE MISTAKE CASE REPORT: the kernel's report of a mistaken module in that case, which may fail or not.
shows_mistake() {
	use_kernel "$1"
	use_stage "$1-mistaken"
	name_initramfs "$1" mistaken
	make_mistaken "$1" "$2" "$3" >"$log_dir/$1-mistaken.log" 2>&1 || {
		tail -n 20 "$log_dir/$1-mistaken.log"
		return 1
	}
	mistaken_run=$build_dir/board/$1-mistaken-run
	run_board "$1" mistaken suite --output "$mistaken_run" --time-limit "$twin_short_limit" --append "GTEST_FILTER=$4" || true
	grep -m 1 -o "$5" "$mistaken_run/console.log"
}

show_overrun() {
	shows_mistake twin datapath/nand_transfer.cpp 's/^\tconst write_result result = /\timage.get()[image_size] = 0;\n&/' \
		ioctl_write.makes_its_calls_in_order 'BUG: KASAN: vmalloc-out-of-bounds.*'
}

# A count that callers share without a lock, in a loop, since on a busy host the cores of an emulated board seldom run at the same time.
show_race() {
	shared_count='static u32 count;\n\tfor (u32 i = 0; i < 10000; ++i) {\n\t\tcount = count + 1;\n\t\tasm("" : "+m"(count));\n\t}'
	shows_mistake twin-kcsan frame/control_device.cpp "/\"Flash cmd not support\"/s/^/\\t$shared_count\\n/" \
		frame_device.serves_several_threads_at_once 'BUG: KCSAN: data-race in .*'
}

run_twin_suites() {
	run_task twin-suite-1 twin full suite "$twin_suite_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=0 maxcpus=1" &
	first_suite=$!
	run_task twin-suite-2 twin full suite "$twin_suite_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=1"
	wait "$first_suite"
}

# run_twin_callers MINUTES
run_twin_callers() {
	callers_limit=$(($1 * 180 + twin_short_limit))
	run_task twin-torture twin torture torture "$callers_limit" "torture.seconds=$(($1 * 60)) torture.seed=1 torture.cycles=50" &
	torture_pid=$!
	run_task twin-threads twin-kcsan full concurrency "$callers_limit" "FLASH_MNG_MINUTES=$1"
	wait "$torture_pid"
}

# run_twin MINUTES
run_twin() {
	forget_limits
	build_program_target debug flash-board
	build_program_preset twin
	build_twin twin
	build_twin twin-kcsan
	build_torture_board twin
	rm -rf "$build_dir"/board/twin-*-run
	count_step "the twin sees an access beyond memory of vmalloc" show_overrun
	count_step "the twin sees a data race" show_race
	try_step "suite on the twin" twin_suite run_twin_suites
	for twin_run in twin-suite-1 twin-suite-2; do
		count_report "conformance on the twin, $twin_run" "$build_dir/board/$twin_run-run/results/conformance.xml"
		count_task "$twin_run"
	done
	count_step "the module's C in the twin's kernel" shims_ran "$build_dir"/board/twin-suite-*-run/results/shims
	try_step "several callers on the twins for $1 minutes" twin_callers run_twin_callers "$1"
	count_task twin-torture
	count_task twin-threads
	show_total
}

# twin_command [MINUTES]
twin_command() {
	at_most 1 twin "$@"
	minutes twin "${1-5}"
	hold_clone
	need_packages "$build_packages" "$host_packages" "$twin_packages"
	run_twin "${1-5}"
}
