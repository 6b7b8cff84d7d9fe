# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev prove: the module's publications without a lock in Linux's memory model. herd7 comes from a newer Debian release than this
# machine's, and is started with that release's own libraries.

herd_libraries="libc6 libgmp10 libgcc-s1 zlib1g libstdc++6"

# use_herd: sets herd_files, herd_loader and herd_library_path.
use_herd() {
	herd_architecture=$(dpkg --print-architecture)
	herd_library_path=
	for herd_library in $herd_libraries; do
		fetch_package sid "$herd_architecture" "$herd_library"
		for herd_folder in "$package_files"/files/usr/lib/*-linux-gnu*; do
			herd_library_path=$herd_library_path:$herd_folder
		done
	done
	fetch_package sid "$herd_architecture" libc6
	herd_loader=$(find "$package_files/files" -name 'ld-linux-*.so.*' | head -n 1)
	fetch_package sid "$herd_architecture" herdtools7
	herd_files=$package_files/files
}

# herd TEST: all executions of a litmus test, in the model of the kernel's own sources.
herd() {
	(cd "$kernel_source/tools/memory-model" && "$herd_loader" --library-path "${herd_library_path#:}" "$herd_files/usr/bin/herd7" \
		-set-libdir "$herd_files/usr/share/herdtools7/herd" -conf linux-kernel.cfg "$1") 2>&1
}

# litmus_holds TEST: its outcome never happens and nothing races.
litmus_holds() {
	herd "$1" >"$log_dir/herd.log"
	if grep -q '^Observation [a-z_]* Never ' "$log_dir/herd.log" && ! grep -q '^Flag ' "$log_dir/herd.log"; then
		sed -n 's/^Observation [a-z_]* Never 0 \([0-9]*\)$/never, in \1 states/p' "$log_dir/herd.log"
	else
		cat "$log_dir/herd.log"
		return 1
	fi
}

# weakened FROM TO TEST: the test must not hold once FROM is TO in it.
weakened() {
	sed "s/$1/$2/" "$root/tests/memory_model/$3.litmus" >"$build_dir/results/weakened.litmus"
	! litmus_holds "$build_dir/results/weakened.litmus" >/dev/null
}

test_memory_model() {
	count_step "seen: a plain store where lookups read" \
		weakened 'WRITE_ONCE(\*list, 1)' '*list = 1' listed_partition_while_loading
	count_step "seen: a count that is published without order" \
		weakened smp_store_release WRITE_ONCE listed_partition_while_loading
	count_step "seen: a driver that is published without order" \
		weakened smp_store_release WRITE_ONCE flash_driver_registers
	for litmus_test in "$root"/tests/memory_model/*.litmus; do
		count_step "$(basename "$litmus_test" .litmus)" litmus_holds "$litmus_test"
	done
}

prove_command() {
	at_most 0 prove "$@"
	need_packages "$build_packages"
	find_kernel_source
	use_herd
	mkdir -p "$log_dir" "$build_dir/results"
	say "publication without a lock, in the memory model of Linux $(make -s -C "$kernel_source" kernelversion)"
	test_memory_model
	show_total
}

# ---- for ./dev check

atomic_lines() {
	(cd "$root/flash_mng_kernel" && grep -rn --include='*.cpp' --include='*.hpp' '__atomic_' . |
		sed 's,^\./\([^:]*\):[0-9]*:[[:space:]]*,\1: ,' | LC_ALL=C sort -u)
}

# lines_of_litmus_tests: the lines of the module that the tests stand for.
lines_of_litmus_tests() {
	sed -n 's,^ \*   \([a-z_]*/[a-z_.]*: .*\)$,\1,p' "$root"/tests/memory_model/*.litmus | LC_ALL=C sort -u
}

# litmus_differences: lines that stand in a litmus test and no longer in the module, and atomic accesses that no test names.
litmus_differences() {
	lines_of_litmus_tests | while IFS= read -r litmus_line; do
		litmus_source=$root/flash_mng_kernel/${litmus_line%%: *}
		grep -qF -- "${litmus_line#*: }" "$litmus_source" || echo "no longer in the module: $litmus_line"
	done
	atomic_lines >"$build_dir/results/atomic_lines"
	lines_of_litmus_tests | LC_ALL=C comm -13 - "$build_dir/results/atomic_lines" | sed 's/^/named by no litmus test: /'
}
