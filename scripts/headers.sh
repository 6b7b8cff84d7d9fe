# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Header packages of Debian's own kernels: prepared trees that modules are built against without building the kernel. They are unpacked in
# the cache folder, one tree per kernel and version of its packages; nothing is installed.

# suite_of KERNEL: the Debian release that has this kernel, as flash_mng_kernel/KERNELS says.
suite_of() {
	awk -v kernel="$1" '$1 == kernel { print $2 }' "$root/flash_mng_kernel/KERNELS"
}

# release_of KERNEL: the one whose binary packages are taken. Of Debian 11 the archive has the kernels of the release itself, and no longer
# those of its security updates.
release_of() {
	suite_of "$1" | sed 's/^bullseye$/bullseye-release/'
}

# supported_kernels: one per line, the oldest first.
supported_kernels() {
	awk '/^[0-9]/ { print $1 }' "$root/flash_mng_kernel/KERNELS"
}

# needed_package PATTERN: the first package that the last fetched one needs and whose name matches.
needed_package() {
	sed 's/([^)]*)//g' "$package_files/needs" | tr -d ' ' | sed 's/[,|]/\n/g' | grep -m 1 -xE "$1"
}

# use_headers KERNEL[-FLAVOUR]: sets headers_dir, a tree for builds of modules, headers_release, what "uname -r" says on that kernel, and
# headers_path, where the programs are that such a build calls: the compiler that the kernel was built by among them. Flavours are those
# of Debian's packages: arm64, which is taken where none is named, rt-arm64, arm64-16k.
use_headers() {
	headers_kernel=${1%%-*}
	headers_flavour=arm64
	[ "$headers_kernel" = "$1" ] || headers_flavour=${1#*-}
	headers_suite=$(release_of "$headers_kernel")
	[ -n "$headers_suite" ] ||
		die "Linux $headers_kernel is not among $(supported_kernels | xargs), the kernels that flash_mng is made for"
	headers_machine=$(dpkg --print-architecture)
	fetch_package "$headers_suite" arm64 "linux-headers-$headers_flavour"
	headers_package=$(needed_package "linux-headers-[0-9].*-$headers_flavour")
	headers_release=${headers_package#linux-headers-}
	fetch_package "$headers_suite" arm64 "$headers_package"
	headers_files=$package_files/files
	headers_tools=$(needed_package 'linux-kbuild-.*')
	headers_compiler=$(sed -n 's/^CC = .*gcc-//p' "$headers_files/usr/src/$headers_package/.kernelvariables")
	headers_common=$(needed_package 'linux-headers-.*-common(-rt)?')
	fetch_package "$headers_suite" arm64 "$headers_common"
	headers_common=$package_files/files
	fetch_closure "$headers_suite" "$headers_machine" "$headers_tools"
	headers_tools_files=$package_files/files
	headers_compiler_files=
	if [ "$headers_suite" != "$(machine_codename)" ]; then
		fetch_closure "$headers_suite" "$headers_machine" "g++-$headers_compiler-aarch64-linux-gnu"
		headers_compiler_files=$package_files/files
	fi
	headers_root=$cache_dir/headers/$headers_suite-$headers_release
	headers_dir=$headers_root/usr/src/$headers_package
	headers_path=$headers_root/usr/bin
	[ -e "$headers_root/complete" ] || with_lock "$cache_dir/headers.lock" put_headers_together
}

put_headers_together() {
	[ ! -e "$headers_root/complete" ] || return 0
	run_step "put the headers of $headers_release together" "headers_$headers_suite" make_headers_tree
	touch "$headers_root/complete"
}

# The packages' files as if installed below a folder: one path in them is that of an installation.
make_headers_tree() {
	rm -rf "$headers_root"
	mkdir -p "$headers_path" || return 1
	for headers_part in "$headers_common" "$headers_tools_files" ${headers_compiler_files:+"$headers_compiler_files"}; do
		cp -alf "$headers_part/." "$headers_root" || return 1
	done
	# Debian 11 has its C library in /lib.
	[ ! -d "$headers_root/lib" ] || cp -alf "$headers_root/lib/." "$headers_root/usr/lib" || return 1
	cp -a "$headers_files/usr/src/." "$headers_root/usr/src" || return 1
	sed -i "s,/usr/src/,$headers_root/usr/src/,g" "$headers_dir/Makefile"
	[ -z "$headers_compiler_files" ] || start_by_own_libraries
}

# Programs of another release than this machine's run with that release's libraries; those of an old one with this machine's C library:
# before glibc 2.33 a program that is started in this way is not told its own name, by which some find others.
start_by_own_libraries() {
	headers_libraries=$headers_root/usr/lib/$(gcc -dumpmachine)
	headers_loader=$(find "$headers_libraries" -name 'ld-linux-*.so.*')
	if ! "$headers_loader" --help 2>&1 | grep -q argv0; then
		headers_loader=$(ldd /bin/sh | grep -o '/.*/ld-linux-[^ ]*')
		headers_libraries=/usr/lib/$(gcc -dumpmachine):$headers_libraries
	fi
	find "$headers_root/usr" -type f -perm -u+x ! -name '*.so*' ! -path '*/usr/src/*' | while IFS= read -r headers_program; do
		[ "$(head -c 4 "$headers_program" | tail -c 3)" = ELF ] || continue
		mv "$headers_program" "$headers_program.elf"
		# shellcheck disable=SC2016 # for the shell that runs it
		printf '#!/bin/sh\nexec %s --library-path %s --argv0 "$0" %s.elf "$@"\n' "$headers_loader" "$headers_libraries" \
			"$headers_program" >"$headers_program"
		chmod +x "$headers_program"
	done
}

# ---- the modules built against them

# use_headers_stage KERNEL: a stage, and the tools, of that kernel instead of the board's, for the rest of this shell.
use_headers_stage() {
	use_headers "$1"
	use_machine production
	kernel_dir=$headers_dir
	use_stage "headers-$1"
	PATH=$headers_path:$PATH
}

# needed_elsewhere KERNEL: undefined symbols of flash_mng.ko that neither the board's list nor that of the other kernels has for this one.
needed_elsewhere() {
	{
		listed_symbols "$root/flash_mng_kernel/allowed_symbols.txt"
		listed_symbols "$root/flash_mng_kernel/other_symbols.txt" | awk -v kernel="$1" '
			{ for (i = 2; i <= NF; i++) if ($i == kernel) print $1 }'
	} | LC_ALL=C sort -u >"$build_dir/allowed_elsewhere"
	undefined_symbols | LC_ALL=C comm -23 - "$build_dir/allowed_elsewhere" | sed 's/$/ is needed, and on no list/'
}

# make_headers_modules: all of a board, and its lab.
make_headers_modules() {
	make_board_modules W=1 && make_lab W=1
}

# said_of_ours LOG: the compiler's findings in the stage; newer kernels compile below it, and name files from there.
said_of_ours() {
	grep -E "^($stage_dir/|[a-z])[^: ]*:([0-9:]*)? (warning|error):" "$1" | sort -u
}

# headers_findings KERNEL: what W=1 says of our files, a module that was not made, what the built module should not have.
headers_findings() {
	use_headers_stage "$1"
	make_headers_modules >"$log_dir/headers-$1.log" 2>&1 || tail -n 20 "$log_dir/headers-$1.log"
	said_of_ours "$log_dir/headers-$1.log"
	flash_object=$stage_dir/flash_mng_kernel/flash_mng.ko
	constructors
	runtime_symbols
	unwind_tables
	needed_elsewhere "$1"
}

# compiles_for KERNEL: the figure is what was built by what.
compiles_for() {
	nothing_in headers_findings "$1" || return 1
	use_headers_stage "$1"
	echo "$headers_release, gcc $headers_compiler, $(find "$stage_dir" -name '*.ko' | wc -l) modules"
}

# headers_fetched KERNEL: whether they are here or could be fetched; a failure is not the end of the command.
headers_fetched() {
	make_folder "$log_dir"
	(use_headers "$1") >"$log_dir/headers_fetched-$1.log" 2>&1
}

# why_no_headers KERNEL: in a line.
why_no_headers() {
	grep -hE '404|Unable to locate|Failed to fetch|Release file|dev: .*cannot be reached' "$log_dir/headers_fetched-$1.log" |
		sed 's/.*\(404 .*\)/\1/; s/ [^ ]*:\/\/[^ ]*//' | head -n 1 | cut -c 1-100
}
