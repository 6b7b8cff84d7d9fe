# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev updates: Debian's RAUC and SWUpdate install bundles through flash_mng, with what packages/updates has for them, on a board with a
# kernel of its own.

# needed_libraries FILE...: by the names that they are loaded by
needed_libraries() {
	aarch64-linux-gnu-readelf -d "$@" 2>/dev/null | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | LC_ALL=C sort -u
}

# copy_with_libraries FOLDER PROGRAM...: of unpacked packages, to the initramfs
copy_with_libraries() {
	unpacked=$1
	shift
	mkdir -p "$initramfs_root/lib" "$initramfs_root/usr/bin"
	cp -L "$unpacked/lib/ld-linux-aarch64.so.1" "$initramfs_root/lib/" || return 1
	for unpacked_program in "$@"; do
		cp -L "$unpacked/usr/bin/$unpacked_program" "$initramfs_root/usr/bin/" || return 1
		copy_libraries_of "$initramfs_root/usr/bin/$unpacked_program" || return 1
	done
}

# copy_libraries_of FILE: until nothing is missing.
copy_libraries_of() {
	for needed_library in $(needed_libraries "$1"); do
		[ ! -e "$initramfs_root/lib/$needed_library" ] || continue
		found_library=$(find "$unpacked/lib" "$unpacked/usr/lib" -name "$needed_library" | head -n 1)
		[ -n "$found_library" ] && cp -L "$found_library" "$initramfs_root/lib/" || return 1
		copy_libraries_of "$initramfs_root/lib/$needed_library" || return 1
	done
}

# ---- bundles, in $bundles: each is named by what is in it

slot_tool() {
	FLASH_SLOT_CONFIG=$updates_source/slots.conf "$updates_source/flash-slot" "$@"
}

# make_key NAME
make_key() {
	openssl req -x509 -newkey rsa:2048 -nodes -subj "/CN=$1" -days 3650 -addext extendedKeyUsage=emailProtection \
		-keyout "$bundles/$1.key" -out "$bundles/$1.pem"
}

# make_content SEED SIZE
make_content() {
	openssl enc -aes-128-ctr -nosalt -pass "pass:$1" -pbkdf2 -in /dev/zero 2>/dev/null | head -c "$2"
}

# make_images: whole ones of three versions, one that no slot holds, and what is none.
make_images() {
	for image_version in 1 2 3; do
		make_content "$image_version" 500000 >"$bundles/content"
		slot_tool image "$image_version" "$bundles/content" >"$bundles/version$image_version.img" || return 1
	done
	make_content large 1200000 >"$bundles/content"
	slot_tool image large "$bundles/content" >"$bundles/large.img" || return 1
	make_content none 700000 >"$bundles/no_image.img"
	rm "$bundles/content"
}

# rauc_of_board ARGUMENT...: the board's own, on this machine
rauc_of_board() {
	qemu-aarch64 -L "$rauc_files" "$rauc_files/usr/bin/rauc" "$@"
}

# make_rauc_bundle NAME IMAGE KEY
make_rauc_bundle() {
	rm -rf "$bundles/input" "$bundles/rauc/$1.raucb"
	mkdir -p "$bundles/input" "$bundles/rauc"
	cp "$updates_source/rauc/install-slot" "$updates_source/rauc/manifest.raucm" "$bundles/input/" &&
		cp "$bundles/$2.img" "$bundles/input/slot.img" &&
		rauc_of_board bundle --cert="$bundles/$3.pem" --key="$bundles/$3.key" "$bundles/input" "$bundles/rauc/$1.raucb"
}

sum_in_bundle() {
	sha256sum "$bundles/input/$1" | cut -c 1-64
}

# make_swupdate_bundle NAME IMAGE KEY
make_swupdate_bundle() {
	rm -rf "$bundles/input"
	mkdir -p "$bundles/input" "$bundles/swupdate"
	cp "$updates_source/swupdate/switch-slot" "$bundles/input/" && cp "$bundles/$2.img" "$bundles/input/slot.img" || return 1
	sed -e "s/SHA256_OF_slot.img/$(sum_in_bundle slot.img)/" -e "s/SHA256_OF_switch-slot/$(sum_in_bundle switch-slot)/" \
		"$updates_source/swupdate/sw-description" >"$bundles/input/sw-description" || return 1
	(cd "$bundles/input" && openssl cms -sign -in sw-description -out sw-description.sig -signer "$bundles/$3.pem" \
		-inkey "$bundles/$3.key" -outform DER -nosmimecap -binary && pack_swu >"$bundles/swupdate/$1.swu")
}

# pack_swu: in the folder of its files.
pack_swu() {
	printf '%s\n' sw-description sw-description.sig slot.img switch-slot | cpio -o -H crc --quiet
}

# change_byte FILE OFFSET: of a bundle
change_byte() {
	printf '!' | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}

# make_bundles rauc|swupdate SUFFIX
make_bundles() {
	for bundle_name in version1 version2 version3 large no_image; do
		"make_$1_bundle" "$bundle_name" "$bundle_name" signer || return 1
	done
	"make_$1_bundle" stranger version2 stranger || return 1
	cp "$bundles/$1/version2.$2" "$bundles/$1/changed.$2" && change_byte "$bundles/$1/changed.$2" 400000 || return 1
	head -c 300000 "$bundles/$1/version2.$2" >"$bundles/$1/short.$2"
}

