# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev powercut [MINUTES]: power cuts, simulated and real.

make_powercut_client() {
	make_client tests/powercut/client "$@"
}

make_powercut_initramfs() {
	begin_initramfs
	copy_modules reference_platform flash_mng_kernel tests/powercut || return 1
	compile_board_files demo || return 1
	compile_boards_of tests/powercut/boards board || return 1
	pack_initramfs
}

# build_powercut_board: the board's modules, the one that writes, and a small initramfs.
build_powercut_board() {
	build_kernel production
	build_modules production
	run_step "build the module that writes" powercut_client make_powercut_client
	use_busybox
	name_initramfs production powercut
	run_step "build the initramfs (powercut)" initramfs_powercut make_powercut_initramfs
}

# run_powercut_board MINUTES SEED: kills the board until the time is over.
run_powercut_board() {
	powercut_run=$build_dir/board/powercut-run
	"$(preset_dir debug)/tests/powercut/powercut_bench" --minutes "$1" --seed "$2" --nor "$build_dir/board/powercut-nor.img" -- \
		"$root/board/run" --kernel "$kernel_dir/arch/arm64/boot/Image" --initramfs "$initramfs" --task powercut \
		--output "$powercut_run" --nor "$build_dir/board/powercut-nor.img" --interactive
}

# powercut_command [MINUTES [SEED]]
powercut_command() {
	at_most 2 powercut "$@"
	powercut_minutes=${1-5}
	powercut_seed=${2-1}
	minutes powercut "$powercut_minutes"
	whole_numbers powercut "$powercut_seed"
	hold_clone
	need_packages "$build_packages"
	for target in powercut_host powercut_updates powercut_tests powercut_bench flash-board; do
		build_program_target debug "$target"
	done
	build_powercut_board
	say "the checker's own tests"
	"$(preset_dir debug)/tests/powercut/powercut_tests" --gtest_brief=1
	say "simulated cuts, of the reference platform's flash buffer service"
	"$(preset_dir debug)/tests/powercut/powercut_host" --gtest_brief=1
	say "simulated cuts, of updates by flashctl"
	POWERCUT_ALL=1 "$(preset_dir debug)/tests/powercut/powercut_updates" --gtest_brief=1
	say "real cuts, of the board, for $powercut_minutes minutes"
	run_powercut_board "$powercut_minutes" "$powercut_seed"
}
