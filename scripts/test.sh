# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev test: the suite on the desk and on the board.

line_coverage=100
branch_coverage=100
suite_time_limit=900
short_time_limit=600
short_fuzz_seconds=20

asan_options=detect_leaks=1:allocator_may_return_null=1

# run_host_tests PRESET: a test program that fails is counted by its report, so the status does not matter here.
run_host_tests() {
	rm -rf "$(preset_dir "$1")/results"
	try_step "run the host tests ($1)" "ctest_$1" env ASAN_OPTIONS="$asan_options" \
		UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir "$(preset_dir "$1")" --parallel "$jobs" --output-on-failure \
		--timeout 300 || tail -n 40 "$step_log"
}

test_host_sanitized() {
	build_program_preset asan
	run_host_tests asan
	count_report "conformance on the desk, sanitizers" "$(preset_dir asan)/results/conformance_host.xml"
	count_report "tests of the host side, sanitizers" "$(preset_dir asan)/results/host_tests.xml"
	count_report "every failure of every call, sanitizers" "$(preset_dir asan)/results/faults_host.xml"
	count_report "a case for every message and every code" "$(preset_dir asan)/results/completeness_host.xml"
	count_report "power cuts of simulated flash, sanitizers" "$(preset_dir asan)/results/powercut_host.xml"
	count_report "checker of power cuts, sanitizers" "$(preset_dir asan)/results/powercut_tests.xml"
	for tested_target in $fuzz_targets; do
		count_report "inputs of the fuzzer, $tested_target, sanitizers" "$(preset_dir asan)/results/fuzz_$tested_target.xml"
	done
	count_report "flash-board, sanitizers" "$(preset_dir asan)/results/flash_board_tests.xml"
	count_report "what the tools share, sanitizers" "$(preset_dir asan)/results/tools_common_tests.xml"
	count_report "flashctl and the client header, sanitizers" "$(preset_dir asan)/results/flashctl_tests.xml"
	count_report "examples and links of the documents, sanitizers" "$(preset_dir asan)/results/docs_tests.xml"
}

# The cases with several threads; a data race ends the program with a status of its own.
test_host_threads() {
	build_program_target tsan threads_host
	threads_report=$(preset_dir tsan)/results/threads_host.xml
	rm -f "$threads_report"
	try_step "run the cases with several threads (tsan)" threads_host \
		env TSAN_OPTIONS=halt_on_error=1 "$(preset_dir tsan)/tests/host/threads_host" "--gtest_output=xml:$threads_report" ||
		tail -n 40 "$step_log"
	count_report "conformance with several threads, thread sanitizer" "$threads_report"
}

measure_coverage() {
	gcovr --root "$root" --filter "$root/flash_mng_kernel/" --exclude-throw-branches --html-details "$build_dir/coverage.html" \
		--txt "$build_dir/coverage.txt" --json-summary "$build_dir/coverage.json" --print-summary \
		--fail-under-line "$line_coverage" --fail-under-branch "$branch_coverage" "$(preset_dir asan)" >"$log_dir/gcovr.log" 2>&1
}

coverage_text() {
	rm -f "$build_dir/coverage.txt"
	coverage_status=0
	measure_coverage || coverage_status=$?
	sed -n 's/^\(lines\|branches\): \([0-9.]*%\).*/\1 \2/p' "$log_dir/gcovr.log" | paste -s -d , -
	[ "$coverage_status" -eq 0 ] || {
		echo "at least $line_coverage% of the lines and $branch_coverage% of the branches have to run"
		tail -n 15 "$log_dir/gcovr.log"
		cat "$build_dir/coverage.txt"
		return 1
	}
}

test_coverage() {
	build_program_target asan coverage_host
	find "$(preset_dir asan)" -name '*.gcda' -delete
	try_step "run the cases on a core that counts" coverage_host env ASAN_OPTIONS="$asan_options" \
		"$(preset_dir asan)/tests/host/coverage_host" --gtest_brief=1 || tail -n 40 "$step_log"
	count_step "coverage of the module's C++" coverage_text
}

console_is_clean() {
	[ -s "$1" ] || {
		echo "$1 is empty"
		return 1
	}
	nothing_in awk -f "$root/scripts/console_reports.awk" "$1"
}

