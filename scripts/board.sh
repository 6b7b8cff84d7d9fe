# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# The virtual board: its initramfs, and runs of it.

# use_busybox: sets busybox, a static one for the board's machine of this machine's own Debian release.
use_busybox() {
	fetch_package "$(machine_codename)" "$debian_architecture" busybox-static
	busybox=$package_files/files/bin/busybox
	[ -x "$busybox" ] || busybox=$package_files/files/usr/bin/busybox
}

# compile_board_files demo|SETS: the boards of a person; for the suite the one of platform_check too, and in a folder of their own those of
# its cases, which are wrong on purpose.
compile_board_files() {
	compile_boards_of board/xml board || return 1
	[ "$1" != demo ] || return 0
	compile_boards_of tests/guest/boards board --force || return 1
	compile_boards_of tests/conformance/boards board/conformance --force
}

# make_agreement_boards: boards made up on the host, and what flash-board simulate says about each.
make_agreement_boards() {
	"$(preset_dir "$host_preset")/tests/flash_board/agreement_boards" "$initramfs_root/lib/firmware/board/conformance/agreement" \
		"$initramfs_root/tests/agreement"
}

# compile_board XML FILE [OPTION]
compile_board() {
	"$(preset_dir "$host_preset")/tools/flash-board/flash-board" compile ${3:+"$3"} "$1" -o "$2"
}

