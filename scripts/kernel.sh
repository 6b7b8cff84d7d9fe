# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# The kernels of the virtual board: source, configuration, build. They are kept outside of the clone, one folder per combination of
# source, compiler and configuration, so that clones share them and ./dev clean does not cost a kernel build.

# use_machine FLAVOUR: sets machine, what the kernel's build and Debian call it, the compiler of the kernel and of all modules, the
# processor that the board then has, and the preset of its programs.
use_machine() {
	machine=aarch64
	kernel_compiler=aarch64-linux-gnu-gcc
	kernel_make_arguments="ARCH=arm64 CROSS_COMPILE=aarch64-linux-gnu-"
	kernel_image=arch/arm64/boot/Image
	debian_architecture=arm64
	program_preset=guest
	board_processor=cortex-a57
	case $1 in
	twin*)
		machine=x86_64
		kernel_compiler=x86_64-linux-gnu-gcc
		kernel_make_arguments="ARCH=x86_64 CROSS_COMPILE=x86_64-linux-gnu-"
		kernel_image=arch/x86/boot/bzImage
		debian_architecture=amd64
		program_preset=twin
		;;
	*-hardened)
		kernel_compiler=clang-19
		kernel_make_arguments="$kernel_make_arguments LLVM=-19"
		# With pointer authentication and branch targets, the former by a cipher that is quick to emulate.
		board_processor=max,pauth-impdef=on
		;;
	esac
}

# named_version FLAVOUR: the version of Linux in its name, as in 6.12-debug; nothing where it names none.
named_version() {
	case $1 in
	[0-9]*) echo "${1%%-*}" ;;
	esac
}

# find_kernel_source [VERSION]: sets kernel_source (a tree), kernel_source_id (what it is) and kernel_version (of the tree, such as 6.12):
# Debian's of that version; without one what KERNEL_SOURCE names, otherwise Debian's of the first version that flash_mng is made for.
find_kernel_source() {
	[ "${found_version-none}" != "${1-}" ] || return 0
	if [ -n "${1-}" ]; then
		use_debian_kernel_source "$1"
	elif [ -z "${KERNEL_SOURCE-}" ]; then
		use_debian_kernel_source "$(supported_kernels | head -n 1)"
	elif [ -d "$KERNEL_SOURCE" ]; then
		kernel_source=$(CDPATH='' cd -- "$KERNEL_SOURCE" && pwd)
		kernel_source_id="tree $kernel_source $(source_release)"
	elif [ -f "$KERNEL_SOURCE" ]; then
		kernel_source_id="tarball $(hash_of <"$KERNEL_SOURCE")"
		unpack_kernel_source "$KERNEL_SOURCE"
	else
		die "KERNEL_SOURCE=$KERNEL_SOURCE is neither a folder nor a file; give a source tree or tarball of Linux" \
			"$(supported_kernels | xargs)"
	fi
	check_kernel_source
	found_version=${1-}
}

# source_release: of the tree, such as 6.12.117; of a folder that is none, nothing.
source_release() {
	make -s -C "$kernel_source" kernelversion 2>/dev/null || true
}

check_kernel_source() {
	[ -f "$kernel_source/init/main.c" ] || die "$kernel_source is not a Linux source tree"
	kernel_version=$(source_release | cut -d . -f 1,2)
	supported_kernels | grep -qxF "$kernel_version" ||
		die "$kernel_source is Linux $(source_release); flash_mng is made for $(supported_kernels | xargs)"
	[ ! -e "$kernel_source/.config" ] ||
		die "a kernel was configured in $kernel_source itself: 'make mrproper' there, since it is built elsewhere"
}

# use_debian_kernel_source VERSION
use_debian_kernel_source() {
	fetch_package "$(suite_of "$1")" "$(dpkg --print-architecture)" "linux-source-$1"
	kernel_source_id="debian $(cat "$package_files/version")"
	unpack_kernel_source "$package_files/files/usr/src/linux-source-$1.tar.xz"
}

# unpack_kernel_source TARBALL: sets kernel_source; the tree is unpacked once per kernel_source_id.
unpack_kernel_source() {
	kernel_source=$cache_dir/sources/$(printf '%s' "$kernel_source_id" | hash_of)
	[ ! -e "$kernel_source/.complete" ] || return 0
	with_lock "$cache_dir/sources.lock" unpack_kernel_source_locked "$1"
}

