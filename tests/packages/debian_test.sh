#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Tests of the built Debian packages, a program of its own; it needs the packages and the production kernel's modules. They are installed
# below a folder of their own, used there, and removed. The machine itself stays as it is.

set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/../.." && pwd)
# shellcheck source=tests/packages/built_module.sh
. "$root/tests/packages/built_module.sh"

port_page=$root/docs/your-board.md

scratch=$build_dir/packages_test/debian
this_architecture=$(dpkg --print-architecture)

# dpkg_there ARGUMENT...: dpkg on the system below the folder. Scripts of the packages run on the machine's programs, with DPKG_ROOT.
dpkg_there() {
	fakeroot dpkg --root="$scratch" --force-not-root --force-depends --force-script-chrootless "$@"
}

# The script of the DKMS package builds for kernels of the machine that it is on: that package is unpacked only.
install_packages_there() {
	rm -rf "$scratch"
	mkdir -p "$scratch/var/lib/dpkg/info" "$scratch/var/lib/dpkg/updates" "$scratch/etc"
	: >"$scratch/var/lib/dpkg/status"
	dpkg_there --install "$package_dir"/flash-mng-tools_*_"$this_architecture".deb "$package_dir"/libflash-mng-dev_*.deb || return 1
	dpkg_there --unpack "$package_dir"/flash-mng-dkms_*.deb || return 1
	dpkg-query --admindir="$scratch/var/lib/dpkg" -W -f '${Package} ' 'flash*' 'libflash*'
}

dependencies_exist() {
	apt-get install --simulate "$package_dir"/*_"$this_architecture".deb "$package_dir"/*_all.deb | grep -c '^Inst '
}

# The same by apt, on a system below the folder that has what this machine has: as "apt install ./flash-mng-tools...deb", and purged.
apt_installs() {
	system=$build_dir/packages_test/apt
	rm -rf "$system"
	mkdir -p "$system/lists/partial" "$system/cache/archives/partial" "$system/root/var/lib/dpkg/info" \
		"$system/root/var/lib/dpkg/updates" "$system/root/etc"
	cp /var/lib/dpkg/status "$system/root/var/lib/dpkg/status"
	apt_there install "$package_dir"/flash-mng-tools_*_"$this_architecture".deb || return 1
	"$system/root/usr/bin/flashctl" --version >/dev/null || return 1
	apt_there purge flash-mng-tools || return 1
	nothing_in find "$system/root" -type f -not -path "$system/root/var/lib/dpkg/*"
}

# apt_there ARGUMENT...: apt-get on that system. It leaves to dpkg of there alone what it decided.
apt_there() {
	fakeroot apt-get -y --no-install-recommends -o Dir::State::status="$system/root/var/lib/dpkg/status" \
		-o Dir::State::extended_states="$system/extended_states" -o Dir::Cache="$system/cache" -o Debug::NoLocking=true \
		-o APT::Sandbox::User=root -o DPkg::Options::=--root="$system/root" -o DPkg::Options::=--force-not-root \
		-o DPkg::Options::=--force-script-chrootless -o DPkg::Options::=--force-bad-path -o DPkg::Post-Invoke::= \
		-o DPkg::Pre-Install-Pkgs::= -o DPkg::Pre-Invoke::= "$@"
}

# packaged NAME...: a file of that name, or compressed, is in one of the packages.
packaged() {
	for wanted_file in "$@"; do
		find "$scratch/usr" -name "$wanted_file" -o -name "$wanted_file.gz" | grep -q . ||
			wrong "no package has $wanted_file" || return 1
	done
}

# What CMake installs and no package takes ends the build of the packages; this is what CMake may have forgotten.
nothing_is_forgotten() {
	for kept_file in $(cd "$root" && our_files 'docs/man/*' 'client/examples/*' 'client/include/*' 'flash_mng_kernel/include/*' \
		'*.schema.json' 'board/schema/*' 'packages/updates/*' 'tools/trace/*'); do
		packaged "$(basename "$kept_file")" || return 1
	done
	for kept_file in $(cd "$root" && our_files 'tools/*/completion/*'); do
		find "$scratch/usr/share/bash-completion" "$scratch/usr/share/zsh" -type f -exec cmp -s "$root/$kept_file" {} \; -print |
			grep -q . || wrong "no package has $kept_file" || return 1
	done
	find "$scratch/usr" -type f | grep -c .
}

# The package for the board, used by the emulator of its machine with the cross compiler's libraries.
board_package_is_used() {
	board_root=$scratch/board
	mkdir -p "$board_root"
	dpkg-deb -x "$package_dir"/flash-mng-tools_*_arm64.deb "$board_root" || return 1
	says "flashctl $(package_version)" qemu-aarch64 -L /usr/aarch64-linux-gnu "$board_root/usr/bin/flashctl" --version || return 1
	qemu-aarch64 -L /usr/aarch64-linux-gnu "$board_root/usr/bin/flashctl" explain 0x811B04AA | grep -q FLASH_MNG_NO_BUFFER || return 1
	[ ! -e "$board_root/usr/bin/flash-board" ] || wrong "flash-board is for the host" || return 1
	aarch64-linux-gnu-g++ -std=c++20 -Wall -Wextra -Werror -I"$scratch/usr/include" \
		"$scratch/usr/share/doc/libflash-mng-dev/examples/list_partitions.cpp" -o "$scratch/board_example" || return 1
	qemu-aarch64 -L /usr/aarch64-linux-gnu "$scratch/board_example" 2>&1 | grep -q '^/dev/flash_mng: ' ||
		wrong "the example does not look for the device" || return 1
	dpkg-deb -f "$package_dir"/flash-mng-tools_*_arm64.deb Package Architecture Depends | paste -s -d ' ' -
}

# says TEXT COMMAND...
says() {
	wanted=$1
	shift
	said=$("$@" 2>&1) || true
	[ "$said" = "$wanted" ] || wrong "$1 says '$said', not '$wanted'"
}

tools_are_used() {
	says "flashctl $(package_version)" "$scratch/usr/bin/flashctl" --version || return 1
	says "flash-board $(package_version)" "$scratch/usr/bin/flash-board" --version || return 1
	"$scratch/usr/bin/flashctl" explain 0x811B04AA | grep -q FLASH_MNG_NO_BUFFER || return 1
	"$scratch/usr/bin/flash-board" check "$root/board/xml/plain.xml" || return 1
	"$scratch/usr/bin/flash-board" simulate "$root/board/xml/plain.xml" | grep -qx 'flash_mng loads' || return 1
	"$scratch/usr/bin/flash-trace" --help | grep -q '^usage: flash-trace' || return 1
	for page in 1/flashctl 1/flash-trace 1/flash-board 4/flash_mng 5/flash_mng-board 7/flash_mng; do
		man --manpath="$scratch/usr/share/man" --path "${page%/*}" "${page#*/}" || return 1
	done
	bash -n "$scratch/usr/share/bash-completion/completions/flashctl" || return 1
	bash -n "$scratch/usr/share/bash-completion/completions/flash-board" || return 1
	test -s "$scratch/usr/lib/udev/rules.d/60-flash_mng.rules" || wrong "no udev rule" || return 1
	"$scratch/usr/bin/flashctl" --version
}

