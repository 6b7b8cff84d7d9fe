# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev matrix: the suite, load cycles and the tour on each kernel that flash_mng is made for. There are kernels of the board's own,
# configured and built here; the others are Debian's binary kernels as they come, with modules built against their header packages.

# Beside those of flash_mng_kernel/KERNELS, other flavours of Debian's: of Debian 11, whose compiler is GCC 10; preemptible everywhere
# (PREEMPT_RT); with pages of 16 KiB.
matrix_flavours="5.10-arm64 5.10-rt-arm64 6.1-rt-arm64 6.12-rt-arm64 6.12-arm64-16k"

# Of the board: that loads signed modules only; as for 5.10, of other versions; with KASAN, lockdep and kmemleak; with pages of
# 64 KiB; built by clang with what Linux has to defend itself.
matrix_own="5.10-signed 6.1-board 6.12-board 7.2-board 6.12-debug 6.12-64k 6.12-hardened"

matrix_kernels() {
	{
		supported_kernels
		printf '%s\n' "$matrix_flavours $matrix_own" | tr ' ' '\n'
	} | sort -V
}

# own_flavour KERNEL: the flavour of the board's kernels that it is; nothing for those of Debian.
own_flavour() {
	case " $matrix_own " in
	*" $1 "*) echo "$1" ;;
	*) [ "$1" != "$(supported_kernels | head -n 1)" ] || echo production ;;
	esac
}

# What Debian has in modules and the board needs before anything else: its reports' ports, and MTD.
stock_first_modules="virtio_mmio virtio_console mtd mtdblock"
# What cases load and remove themselves.
stock_file_system=jffs2

# use_stock KERNEL[-FLAVOUR]: as use_kernel and use_stage, for Debian's kernel. Sets stock_image, and stock_files, the folder with its
# modules.
use_stock() {
	use_headers_stage "$1"
	fetch_package "$headers_suite" arm64 "linux-image-$headers_release"
	stock_files=$package_files/files
	stock_image=$(find "$stock_files" -name "vmlinuz-$headers_release")
	[ -z "$stock_image" ] || return 0
	# Newer releases have the image and the modules in packages of their own.
	fetch_package "$headers_suite" arm64 "linux-binary-$headers_release"
	stock_image=$(find "$package_files/files" -name 'vmlinuz*' -type f)
	fetch_package "$headers_suite" arm64 "linux-modules-$headers_release"
	stock_files=$package_files/files
}

# stock_loading_order MODULE...: the files of these modules of Debian and of those that they need, in their order. What is no module of
# this kernel is part of it.
stock_loading_order() {
	for stock_module in "$@"; do
		[ -z "$(find "$stock_root" -name "$stock_module.ko")" ] ||
			modprobe -d "$stock_root" -S "$headers_release" --show-depends "$stock_module" || return 1
	done | awk '$1 == "insmod" && !seen[$2]++ { print $2 }'
}

# copy_stock_modules: of Debian's modules those that the board and its cases need, and the order of those that are loaded first.
copy_stock_modules() {
	stock_root=$initramfs_root.linux
	stock_modules=$stock_root/lib/modules/$headers_release
	rm -rf "$stock_root"
	mkdir -p "$stock_modules/kernel"
	stock_kernel=$(find "$stock_files" -type d -path "*/lib/modules/$headers_release/kernel")
	(cd "$stock_kernel" && cp -R --parents drivers/mtd drivers/virtio drivers/char fs/jffs2 "$stock_modules/kernel") || return 1
	find "$stock_root" -name '*.ko.xz' -exec xz -d {} + && depmod -b "$stock_root" "$headers_release" || return 1
	# shellcheck disable=SC2086 # a list of names
	stock_loading_order $stock_first_modules $stock_file_system >"$stock_root/all" || return 1
	xargs cp -t "$initramfs_root/lib/modules/" <"$stock_root/all" &&
		sed 's,.*/,,; s,\.ko$,,' "$stock_root/all" | grep -vxF "$stock_file_system" >"$initramfs_root/lib/modules/first"
}

build_stock() {
	use_stock "$1"
	run_step "build the modules for Debian's $headers_release" "modules_stock_$1" make_headers_modules
	use_busybox
	name_initramfs "stock-$1" full
	run_step "build the initramfs for it" "initramfs_stock_$1" make_initramfs full
}

# processor_for KERNEL: the board's own, where that has pages of the kernel's size; it has those of 4 KiB and of 64 KiB.
processor_for() {
	case $1 in
	*-16k) echo cortex-a76 ;;
	*) echo cortex-a57 ;;
	esac
}

# run_stock KERNEL FOLDER TASK OPTION...: the task's status. The lab follows calls of modules that are near the kernel, where they are
# without a random layout.
run_stock() {
	use_stock "$1"
	name_initramfs "stock-$1" full
	stock_output=$2
	stock_task=$3
	stock_processor=$(processor_for "$1")
	shift 3
	"$root/board/run" --machine "$machine" --processor "$stock_processor" --kernel "$stock_image" --initramfs "$initramfs" \
		--task "$stock_task" --output "$stock_output" "$@" --append "nokaslr maxcpus=1"
}

# run_own FLAVOUR FOLDER TASK OPTION...: the same on a kernel of the board's own.
run_own() {
	own_kernel=$1
	own_output=$2
	own_task=$3
	shift 3
	run_board "$own_kernel" full "$own_task" --output "$own_output" "$@" --append maxcpus=1
}