# compile_boards_of FOLDER FIRMWARE [OPTION]: the XML files of a folder of the clone.
compile_boards_of() {
	mkdir -p "$initramfs_root/lib/firmware/$2"
	for xml in "$root/$1"/*.xml; do
		compile_board "$xml" "$initramfs_root/lib/firmware/$2/$(basename "$xml" .xml).fbd" "${3:-}" || return 1
	done
}

copy_modules() {
	mkdir -p "$initramfs_root/lib/modules"
	for folder in "$@"; do
		find "$stage_dir/$folder" -name '*.ko' -exec cp {} "$initramfs_root/lib/modules/" \; || return 1
	done
	copy_linux_modules || return 1
	! grep -qsxF CONFIG_MODULE_SIG_FORCE=y "$kernel_dir/.config" || sign_modules
}

# sign_module FILE KEY CERTIFICATE
sign_module() {
	"$kernel_dir/scripts/sign-file" sha256 "$2" "$3" "$1"
}

# sign_modules: those of the board, by the key that the kernel's build made for itself. In /lib/refused is flash_mng as a kernel that wants
# signatures must not load it: without one, signed by a stranger, and with a bit changed since.
sign_modules() {
	board_key=$kernel_dir/certs/signing_key
	refused_modules=$initramfs_root/lib/refused
	mkdir -p "$refused_modules" && cp "$initramfs_root/lib/modules/flash_mng.ko" "$refused_modules/unsigned.ko" || return 1
	for board_module in "$initramfs_root"/lib/modules/*.ko; do
		sign_module "$board_module" "$board_key.pem" "$board_key.x509" || return 1
	done
	openssl req -new -x509 -newkey rsa:4096 -nodes -days 1 -subj "/CN=a stranger/" -keyout "$initramfs_root.key" \
		-outform DER -out "$initramfs_root.x509" &&
		cp "$refused_modules/unsigned.ko" "$refused_modules/strange.ko" &&
		sign_module "$refused_modules/strange.ko" "$initramfs_root.key" "$initramfs_root.x509" &&
		cp "$initramfs_root/lib/modules/flash_mng.ko" "$refused_modules/changed.ko" &&
		change_byte "$refused_modules/changed.ko" 4096
}

# copy_linux_modules: those of the kernel itself, JFFS2 for cases about flash that is mounted; one of Debian (scripts/matrix.sh) has others.
copy_linux_modules() {
	if [ -n "${stock_files-}" ]; then
		copy_stock_modules
	else
		cp "$kernel_dir/drivers/mtd/nand/raw/nandsim.ko" "$kernel_dir/drivers/mtd/devices/mtdram.ko" \
			"$kernel_dir/fs/jffs2/jffs2.ko" "$initramfs_root/lib/modules/"
	fi
}

# The programs that are on the board: those that the machine's preset installs below bin/, tests/ and demo/.
copy_programs() {
	for programs in "$@"; do
		[ ! -d "$(preset_dir "$program_preset")/image/$programs" ] ||
			cp -a "$(preset_dir "$program_preset")/image/$programs" "$initramfs_root/"
	done
}

# begin_initramfs: what every board has in front.
begin_initramfs() {
	rm -rf "$initramfs_root"
	mkdir -p "$initramfs_root/bin" "$initramfs_root/proc" "$initramfs_root/sys" "$initramfs_root/dev" "$initramfs_root/tmp" &&
		cp "$busybox" "$initramfs_root/bin/busybox" &&
		cp "$root/board/initramfs/init" "$initramfs_root/init" &&
		cp -a "$root/board/initramfs/tasks" "$initramfs_root/tasks"
}

# The finished file takes the place of the one before, which boards may still read.
pack_initramfs() {
	(cd "$initramfs_root" && find . | LC_ALL=C sort | cpio -o -H newc -R 0:0 --quiet >"$initramfs.cpio") &&
		gzip -1 <"$initramfs.cpio" >"$initramfs.new" && rm "$initramfs.cpio" && mv "$initramfs.new" "$initramfs"
}

# name_initramfs FLAVOUR SET: sets initramfs and initramfs_root, what run_board takes for that set and the folder with its files.
name_initramfs() {
	initramfs=$build_dir/board/$1-$2.cpio.gz
	initramfs_root=$build_dir/board/$1-$2
	mkdir -p "$build_dir/board"
}

# exchange_flash_mng FLAVOUR SET: makes the named initramfs from that of the set, with the flash_mng.ko of the stage.
exchange_flash_mng() {
	rm -rf "$initramfs_root"
	cp -a "$build_dir/board/$1-$2" "$initramfs_root" &&
		cp "$stage_dir/flash_mng_kernel/flash_mng.ko" "$initramfs_root/lib/modules/" &&
		pack_initramfs
}

# make_initramfs demo|full: full has the tests and their lab too.
make_initramfs() {
	begin_initramfs && compile_board_files "$1" || return 1
	mkdir -p "$initramfs_root/demo" && cp "$root/board/demo/letter.txt" "$initramfs_root/demo/letter.txt" || return 1
	if [ "$1" = full ]; then
		copy_modules reference_platform examples/foreign_platform flash_mng_kernel board/demo/client tests/guest/lab \
			tests/guest/platform_check || return 1
		copy_programs bin demo tests || return 1
		make_agreement_boards || return 1
		shim_functions >"$initramfs_root/tests/shims" || return 1
		cp "$root/scripts/ktap.awk" "$initramfs_root/tests/" || return 1
	else
		copy_modules reference_platform flash_mng_kernel board/demo/client || return 1
		copy_programs bin demo || return 1
	fi
	pack_initramfs
}

# build_initramfs FLAVOUR demo|full
build_initramfs() {
	use_kernel "$1"
	use_stage "$1"
	use_busybox
	name_initramfs "$1" "$2"
	[ "$2" = demo ] || build_program_target "$host_preset" agreement_boards
	run_step "build the initramfs ($1, $2)" "initramfs_$1_$2" make_initramfs "$2"
}

# make_nor FILE: an erased NOR flash.
make_nor() {
	{ tr '\0' '\377' </dev/zero | head -c 67108864 >"$1.new"; } && mv "$1.new" "$1" && return 0
	die "$1 cannot be written; $(disk_state)"
}

# use_nor: sets nor to the NOR flash of the board, erased when new; while another command's board has it, to a copy.
use_nor() {
	nor=$build_dir/board/nor.img
	if try_lock "$nor.lock" 6; then
		[ -f "$nor" ] || make_nor "$nor"
		say "The NOR flash is kept in $nor."
		return 0
	fi
	say "The NOR flash is with $(holder "$nor.lock"); this board has a copy, which is not kept."
	cp "$nor" "$run_dir.nor" 2>/dev/null || make_nor "$run_dir.nor"
	nor=$run_dir.nor
}

# keep_initramfs FLAVOUR SET: the board of this run has it as it is now, also when another command makes a new one.
keep_initramfs() {
	ln -f "$build_dir/board/$1-$2.cpio.gz" "$run_dir.cpio.gz"
	run_initramfs=$run_dir.cpio.gz
}

# run_board FLAVOUR SET TASK ARGUMENT...: starts the board, as board/run documents.
run_board() {
	use_kernel "$1"
	board_image=$kernel_dir/$kernel_image
	board_initramfs=${run_initramfs:-$build_dir/board/$1-$2.cpio.gz}
	board_task=$3
	shift 3
	board_status=0
	"$root/board/run" --machine "$machine" --processor "$board_processor" --kernel "$board_image" --initramfs "$board_initramfs" \
		--task "$board_task" "$@" || board_status=$?
	[ "$board_status" -ne 100 ] || note_limit "the board's task $board_task"
	return "$board_status"
}

# run_demo VERBOSE: in the folder that own_run has set.
run_demo() {
	make_nor "$run_dir.nor"
	demo_options=
	[ "$1" = no ] || demo_options=--verbose
	demo_status=0
	# shellcheck disable=SC2086
	attend run_board production demo demo --output "$run_dir" --nor "$run_dir.nor" --time-limit 120 $demo_options || demo_status=$?
	if [ "$demo_status" -ge 100 ]; then
		say "dev: the board did not finish the tour; the end of its console ($run_dir/console.log):" >&2
		tail -n 30 "$run_dir/console.log" >&2
	fi
	return "$demo_status"
}

# run_shell FLAVOUR: in the folder that own_run has set.
run_shell() {
	use_nor
	say "Console of the virtual board. Leave it with: poweroff -f (or Ctrl-A x)."
	attend run_board "$1" full shell --output "$run_dir" --nor "$nor" --interactive
}
