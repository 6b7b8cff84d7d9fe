# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev package --reproduce: source archive, packages and module of the last commit, built twice as two people would, and compared byte for
# byte.

reproduce_dir=$build_dir/reproduce

# In folders of other lengths.
first_folder=$reproduce_dir/first
second_folder=$reproduce_dir/the-second-of-two/people

# as_person NAME UMASK ZONE LANGUAGE COMMAND...: in a home and in circumstances of his own. What was compiled before is not taken.
as_person() (
	HOME=$reproduce_dir/home-of-$1 USER=$1 LOGNAME=$1 TZ=$3 LC_ALL=$4 XDG_CACHE_HOME=${cache_dir%/*}
	export HOME USER LOGNAME TZ LC_ALL XDG_CACHE_HOME CCACHE_DISABLE=1
	unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER
	mkdir -p "$HOME"
	umask "$2"
	shift 4
	"$@"
)

# keep_module FOLDER NAME ARGUMENT...: flash_mng.ko for the kernel in use, built in that folder, as NAME.ko. The file that Kbuild makes for
# a module is not compiled by flash_mng's Kbuild, so the map of its name is given to the call.
keep_module() {
	kept_folder=$1
	kept_name=$2
	shift 2
	stage_dir=$kept_folder/modules
	rm -rf "$stage_dir"
	make_platform_and_flash CFLAGS_MODULE="-ffile-prefix-map=$stage_dir/flash_mng_kernel=." "$@" &&
		cp "$stage_dir/flash_mng_kernel/flash_mng.ko" "$kept_folder/made/$kept_name.ko"
}

# keep_headers_module FOLDER KERNEL: the same against Debian's header package.
keep_headers_module() (
	use_headers_stage "$2"
	keep_module "$1" "$2"
)

# make_all FOLDER: into made/ of it, all but the archive from what is in the archive.
make_all() {
	made_version=$(package_version)
	mkdir -p "$1/made"
	archive_sources "$made_version" "$1/made/flash_mng-$made_version.tar.gz" &&
		tar -C "$1" -xzf "$1/made/flash_mng-$made_version.tar.gz" || return 1
	root=$1/flash_mng-$made_version
	build_tree_packages "$root" && copy_packages "$root" "$1/made" || return 1
	use_kernel production
	keep_module "$1" board KCFLAGS= && keep_module "$1" board-debug KCFLAGS=-g || return 1
	for made_kernel in $reproduced_kernels; do
		keep_headers_module "$1" "$made_kernel" || return 1
	done
}

# packed_differences ONE OTHER: what differs in two packages.
packed_differences() {
	for packed in one other; do
		rm -rf "${reproduce_dir:?}/$packed"
		dpkg-deb -R "$1" "$reproduce_dir/$packed" || return 1
		shift
	done
	(cd "$reproduce_dir" && diff -r --brief --no-dereference one other)
}

# differences ONE OTHER: as well as this machine can tell.
differences() {
	if have diffoscope; then
		diffoscope "$1" "$2"
	else
		cmp "$1" "$2"
		case $1 in *.deb) packed_differences "$1" "$2" ;; esac
	fi
}

# not_reproduced ONE OTHER: of two folders; nothing when all is the same.
not_reproduced() {
	diff --brief -r "$1" "$2" | grep '^Only in ' || true
	for one_made in "$1"/*; do
		other_made=$2/$(basename "$one_made")
		[ ! -e "$other_made" ] || cmp -s "$one_made" "$other_made" || differences "$one_made" "$other_made" 2>&1 || true
	done
}

# reproduce_packages: a package for a kernel whose headers cannot be had is not made, and said so.
reproduce_packages() {
	[ -e "$root/.git" ] || die "two builds are made of a commit, and this is no git clone"
	[ -z "$(git -C "$root" status --porcelain)" ] || say "What is not committed is left out."
	build_kernel production
	reproduced_kernels=
	for asked_kernel in $(supported_kernels | sed 1d); do
		if headers_fetched "$asked_kernel"; then
			reproduced_kernels="$reproduced_kernels $asked_kernel"
		else
			say "  no module for Linux $asked_kernel of Debian: $(why_no_headers "$asked_kernel")"
		fi
	done
	rm -rf "$reproduce_dir"
	run_step "build all of it" reproduce_first as_person first 022 UTC C.UTF-8 make_all "$first_folder"
	run_step "build all of it elsewhere" reproduce_second as_person second 077 Pacific/Auckland C make_all "$second_folder"
	differences_text=$(not_reproduced "$first_folder/made" "$second_folder/made")
	[ -z "$differences_text" ] || die "the two are not the same:
$differences_text"
	say "the same bytes, in another folder, by another user, later:"
	(cd "$first_folder/made" && sha256sum -- *)
}