# run_task RUN FLAVOUR SET TASK LIMIT [KERNEL PARAMETERS]: the task's status goes to build/board/RUN.status, its output to
# build/board/RUN-run.
run_task() {
	task_result=0
	run_board "$2" "$3" "$4" --output "$build_dir/board/$1-run" --time-limit "$5" --append "${6-}" || task_result=$?
	echo "$task_result" >"$build_dir/board/$1.status"
}

# The suites run on boards of one core: a board with two, on a busy desk, spends half of its time on the turns of its own cores. The cases
# with several callers run once more with two. The debug kernel is slower: two boards share its cases. Parameters that Linux does not know
# are the first program's environment, which GoogleTest reads.
run_lane_1() {
	run_task debug-suite-1 debug full suite "$suite_time_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=0 maxcpus=1"
	run_task debug-cycles debug full cycles "$short_time_limit"
}

run_lane_2() {
	run_task debug-suite-2 debug full suite "$suite_time_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=1 maxcpus=1"
	run_task board-cycles board full cycles "$short_time_limit"
	run_task board-foreign board full foreign "$short_time_limit"
	run_task debug-fuzz debug fuzz fuzz "$short_time_limit" "$(fuzz_parameters "$short_fuzz_seconds" 1)"
}

run_lane_3() {
	run_task board-suite board full suite "$suite_time_limit" maxcpus=1
	run_task debug-concurrency debug full concurrency "$short_time_limit"
	run_task debug-leftovers debug full leftovers "$short_time_limit"
}

# The boards, and beside them the checks, which fill the cores while boards wait.
run_boards() {
	run_lane_1 &
	first_lane=$!
	run_lane_2 &
	second_lane=$!
	run_lane_3 &
	third_lane=$!
	(run_checks) >"$log_dir/checks.log" 2>&1 || true
	wait "$first_lane" "$second_lane" "$third_lane"
}

task_succeeded() {
	task_status=$(cat "$build_dir/board/$1.status")
	[ "$task_status" = 0 ] || {
		echo "status $task_status; the last of the board's terminal and console:"
		tail -n 20 "$build_dir/board/$1-run/terminal.log"
		tail -n 20 "$build_dir/board/$1-run/console.log"
		return 1
	}
	tail -n 1 "$build_dir/board/$1-run/terminal.log"
}

# count_task RUN
count_task() {
	count_step "$1 came to its end" task_succeeded "$1"
	count_step "$1: no kernel reports" console_is_clean "$build_dir/board/$1-run/console.log"
}

# shims_ran FILE...: how many functions of flash_mng's C ran, by the reports of the runs that shared the cases.
shims_ran() {
	awk '
		{ runs[$1] += $2 }
		END {
			for (name in runs) {
				all++
				if (runs[name])
					ran++
				else
					print name " did not run"
			}
			print ran + 0 " of " all + 0 " functions ran"
			exit !all || ran < all
		}' "$@"
}

test_board() {
	build_program_target debug flash-board
	build_program_preset guest
	for test_flavour in board debug; do
		build_kernel "$test_flavour"
		build_modules "$test_flavour"
		build_lab "$test_flavour"
		build_initramfs "$test_flavour" full
	done
	build_fuzz_board
	rm -rf "$build_dir"/board/*-run "$build_dir/results/checks"
	try_step "suite, load cycles, leftovers, several callers and fuzzed calls; checks" boards run_boards
	for test_run in board-suite debug-suite-1 debug-suite-2; do
		count_report "conformance on the board, $test_run" "$build_dir/board/$test_run-run/results/conformance.xml"
	done
	for test_run in board-suite debug-suite-1 debug-suite-2 board-cycles board-foreign debug-cycles debug-leftovers \
		debug-concurrency debug-fuzz; do
		count_task "$test_run"
	done
	count_step "the module's C in the board's kernel" shims_ran "$build_dir/board/board-suite-run/results/shims"
	count_step "the module's C in the debug kernel" shims_ran "$build_dir"/board/debug-suite-*-run/results/shims
}

# add_checks: shows and adds up what run_checks found beside the boards.
add_checks() {
	cat "$log_dir/checks.log"
	add_counts checks
}

run_tests() {
	say "on the desk"
	test_host_sanitized
	test_host_threads
	test_coverage
	say "on the board"
	test_board
	count_program packages_test "$root/tests/packages/packages_test.sh"
	test_package_build
	test_bench
	add_checks
	show_total
}
