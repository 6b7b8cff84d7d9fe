# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev fuzz [MINUTES [SEED]]: calls that nobody would make; half of the time on the desk, under sanitizers, and half on the board.

fuzz_targets="commands tables lies"
fuzz_dir=$build_dir/fuzz

# run_fuzzer TARGET SECONDS SEED: inputs that reach new code are added to build/fuzz/TARGET; one that fails is written beside it.
run_fuzzer() {
	mkdir -p "$fuzz_dir/$1"
	"$(preset_dir fuzz)/tests/fuzz/fuzz_$1" -max_total_time="$2" -seed="$3" -max_len=400 -len_control=0 -timeout=60 -rss_limit_mb=3072 \
		-print_final_stats=1 -verbosity=0 -artifact_prefix="$fuzz_dir/$1-" "$fuzz_dir/$1" "$root/tests/fuzz/corpus/$1"
}

# fuzzer_text: what a fuzzer has done.
fuzzer_text() {
	awk '/^stat::number_of_executed_units:/ { inputs = $2 }
		/calls of the module$/ { calls = $2 }
		END { print calls " calls in " inputs " inputs" }' "$step_log"
}

fuzz_on_desk() {
	fuzz_failed=0
	for fuzz_target in $fuzz_targets; do
		build_program_target fuzz "fuzz_$fuzz_target"
	done
	for fuzz_target in $fuzz_targets; do
		if try_step "fuzz on the desk: $fuzz_target" "fuzz_$fuzz_target" run_fuzzer "$fuzz_target" "$1" "$2"; then
			say "  $fuzz_target: $(fuzzer_text)"
		else
			grep -E '^(fuzz|simulation):|ERROR|SUMMARY|Test unit written' "$step_log" || tail -n 30 "$step_log"
			fuzz_failed=1
		fi
	done
	return "$fuzz_failed"
}

# fuzz_on_board SECONDS SEED
fuzz_on_board() {
	build_torture_board debug
	say "fuzz of the device and the exports on the board, $(seconds_text "$1")"
	run_torture_task debug fuzz $(($1 + 300)) "kmemleak=off fuzz.seconds=$1 fuzz.seed=$2"
}

# fuzz_command [MINUTES [SEED]]
fuzz_command() {
	fuzz_minutes=${1:-5}
	fuzz_seed=${2:-1}
	whole_numbers fuzz "$fuzz_minutes" "$fuzz_seed"
	need_packages "$build_packages" "$clang_packages"
	fuzz_status=0
	fuzz_on_desk $((fuzz_minutes * 10)) "$fuzz_seed" || fuzz_status=1
	fuzz_on_board $((fuzz_minutes * 30)) "$fuzz_seed" || fuzz_status=1
	return "$fuzz_status"
}