# make_all_bundles: those of a clone stay until what they are made of changes.
make_all_bundles() {
	rm -rf "$bundles"
	mkdir -p "$bundles"
	make_key signer && make_key stranger && make_images && make_bundles rauc raucb && make_bundles swupdate swu || return 1
	rm -r "$bundles/input"
	date +%s >"$bundles/time"
}

# ---- the board

make_updates_initramfs() {
	begin_initramfs && compile_boards_of tests/updates board || return 1
	mv "$initramfs_root/lib/firmware/board/board.fbd" "$initramfs_root/lib/firmware/board/updates.fbd"
	copy_modules reference_platform flash_mng_kernel && copy_programs bin || return 1
	mkdir -p "$initramfs_root/usr/share/flash_mng" "$initramfs_root/usr/share/lua/5.3" "$initramfs_root/etc/rauc" \
		"$initramfs_root/etc/swupdate" "$initramfs_root/etc/flash_mng" "$initramfs_root/updates"
	cp -R "$updates_source" "$initramfs_root/usr/share/flash_mng/updates" &&
		cp "$updates_source/slots.conf" "$initramfs_root/etc/flash_mng/" &&
		cp "$updates_source/rauc/system.conf" "$initramfs_root/etc/rauc/" &&
		cp "$bundles/signer.pem" "$initramfs_root/etc/rauc/keyring.pem" &&
		cp "$updates_source/swupdate/swupdate.cfg" "$initramfs_root/etc/" &&
		cp "$bundles/signer.pem" "$initramfs_root/etc/swupdate/" &&
		cp "$updates_source/swupdate/swupdate_handlers.lua" "$initramfs_root/usr/share/lua/5.3/" &&
		cp -R "$bundles"/*.img "$bundles/rauc" "$bundles/swupdate" "$bundles/time" "$root/tests/updates/bus.conf" \
			"$initramfs_root/updates/" || return 1
	echo "example-board 1.0" >"$initramfs_root/etc/hwrevision"
	echo "root:x:0:0:root:/:/bin/sh" >"$initramfs_root/etc/passwd"
	echo "root:x:0:" >"$initramfs_root/etc/group"
	copy_with_libraries "$rauc_files" rauc dbus-daemon && copy_with_libraries "$swupdate_files" swupdate || return 1
	pack_initramfs
}

updates_partitions="mtdparts=0.flash:1M@64M(slot_a),1M(slot_b),512K(boot_choice),-(rest)"

# run_update_cases STACK: on flash of its own
run_update_cases() {
	make_nor "$build_dir/board/updates-nor.img"
	"$root/board/run" --kernel "$kernel_dir/$kernel_image" --initramfs "$initramfs" --task updates \
		--output "$build_dir/board/updates-$1" --nor "$build_dir/board/updates-nor.img" --time-limit 600 \
		--append "$updates_partitions updates.stack=$1 updates.action=cases"
}

# run_update_cuts STACK CUTS SEED: "flashctl" is no stack but flashctl write --last alone.
run_update_cuts() {
	updates_single=
	[ "$1" != flashctl ] || updates_single=--single
	updates_nor=$build_dir/board/updates-nor-$1.img
	"$(preset_dir debug)/tests/powercut/slots_bench" $updates_single --cuts "$2" --seed "$3" --nor "$updates_nor" -- \
		"$root/board/run" --kernel "$kernel_dir/$kernel_image" --initramfs "$initramfs" --task updates \
		--output "$build_dir/board/updates-cuts-$1" --nor "$updates_nor" --interactive \
		--append "$updates_partitions updates.stack=$1"
}

build_updates_board() {
	updates_source=$root/packages/updates
	bundles=$build_dir/updates
	build_kernel updates
	build_modules updates
	build_program_target debug flash-board
	build_program_target guest flashctl
	fetch_closure "$(machine_codename)" arm64 rauc
	rauc_files=$package_files/files
	fetch_closure "$(machine_codename)" arm64 swupdate
	swupdate_files=$package_files/files
	run_step "make keys, images and bundles" updates_bundles make_all_bundles
	use_busybox
	name_initramfs updates updates
	run_step "build the initramfs (updates)" initramfs_updates make_updates_initramfs
}

# updates_command [CUTS [SEED]]: so many with each stack, with flash-slot alone, and with flashctl alone.
updates_command() {
	at_most 2 updates "$@"
	updates_cuts=${1-34}
	updates_seed=${2-1}
	whole_numbers updates "$updates_cuts" "$updates_seed"
	hold_clone
	need_packages "$build_packages" "$updates_packages"
	build_program_target debug slots_bench
	build_updates_board
	updates_result=0
	for updates_stack in rauc swupdate; do
		say "$updates_stack: cases"
		run_update_cases "$updates_stack" >"$log_dir/updates_$updates_stack.log" 2>&1 || updates_result=1
		grep -E '^(not )?ok: ' "$build_dir/board/updates-$updates_stack/terminal.log" || updates_result=1
	done
	for updates_stack in rauc swupdate flash_slot flashctl; do
		say "$updates_stack: real power cuts"
		run_update_cuts "$updates_stack" "$updates_cuts" "$updates_seed" || updates_result=1
	done
	return "$updates_result"
}