# The examples, compiled as pkg-config says, fail for want of the device only.
headers_are_used() {
	flags=$(PKG_CONFIG_LIBDIR="$scratch/usr/share/pkgconfig" PKG_CONFIG_SYSROOT_DIR="$scratch" pkg-config --cflags flash_mng_client) ||
		return 1
	compiled=0
	for source in "$scratch"/usr/share/doc/libflash-mng-dev/examples/*.cpp; do
		# shellcheck disable=SC2086 # a list of flags
		c++ -std=c++20 -Wall -Wextra -Werror $flags "$source" -o "$scratch/example" || return 1
		"$scratch/example" usrdata 2>&1 | grep -q '^/dev/flash_mng: ' || wrong "$source does not look for the device" || return 1
		compiled=$((compiled + 1))
	done
	# shellcheck disable=SC2086
	echo '#include <flash_mng/uapi/flash_mng.h>' | gcc -std=c99 -Wall -Wextra -Werror -fsyntax-only $flags -x c - || return 1
	[ "$compiled" -gt 0 ] && echo "$compiled examples"
}

cmake_finds_the_headers() {
	mkdir -p "$scratch/cmake"
	echo '#include <flash_mng/client.hpp>
int main() { return flash_mng::device::open("/no/such/device") ? 1 : 0; }' >"$scratch/cmake/program.cpp"
	echo 'cmake_minimum_required(VERSION 3.20)
project(user LANGUAGES CXX)
find_package(flash_mng_client '"$(package_version)"' REQUIRED)
add_executable(program program.cpp)
target_link_libraries(program PRIVATE flash_mng::client)' >"$scratch/cmake/CMakeLists.txt"
	cmake -S "$scratch/cmake" -B "$scratch/cmake/build" -DCMAKE_PREFIX_PATH="$scratch/usr" && cmake --build "$scratch/cmake/build" &&
		"$scratch/cmake/build/program"
}

# dkms_there ARGUMENT...: for the board's kernel, by cross compilation.
dkms_there() {
	ARCH=arm64 CROSS_COMPILE=aarch64-linux-gnu- KBUILD_EXTRA_SYMBOLS=$platform_symbols dkms "$@" -m flash_mng -v "$(package_version)" \
		--sourcetree "$scratch/usr/src" --dkmstree "$scratch/var/lib/dkms"
}

dkms_builds() {
	use_kernel production
	mkdir -p "$scratch/var/lib/dkms"
	dkms_there add || return 1
	dkms_there build -k "$(kernel_release)" -a aarch64 --kernelsourcedir "$kernel_dir" -j "$jobs" ||
		wrong "$(tail -n 20 "$scratch/var/lib/dkms/flash_mng/$(package_version)/build/make.log")" || return 1
	dkms_built=$scratch/var/lib/dkms/flash_mng/$(package_version)/$(kernel_release)/aarch64
	mkdir -p "$scratch/built/flash_mng_kernel"
	cp "$dkms_built/module/flash_mng.ko" "$dkms_built/log/Module.symvers" "$scratch/built/flash_mng_kernel" || return 1
	module_is_whole "$scratch/built/flash_mng_kernel" || return 1
	excluded=0
	dkms_there build -k "$(kernel_release)" -a x86_64 --kernelsourcedir "$kernel_dir" >/dev/null 2>&1 || excluded=$?
	[ "$excluded" -eq 77 ] || wrong "a build for another machine ends with $excluded, not with 77 (excluded)"
}

# A module of somebody else, with the installed header and the symbols that DKMS kept.
module_links_to_it() {
	use_kernel production
	mkdir -p "$scratch/user"
	echo '#include <linux/module.h>
#include <flash_mng.h>

static int __init user_init(void)
{
	u32 exist = 0;

	return drv_flash_get_nand_is_exist(&exist) == FLASH_MNG_OK ? 0 : -ENODEV;
}
module_init(user_init);
MODULE_LICENSE("Dual BSD/GPL");' >"$scratch/user/user.c"
	printf 'obj-m := user.o\nccflags-y := -I%s\n' "$scratch/usr/include/flash_mng" >"$scratch/user/Kbuild"
	# shellcheck disable=SC2086 # a list of arguments
	make -C "$kernel_dir" M="$scratch/user" $kernel_make_arguments -j"$jobs" \
		KBUILD_EXTRA_SYMBOLS="$scratch/built/flash_mng_kernel/Module.symvers" modules || return 1
	[ "$(modinfo -F depends "$scratch/user/user.ko")" = flash_mng ] || wrong "it does not depend on flash_mng" || return 1
	echo "it depends on flash_mng"
}

# The commands of docs/your-board.md that need a kernel, in a copy of the clone.
page_commands() {
	awk '/^<!-- not run: .*\.\/dev package --test runs it -->$/ { wanted = 1; next }
		wanted && /^```sh$/ { inside = 1; next }
		/^```$/ { wanted = inside = 0 }
		inside' "$port_page"
}

page_commands_run() {
	use_kernel production
	[ -n "$(page_commands)" ] || wrong "no commands in $port_page" || return 1
	page_commands | (cd "$package_source" && KDIR=$kernel_dir PLATFORM=$(dirname "$platform_symbols") sh -e) || return 1
	module_is_whole "$package_source/flash_mng_kernel"
}

files_there() {
	[ ! -d "$scratch/usr" ] || find "$scratch/usr" -type f
}

removal_is_whole() {
	dkms_there remove --all || return 1
	dpkg_there --purge flash-mng-tools libflash-mng-dev flash-mng-dkms || return 1
	nothing_in files_there
}

count_step "Debian packages: their dependencies exist; packages to install" dependencies_exist
count_step "Debian packages: install" install_packages_there
count_step "Debian packages: nothing is forgotten; files" nothing_is_forgotten
count_step "flash-mng-tools: used" tools_are_used
count_long_step "${1-}" "flash-mng-tools: for the board" board_package_is_used
count_step "flash-mng-tools: installed and purged by apt" apt_installs
count_step "libflash-mng-dev: examples through pkg-config" headers_are_used
count_step "libflash-mng-dev: through CMake" cmake_finds_the_headers
count_step "flash-mng-dkms: built by DKMS for the board" dkms_builds
count_step "libflash-mng-dev: a kernel module that calls flash_mng" module_links_to_it
count_step "docs/your-board.md: its commands" page_commands_run
count_step "Debian packages: removal leaves nothing" removal_is_whole
end_program debian_test
