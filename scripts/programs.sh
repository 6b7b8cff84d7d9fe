# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# The programs: host tools and tests, programs of the board. CMake presets: debug release asan tsan fuzz (host), guest (static,
# AArch64), twin (static, x86_64).

# The preset that the host's tools are of. The tests have flash-board already, with sanitizers.
host_preset=debug

# preset_dir PRESET
preset_dir() {
	case $1 in
	guest | twin) echo "$build_dir/$1" ;;
	*) echo "$build_dir/host/$1" ;;
	esac
}

# The board's flashctl takes its hash from a library, of this machine's own Debian release but for the board's architecture.
configure_programs() {
	case $1 in
	guest) nettle_architecture=arm64 ;;
	twin) nettle_architecture=amd64 ;;
	*) nettle_architecture= ;;
	esac
	program_option=
	if [ -n "$nettle_architecture" ]; then
		fetch_package "$(machine_codename)" "$nettle_architecture" nettle-dev
		program_option=-DFLASHCTL_NETTLE_ROOT=$package_files/files
	fi
	run_step "configure programs ($1)" "cmake_$1" env -C "$root" cmake --preset "$1" ${program_option:+"$program_option"}
}

# build_program_target PRESET TARGET
build_program_target() {
	build_file=$(preset_dir "$1")/build.ninja
	if [ -z "$(find "$build_file" -newer "$root/CMakePresets.json" 2>/dev/null)" ]; then
		configure_programs "$1"
	fi
	run_step "build $2 ($1)" "build_$1_$2" cmake --build "$(preset_dir "$1")" --target "$2"
}

# build_program_preset PRESET
build_program_preset() {
	build_program_target "$1" all
}