# compiler_text: the one that the kernel in use is built by.
compiler_text() {
	"$kernel_compiler" --version | sed -nE '1s/.*(gcc|clang).*[ )]([0-9]+)\.[0-9.]+.*/\1 \2/p'
}

# ---- the table

matrix_page=$root/docs/kernels.md
matrix_limit=3600 # seconds of processor time of a task

# matrix_row KERNEL: where its result goes.
matrix_row() {
	echo "$build_dir/results/matrix-$1"
}

# skip_reasons REPORT: the reasons of skipped cases with their counts, the most frequent first.
skip_reasons() {
	sed -n 's/.*<skipped message="\([^"]*\)".*/\1/p' "$1" | sed "s/.*&#x0A;//; s/&apos;/'/g; s/|/,/g" | sort | uniq -c |
		sort -rn | sed 's/^ *\([0-9]*\) \(.*\)/\1: \2/' | paste -s -d ';' - | sed 's/;/; /g'
}

# run_row KERNEL NAME COMPILER COMMAND...: runs the suite, the load cycles and the tour by the command; leaves the row of the table. A
# report of the kernel, and cycles or a tour that failed, are failures too.
run_row() {
	row_begin="| $1 | $2 | $3 | \`$(modinfo -F vermagic "$stage_dir/flash_mng_kernel/flash_mng.ko" | sed 's/ *$//')\`"
	row_file=$(matrix_row "$1")
	row_folder=$build_dir/board/matrix-$1
	row_title="Linux $1"
	row_tasks="cycles demo"
	case $1 in *-signed | *-hardened) row_tasks="$row_tasks signatures" ;; esac
	shift 3
	row_failed=0
	try_step "suite on $row_title" "matrix_suite" "$@" "$row_folder" suite --time-limit "$matrix_limit" || true
	for row_task in $row_tasks; do
		try_step "$row_task on $row_title" "matrix_$row_task" "$@" "$row_folder-$row_task" "$row_task" \
			--time-limit "$matrix_limit" || row_failed=$((row_failed + 1))
	done
	row_report=$row_folder/results/conformance.xml
	if [ ! -s "$row_report" ]; then
		echo "$row_begin | – | – | the suite did not come to its end |" >"$row_file"
		return 1
	fi
	for row_task in '' $row_tasks; do
		row_console=$row_folder${row_task:+-$row_task}/console.log
		row_failed=$((row_failed + $(awk -f "$root/scripts/console_reports.awk" "$row_console" | wc -l)))
	done
	# shellcheck disable=SC2046 # three numbers
	set -- $(awk -f "$root/scripts/results.awk" "$row_report" | head -n 1)
	row_failed=$((row_failed + $2))
	echo "$row_begin | $1 | $row_failed | $3$([ "$3" -eq 0 ] || echo " ($(skip_reasons "$row_report"))") |" >"$row_file"
	[ "$row_failed" -eq 0 ]
}

# keep_row KERNEL: in the page, in place of that kernel's.
keep_row() {
	awk -v kernel="$1" -v row="$(cat "$(matrix_row "$1")")" '
		index($0, "| " kernel " |") == 1 { print row; next }
		{ print }' "$matrix_page" >"$build_dir/results/page" && cp "$build_dir/results/page" "$matrix_page"
}

# matrix_kernel KERNEL: in a subshell, as each kernel has tools of its own.
matrix_kernel() (
	matrix_flavour=$(own_flavour "$1")
	if [ -n "$matrix_flavour" ]; then
		build_kernel "$matrix_flavour"
		build_modules "$matrix_flavour"
		build_lab "$matrix_flavour"
		build_initramfs "$matrix_flavour" full
		run_row "$1" "$(source_release), the board's" "$(compiler_text)" run_own "$matrix_flavour"
	elif headers_fetched "$1"; then
		build_stock "$1"
		run_row "$1" "Debian's $headers_release" "gcc $headers_compiler" run_stock "$1"
	else
		echo "| $1 | Debian's | – | – | – | – | not run: $(why_no_headers "$1") |" >"$(matrix_row "$1")"
	fi
)

# matrix_command [KERNEL]: all of them, or that one.
matrix_command() {
	at_most 1 matrix "$@"
	known_words matrix matrix_kernels "$@"
	hold_clone
	need_packages "$build_packages" "$host_packages" "$check_packages"
	case ${1:-6.12-hardened} in
	*-signed) need_packages openssl ;;
	*-hardened) need_packages "$hardened_packages" ;;
	esac
	unset KERNEL_SOURCE
	say "A kernel takes 10 to 20 minutes on two cores, and its packages up to 900 MiB of $cache_dir, once."
	build_program_target debug flash-board
	build_program_target debug agreement_boards
	build_program_preset guest
	mkdir -p "$build_dir/results"
	matrix_result=0
	for matrix_each in ${1:-$(matrix_kernels)}; do
		rm -f "$(matrix_row "$matrix_each")"
		matrix_kernel "$matrix_each" || matrix_result=1
		[ ! -s "$(matrix_row "$matrix_each")" ] || keep_row "$matrix_each"
	done
	sed -n '/^| Linux |/,/^$/p' "$matrix_page"
	return "$matrix_result"
}
