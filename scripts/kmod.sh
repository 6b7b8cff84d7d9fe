# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# The board on which modprobe loads and removes the modules: that of kmod, which most distributions have, as busybox's knows less.

kmod_libraries="liblzma5/liblzma.so.5 libssl3/libcrypto.so.3 libzstd1/libzstd.so.1"

# fetch_kmod: of this machine's own Debian release, but for AArch64.
fetch_kmod() {
	for kmod_file in $kmod_libraries; do
		fetch_package "$(machine_codename)" arm64 "${kmod_file%/*}"
	done
	fetch_package "$(machine_codename)" arm64 kmod
}

# One program with the names of what it does, and its libraries.
copy_kmod() {
	mkdir -p "$initramfs_root/kmod" "$initramfs_root/lib" || return 1
	find "$package_files/files" -path '*/bin/kmod' -type f -exec cp {} "$initramfs_root/kmod/kmod" \; || return 1
	ln -s kmod "$initramfs_root/kmod/modprobe" && ln -s kmod "$initramfs_root/kmod/depmod" || return 1
	for copied_file in $kmod_libraries; do
		find "$cache_dir/packages/$(machine_codename)-arm64-${copied_file%/*}/files" -name "${copied_file#*/}" \
			-exec cp -L {} "$initramfs_root/lib/" \; || return 1
	done
	cp "$bench_libraries/ld-linux-aarch64.so.1" "$bench_libraries/libc.so.6" "$initramfs_root/lib/"
}

make_modprobe_initramfs() {
	begin_initramfs && compile_boards_of board/xml board && copy_modules reference_platform flash_mng_kernel &&
		copy_kmod && cp -r "$root/packages/system/modprobe.d" "$initramfs_root/kmod/" && pack_initramfs
}

# build_modprobe_board: after the modules; run_board has it as "modprobe".
build_modprobe_board() {
	use_kernel production
	use_stage production
	use_busybox
	fetch_kmod
	name_initramfs production modprobe
	run_step "build the initramfs (modprobe)" initramfs_modprobe make_modprobe_initramfs
}
