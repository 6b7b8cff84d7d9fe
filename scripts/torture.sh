# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev torture [MINUTES [SEED [CYCLES]]]: everything at once on the debug kernel, then load cycles.
# ./dev faults [WORD]: each fault point of each call fails once, on the debug kernel.
# And the board that these and ./dev fuzz run on.

make_flash_calls() {
	make_client tests/torture/calls "$@"
}

make_torture_initramfs() {
	begin_initramfs
	compile_boards_of tests/torture/boards board || return 1
	copy_modules reference_platform flash_mng_kernel tests/guest/lab tests/torture/calls || return 1
	copy_programs torture || return 1
	cp "$root/tests/torture/corpus.txt" "$initramfs_root/torture/" || return 1
	pack_initramfs
}

# build_torture_board FLAVOUR: a kernel that notices mistakes with the programs of tests/torture; run_board has them as "torture".
build_torture_board() {
	build_program_target debug flash-board
	use_kernel "$1"
	build_program_target "$program_preset" torture_programs
	build_kernel "$1"
	build_modules "$1"
	build_lab "$1"
	run_step "build the module of calls for the $1 kernel" "flash_calls_$1" make_flash_calls
	use_busybox
	name_initramfs "$1" torture
	run_step "build the initramfs ($1, torture)" "initramfs_$1_torture" make_torture_initramfs
}

# run_torture_task SET TASK LIMIT KERNEL PARAMETERS: on the debug kernel. Shows what the task printed; fails with it, and when the kernel
# reported something.
run_torture_task() {
	torture_run=$build_dir/board/debug-$2-run
	torture_status=0
	run_board debug "$1" "$2" --output "$torture_run" --time-limit "$3" --append "$4" || torture_status=$?
	if [ "$torture_status" -ge 100 ]; then
		tail -n 30 "$torture_run/console.log"
	fi
	console_is_clean "$torture_run/console.log" || {
		say "$2: the kernel reported the above; the whole console is $torture_run/console.log"
		return 1
	}
	say "$2: status $torture_status, no kernel reports"
	return "$torture_status"
}

# torture_command [MINUTES [SEED [CYCLES]]]
torture_command() {
	at_most 3 torture "$@"
	torture_minutes=${1-5}
	torture_seed=${2-1}
	torture_cycles=${3-1000}
	minutes torture "$torture_minutes"
	whole_numbers torture "$torture_seed" "$torture_cycles"
	need_packages "$build_packages"
	build_torture_board debug
	say "torture for $torture_minutes minutes, then $torture_cycles load cycles"
	run_torture_task torture torture $((torture_minutes * 60 + torture_cycles + 300)) \
		"torture.seconds=$((torture_minutes * 60)) torture.seed=$torture_seed torture.cycles=$torture_cycles"
}

# faults_command [WORD]: of the operations only those whose names contain the word.
faults_command() {
	at_most 1 faults "$@"
	case ${1-all} in
	'' | *[!A-Za-z0-9_]*) usage_error "faults: '$1' is no part of a name" ;;
	esac
	need_packages "$build_packages"
	build_torture_board debug
	say "faults of the kernel and of the platform"
	run_torture_task torture faults 3600 "kmemleak=off faults.only=${1-}"
}