unpack_kernel_source_locked() {
	[ ! -e "$kernel_source/.complete" ] || return 0
	rm -rf "$kernel_source"
	mkdir -p "$kernel_source"
	run_step "unpack the kernel source" kernel_unpack tar -C "$kernel_source" --strip-components=1 -xf "$1"
	touch "$kernel_source/.complete"
}

# kernel_fragments FLAVOUR: the configuration, later lines win. What a version of Linux wants beside a fragment stands in a file of its own.
kernel_fragments() {
	case $1 in
	production | *-board) fragments="board aarch64" ;;
	debug) fragments="board aarch64 debug kcov" ;;
	*-debug) fragments="board aarch64 debug" ;;
	*-64k) fragments="board aarch64 64k" ;;
	*-signed) fragments="board aarch64 signed" ;;
	*-hardened) fragments="board aarch64 signed hardened" ;;
	updates) fragments="board aarch64 updates" ;;
	twin) fragments="board x86_64 debug twin" ;;
	twin-kcsan) fragments="board x86_64 twin-kcsan" ;;
	esac
	for fragment in $fragments; do
		cat "$root/board/kernel/$fragment.config"
		[ ! -f "$root/board/kernel/$fragment-$kernel_version.config" ] || cat "$root/board/kernel/$fragment-$kernel_version.config"
	done
}

# One value per option: the last one given.
merged_fragments() {
	kernel_fragments "$1" | awk '
		/^CONFIG_[A-Za-z0-9_]+=/ { split($0, part, "="); value[part[1]] = $0; next }
		/^# CONFIG_[A-Za-z0-9_]+ is not set/ { value[$2] = $0 }
		END { for (name in value) print value[name] }' | sort
}

# check_configuration WANTED CONFIG: every wanted option survived Kconfig.
check_configuration() {
	lost_options=0
	while IFS= read -r option_line; do
		case $option_line in
		'# '*)
			option_name=${option_line#\# }
			option_name=${option_name%% *}
			! grep -q "^$option_name=" "$2" && continue
			;;
		*) grep -qxF "$option_line" "$2" && continue ;;
		esac
		echo "Kconfig dropped: $option_line"
		lost_options=$((lost_options + 1))
	done <"$1"
	[ "$lost_options" -eq 0 ]
}

kernel_make() {
	# shellcheck disable=SC2086 # a list of arguments
	make -C "$kernel_source" O="$kernel_dir" $kernel_make_arguments -j"$jobs" "$@"
}

configure_kernel() {
	mkdir -p "$kernel_dir"
	merged_fragments "$1" >"$kernel_dir/wanted.config"
	kernel_make KCONFIG_ALLCONFIG="$kernel_dir/wanted.config" allnoconfig || return 1
	check_configuration "$kernel_dir/wanted.config" "$kernel_dir/.config"
}

# use_kernel FLAVOUR: sets kernel_source and kernel_dir, the build folder of that kernel, and its machine. A folder is found by its key; the
# name in front is for people.
use_kernel() {
	find_kernel_source "$(named_version "$1")"
	use_machine "$1"
	kernel_key=$({
		echo "$kernel_source_id"
		"$kernel_compiler" --version | head -n 1
		merged_fragments "$1"
	} | hash_of)
	kernel_dir=$cache_dir/kernels/$1-$kernel_key
	for there_already in "$cache_dir/kernels"/*-"$kernel_key"; do
		[ ! -e "$there_already/.complete" ] || kernel_dir=$there_already
	done
}

# build_kernel FLAVOUR
build_kernel() {
	use_kernel "$1"
	[ ! -e "$kernel_dir/.complete" ] || return 0
	with_lock "$cache_dir/kernels/$1-$kernel_key.lock" build_kernel_locked "$1"
}

build_kernel_locked() {
	[ ! -e "$kernel_dir/.complete" ] || return 0
	run_step "configure the $1 kernel" "kernel_$1_configure" configure_kernel "$1"
	# Of a kernel that detects data races only the modules are checked.
	run_step "build the $1 kernel (some minutes, once)" "kernel_$1" kernel_make KCSAN_SANITIZE=n "$(basename "$kernel_image")" modules
	touch "$kernel_dir/.complete"
}
