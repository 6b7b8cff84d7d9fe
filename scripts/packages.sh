# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
# shellcheck disable=SC2034 # the lists are used by ./dev
#
# Debian packages that the commands need; installed only where missing.

build_packages="gcc g++ libc6-dev make bc bison flex perl libelf-dev libssl-dev cpio rsync xz-utils gzip tar patch ca-certificates
	debian-archive-keyring gcc-aarch64-linux-gnu g++-aarch64-linux-gnu
	libc6-dev-arm64-cross qemu-system-arm cmake ninja-build googletest
	libpugixml-dev libfdt-dev libcli11-dev libfmt-dev nlohmann-json3-dev nettle-dev libvalijson-dev pkgconf"
host_packages="gcc-arm-linux-gnueabihf libc6-dev-armhf-cross"
check_packages="git universal-ctags clang-tidy clang-format cppcheck shellcheck sparse kmod mandoc zsh rsync reuse python3
	python3-license-expression lava-common pandoc"
test_packages="clang llvm libclang-rt-dev libxml2-utils"
prove_packages="z3"
clang_packages="clang-19 llvm-19 libclang-rt-19-dev"
hardened_packages="clang-19 llvm-19 lld-19 openssl"
twin_packages="qemu-system-x86 seabios"
package_packages="git kmod dpkg-dev debhelper dh-dkms dkms fakeroot lintian man-db qemu-user"

updates_packages="qemu-user squashfs-tools openssl cpio"
docs_packages="python3 pandoc mandoc"
browser_packages="python3 chromium"
release_packages="git python3 pandoc mandoc"

package_installed() {
	[ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

as_root() {
	if [ "$(id -u)" -eq 0 ]; then
		"$@"
	elif have sudo; then
		sudo "$@"
	else
		die "packages have to be installed and this is not root and there is no sudo; as root run: $*"
	fi
}

install_packages() {
	as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y --no-install-recommends "$@"
}

# install_missing PACKAGE...: with the package lists that the machine has, else with new ones.
install_missing() {
	try_whole_step "install packages" packages install_packages "$@" && return 0
	try_whole_step "update the package lists" packages_update as_root apt-get -o APT::Update::Error-Mode=any update || step_failed
	try_whole_step "install packages" packages install_packages "$@" || step_failed
}

# need_packages LIST...
need_packages() {
	if ! have dpkg-query || ! have apt-get; then
		die "this needs a Debian machine: the tools are installed with apt-get"
	fi
	missing_packages=
	# shellcheck disable=SC2048 # lists of names
	for package in $*; do
		package_installed "$package" || missing_packages="$missing_packages $package"
	done
	[ -n "$missing_packages" ] || return 0
	say "installing Debian packages:$missing_packages"
	[ "$(id -u)" -eq 0 ] || sudo -v || die "sudo is needed to install:$missing_packages"
	# shellcheck disable=SC2086 # a list of names
	with_lock "$cache_dir/install.lock" install_missing $missing_packages
}
