# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev torture [MINUTES [SEED [CYCLES]]]: everything at once on the debug kernel, then load cycles.
# ./dev kernel-faults [WORD]: each fault point of each call fails once, on the debug kernel.
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
	build_program_target "$host_preset" flash-board
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

# own_torture_run SET TASK: leaves the clone to other commands, as the run has all that it needs.
own_torture_run() {
	own_run "debug-$2"
	keep_initramfs debug "$1"
	release_clone
}

# run_torture_task SET TASK LIMIT KERNEL PARAMETERS: on the debug kernel, in the folder that own_run has set. Shows what the task printed;
# fails with it, and when the kernel reported something.
run_torture_task() {
	torture_status=0
	attend run_board debug "$1" "$2" --output "$run_dir" --time-limit "$3" --append "$4" || torture_status=$?
	if [ "$torture_status" -ge 100 ]; then
		tail -n 30 "$run_dir/console.log"
	fi
	console_is_clean "$run_dir/console.log" || {
		say "$2: the kernel reported the above; the whole console is $run_dir/console.log"
		return 1
	}
	case $torture_status in
	100) say "$2: ended by a limit of time and not by a check; no kernel reports" ;;
	*) say "$2: status $torture_status, no kernel reports" ;;
	esac
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
	hold_clone
	need_packages "$build_packages"
	build_torture_board debug
	own_torture_run torture torture
	say "torture for $torture_minutes minutes, then $torture_cycles load cycles"
	run_torture_task torture torture $((torture_minutes * 180 + torture_cycles + 600)) \
		"torture.seconds=$((torture_minutes * 60)) torture.seed=$torture_seed torture.cycles=$torture_cycles"
}

# kernel_faults_command [WORD]: of the operations only those whose names contain the word.
kernel_faults_command() {
	at_most 1 kernel-faults "$@"
	case ${1-all} in
	'' | *[!A-Za-z0-9_]*) usage_error "kernel-faults: '$1' is no part of a name" ;;
	esac
	hold_clone
	need_packages "$build_packages"
	build_torture_board debug
	own_torture_run torture faults
	say "faults of the kernel and of the platform"
	run_torture_task torture faults 7200 "kmemleak=off faults.only=${1-}"
}
