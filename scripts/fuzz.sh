# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev fuzz [MINUTES [SEED]]: calls that nobody would make, on the host, under sanitizers, and on the board beside it.

fuzz_targets="commands tables lies"
fuzz_dir=$build_dir/fuzz

# run_fuzzer TARGET SECONDS SEED: inputs that reach new code are added to build/fuzz/TARGET; one that fails is written beside it. The board
# is the slower one and goes before.
run_fuzzer() {
	mkdir -p "$fuzz_dir/$1"
	nice -n 5 "$(preset_dir fuzz)/tests/fuzz/fuzz_$1" -max_total_time="$2" -seed="$3" -max_len=400 -len_control=0 -timeout=60 \
		-rss_limit_mb=3072 -print_final_stats=1 -verbosity=0 -artifact_prefix="$fuzz_dir/$1-" \
		"$fuzz_dir/$1" "$root/tests/fuzz/corpus/$1"
}

# fuzzer_text: what a fuzzer has done.
fuzzer_text() {
	awk '/^stat::number_of_executed_units:/ { inputs = $2 }
		/calls of the module$/ { calls = $2 }
		END { print calls " calls in " inputs " inputs" }' "$step_log"
}

# fuzz_on_host SECONDS SEED: one target after the other.
fuzz_on_host() {
	fuzz_failed=0
	for fuzz_target in $fuzz_targets; do
		if try_step "fuzz on the host: $fuzz_target" "fuzz_$fuzz_target" run_fuzzer "$fuzz_target" "$(($1 / 3))" "$2"; then
			say "  $fuzz_target: $(fuzzer_text)"
		else
			grep -E '^(fuzz|simulation):|ERROR|SUMMARY|Test unit written' "$step_log" || tail -n 30 "$step_log"
			fuzz_failed=1
		fi
	done
	return "$fuzz_failed"
}

# The module with a call at each branch that KCOV records.
make_recorded() {
	stage_sources || return 1
	make_modules flash_mng_kernel "$build_dir/kernel/debug/reference_platform/Module.symvers" KCOV_INSTRUMENT=y || return 1
	exchange_flash_mng debug torture
}

# build_fuzz_board: the torture board, but with that module; run_board has it as "fuzz".
build_fuzz_board() {
	build_torture_board debug
	use_stage debug-fuzz
	name_initramfs debug fuzz
	run_step "build flash_mng with points for KCOV" flash_mng_kcov make_recorded
}

recorded_points() {
	aarch64-linux-gnu-readelf -rW "$build_dir/kernel/debug-fuzz/flash_mng_kernel/flash_mng.ko" | grep -c ' __sanitizer_cov_trace_pc '
}

# fuzz_parameters SECONDS SEED: of the kernel.
fuzz_parameters() {
	echo "kmemleak=off fuzz.seconds=$1 fuzz.seed=$2 fuzz.points=$(recorded_points)"
}

# fuzz_command [MINUTES [SEED]]
fuzz_command() {
	at_most 2 fuzz "$@"
	fuzz_minutes=${1-5}
	fuzz_seed=${2-1}
	minutes fuzz "$fuzz_minutes"
	whole_numbers fuzz "$fuzz_seed"
	hold_clone
	need_packages "$build_packages" "$clang_packages"
	for built_target in $fuzz_targets; do
		build_program_target fuzz "fuzz_$built_target"
	done
	build_fuzz_board

	fuzz_seconds=$((fuzz_minutes * 60))
	fuzz_status=0
	own_run debug-fuzz
	say "fuzz for $fuzz_minutes minutes, on the host and beside it on the board"
	run_torture_task fuzz fuzz $((3 * fuzz_seconds + 600)) "$(fuzz_parameters "$fuzz_seconds" "$fuzz_seed")" \
		>"$log_dir/fuzz_board.log" 2>&1 &
	fuzz_board=$!
	fuzz_on_host "$fuzz_seconds" "$fuzz_seed" || fuzz_status=1
	wait "$fuzz_board" || fuzz_status=1
	say "on the board:"
	cat "$log_dir/fuzz_board.log"
	return "$fuzz_status"
}
