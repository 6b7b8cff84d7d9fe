# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev trace: the programs of tools/trace, and perf, on one of Debian's own kernels, which have what they need; the board's kernel has
# no tracing.

# traced_kernels: Debian's own of ./dev matrix, one per line.
# shellcheck disable=SC2154 # of scripts/matrix.sh
traced_kernels() {
	{
		supported_kernels | sed 1d
		printf '%s\n' "$matrix_flavours" | tr ' ' '\n'
	} | sort -V
}

# followed_names: the functions that the programs of tools/trace follow.
followed_names() {
	sed -nE 's/^k(ret)?probe:([A-Za-z0-9_]+).*/\2/p' "$root"/tools/trace/*.bt || return 1
	sed -nE '/FUNCTIONS.$/,/^FUNCTIONS$/s/^(flash_mng:)?([a-z][A-Za-z0-9_]+)( .*)?$/\2/p' "$root/tools/trace/flash-trace"
}

# unfollowed_names: those that are neither functions of flash_mng.ko nor what it calls of Linux and the platform.
unfollowed_names() {
	aarch64-linux-gnu-nm "$flash_object" | awk '$(NF - 1) ~ /^[tTU]$/ { print $NF }' | LC_ALL=C sort -u >"$build_dir/results/functions"
	followed_names | LC_ALL=C sort -u | LC_ALL=C comm -23 - "$build_dir/results/functions" |
		sed 's/$/ is followed by tools\/trace, and is no function of flash_mng.ko nor called by it/'
}

# copy_tracers: bpftrace and perf of this machine's release, for the board's machine.
copy_tracers() {
	for tracer in bpftrace linux-perf; do
		fetch_closure "$(machine_codename)" arm64 "$tracer"
		copy_with_libraries "$package_files/files" "${tracer#linux-}" || return 1
	done
}

# perf_recipes: the commands of docs/tracing.md for perf.
# shellcheck disable=SC2016 # marks of a block
perf_recipes() {
	sed -n '/^## perf$/,/^## /p' "$root/docs/tracing.md" | sed -n '/^```sh$/,/^```$/p' | sed '/^```/d'
}

# make_trace_initramfs yes|no: with bpftrace and perf or without.
make_trace_initramfs() {
	begin_initramfs && compile_boards_of tests/trace board || return 1
	mv "$initramfs_root/lib/firmware/board/board.fbd" "$initramfs_root/lib/firmware/board/trace.fbd"
	copy_modules reference_platform flash_mng_kernel board/demo/client && copy_programs bin || return 1
	cp -R "$root/tools/trace" "$initramfs_root/trace" && perf_recipes >"$initramfs_root/trace/perf" || return 1
	[ "$1" = no ] || copy_tracers || return 1
	pack_initramfs
}

# trace_command [--no-bpf] [KERNEL]
trace_command() {
	trace_with_bpf=yes
	if [ "${1-}" = --no-bpf ]; then
		trace_with_bpf=no
		shift
	fi
	at_most 1 trace "$@"
	known_words trace traced_kernels "$@"
	traced_kernel=${1-6.1}
	hold_clone
	need_packages "$build_packages" "$host_packages" "$check_packages"
	build_program_target debug flash-board
	build_program_target guest flashctl
	use_stock "$traced_kernel"
	run_step "build the modules for Debian's $headers_release" "modules_stock_$traced_kernel" make_headers_modules
	use_busybox
	name_initramfs "stock-$traced_kernel" trace
	run_step "build the initramfs for it" initramfs_trace make_trace_initramfs "$trace_with_bpf"
	try_step "follow transfers on Linux $headers_release" trace run_traced
}

# shellcheck disable=SC2154 # of use_stock
run_traced() {
	"$root/board/run" --machine "$machine" --processor "$(processor_for "$traced_kernel")" --kernel "$stock_image" \
		--initramfs "$initramfs" --task trace --output "$build_dir/board/trace-$traced_kernel" --time-limit 1800
}
