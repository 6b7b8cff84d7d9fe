# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# The kernel modules: reference platform, flash_mng, what links against it, and the lab of the guest tests. Kbuild writes beside the
# sources, so these are copied to build/kernel/<flavour> first; only what changed is copied, and only that is built again.

module_sources="flash_mng_kernel reference_platform examples/foreign_platform board/demo/client tests/powercut/client bench/kernel
	tests/torture/calls tests/guest/lab tests/guest/platform_check simulation/calls.def"

# use_stage FLAVOUR: sets stage_dir.
use_stage() {
	stage_dir=$build_dir/kernel/$1
}

stage_file_list() {
	# shellcheck disable=SC2086 # a list of names
	(cd "$root" && find $module_sources -type f | LC_ALL=C sort)
}

# Copies the sources; a file that is gone from the clone goes from the stage too.
stage_sources() {
	mkdir -p "$stage_dir"
	stage_file_list >"$stage_dir/sources.new"
	if [ -f "$stage_dir/sources.list" ]; then
		LC_ALL=C comm -23 "$stage_dir/sources.list" "$stage_dir/sources.new" | while IFS= read -r gone; do
			rm -f "$stage_dir/$gone"
		done
	fi
	rsync -rlpt --files-from="$stage_dir/sources.new" "$root" "$stage_dir" || return 1
	mv "$stage_dir/sources.new" "$stage_dir/sources.list"
}

# make_modules FOLDER SYMBOLS ARGUMENT...: one Kbuild run in the stage. Where the kernel has UBSAN the modules are checked by it.
make_modules() {
	make_folder=$stage_dir/$1
	make_symbols=$2
	shift 2
	# shellcheck disable=SC2086
	make -C "$kernel_dir" M="$make_folder" $kernel_make_arguments KBUILD_EXTRA_SYMBOLS="$make_symbols" UBSAN_SANITIZE=y -j"$jobs" \
		"$@" modules
}

make_platform_and_flash() {
	stage_sources || return 1
	make_modules reference_platform '' "$@" || return 1
	make_modules flash_mng_kernel "$stage_dir/reference_platform/Module.symvers" KCFLAGS=-fstack-usage "$@"
}

# make_client FOLDER ARGUMENT...: modules that link against flash_mng.
make_client() {
	client=$1
	shift
	make_modules "$client" "$stage_dir/reference_platform/Module.symvers $stage_dir/flash_mng_kernel/Module.symvers" "$@"
}

make_lab() {
	make_client tests/guest/lab "$@" || return 1
	make_client tests/guest/platform_check "$@"
}

make_board_modules() {
	make_platform_and_flash "$@" || return 1
	make_client reference_platform/spi_flash_driver "$@" || return 1
	make_modules examples/foreign_platform '' "$@" || return 1
	make_modules examples/foreign_platform/flash_driver "$stage_dir/flash_mng_kernel/Module.symvers" "$@" || return 1
	make_client board/demo/client "$@"
}

# build_modules FLAVOUR: all but the lab.
build_modules() {
	use_kernel "$1"
	use_stage "$1"
	run_step "build the modules for the $1 kernel" "modules_$1" make_board_modules
}

# shim_functions: the functions of flash_mng's C, with a comma between them. Inlines of Linux are not among them, nor the names that Linux
# has for init and exit.
shim_functions() {
	"$machine-linux-gnu-nm" --defined-only "$stage_dir"/flash_mng_kernel/kernel/*.o |
		awk '$3 ~ /^(init|cleanup)_module$/ { next } $2 == "T" || $2 == "t" && $3 ~ /^flash_mng_/ { print $3 }' |
		LC_ALL=C sort | paste -s -d , -
}

# build_lab FLAVOUR: the lab of the guest tests, after build_modules.
build_lab() {
	use_kernel "$1"
	use_stage "$1"
	run_step "build the test lab for the $1 kernel" "lab_$1" make_lab
}
