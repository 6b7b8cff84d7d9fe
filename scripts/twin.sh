# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev twin: the suite on the board's x86_64 twin, whose kernels see what those of AArch64 cannot. "twin" sees accesses beyond memory of
# vmalloc; "twin-kcsan" sees data races, while the cases with several callers run again and again. That they see them is shown with
# mistakes put into copies of the module.

twin_time_limit=1800

build_twin() {
	build_kernel "$1"
	build_modules "$1"
	build_lab "$1"
	build_initramfs "$1" full
}

run_twin_suites() {
	run_task twin-suite-1 twin suite "$twin_time_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=0 maxcpus=1" &
	twin_pid=$!
	run_task twin-suite-2 twin suite "$twin_time_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=1"
	wait "$twin_pid"
}

# make_mistaken FILE MISTAKE: all modules in a stage of their own, with a file of flash_mng changed by sed.
make_mistaken() {
	make_board_modules || return 1
	make_lab || return 1
	sed -i "$2" "$stage_dir/flash_mng_kernel/$1"
	! cmp "$root/flash_mng_kernel/$1" "$stage_dir/flash_mng_kernel/$1" || return 1
	make_modules flash_mng_kernel "$stage_dir/reference_platform/Module.symvers" || return 1
	make_initramfs full
}

# shows_mistake FLAVOUR FILE MISTAKE TASK PARAMETERS REPORT: the kernel's report of a mistaken module.
shows_mistake() {
	use_kernel "$1"
	use_stage "$1-mistaken"
	use_busybox
	initramfs=$build_dir/board/$1-mistaken.cpio.gz
	initramfs_root=$build_dir/board/$1-mistaken
	make_mistaken "$2" "$3" >"$log_dir/$1-mistaken.log" 2>&1 || {
		tail -n 20 "$log_dir/$1-mistaken.log"
		return 1
	}
	run_board "$1" mistaken "$4" --output "$build_dir/board/$1-mistaken-run" --time-limit 300 --append "$5" >/dev/null 2>&1 || true
	grep -m 1 "$6" "$build_dir/board/$1-mistaken-run/console.log"
}

show_overrun() {
	shows_mistake twin datapath/nand_transfer.cpp 's/^\tconst write_result result = /\timage.get()[image_size] = 0;\n&/' \
		suite 'GTEST_FILTER=ioctl_concurrency*' 'BUG: KASAN: vmalloc-out-of-bounds'
}

show_race() {
	shows_mistake twin-kcsan spi/registry.cpp '/::publish_names(/,/^}/ { /spin_guard/d }' \
		concurrency FLASH_MNG_MINUTES=1 'BUG: KCSAN: .*publish_names'
}

# run_twin MINUTES
run_twin() {
	build_program_target debug flash-board
	build_program_target twin conformance_guest
	build_twin twin
	build_twin twin-kcsan
	count_step "the twin sees an access beyond memory of vmalloc" show_overrun
	count_step "the twin sees a data race" show_race
	try_step "suite on the twin" twin_suite run_twin_suites
	for run in twin-suite-1 twin-suite-2; do
		count_report "conformance on the twin, $run" "$build_dir/board/$run-run/results/conformance.xml"
		count_task "$run"
	done
	try_step "cases with several callers on the twin" twin_threads \
		run_task twin-threads twin-kcsan concurrency $(($1 * 60 + twin_time_limit)) "FLASH_MNG_MINUTES=$1"
	count_task twin-threads
	show_total
}

# twin_command [MINUTES]
twin_command() {
	minutes=${1-5}
	case $minutes in
	*[!0-9]* | '' | 0*) usage_error "twin: '$minutes' is not a number of minutes" ;;
	esac
	need_packages "$build_packages" "$host_packages" "$twin_packages"
	run_twin "$minutes"
}
