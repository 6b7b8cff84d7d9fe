# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev test: the suite on the desk and on the board.

line_coverage=95
branch_coverage=90
suite_time_limit=600
debug_suite_time_limit=900

# run_host_tests PRESET: a test program that fails is counted by its report, so the status does not matter here.
run_host_tests() {
	rm -rf "$(preset_dir "$1")/results"
	try_step "run the host tests ($1)" "ctest_$1" env ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
		UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir "$(preset_dir "$1")" --output-on-failure --timeout 300 ||
		tail -n 40 "$step_log"
}

test_host_sanitized() {
	build_program_preset asan
	run_host_tests asan
	count_report "conformance on the desk, sanitizers" "$(preset_dir asan)/results/conformance_host.xml"
	count_report "tests of the host side, sanitizers" "$(preset_dir asan)/results/host_tests.xml"
}

measure_coverage() {
	coverage_dir=$(preset_dir coverage)
	gcovr --root "$root" --filter "$root/flash_mng_kernel/" --exclude-throw-branches --html-details "$build_dir/coverage.html" \
		--txt "$build_dir/coverage.txt" --json-summary "$build_dir/coverage.json" --print-summary \
		--fail-under-line "$line_coverage" --fail-under-branch "$branch_coverage" "$coverage_dir" >"$log_dir/gcovr.log" 2>&1
}

coverage_text() {
	rm -f "$build_dir/coverage.txt"
	coverage_status=0
	measure_coverage || coverage_status=$?
	sed -n 's/^\(lines\|branches\): \([0-9.]*%\).*/\1 \2/p' "$log_dir/gcovr.log" | paste -s -d , -
	[ "$coverage_status" -eq 0 ] || {
		echo "at least $line_coverage% of the lines and $branch_coverage% of the branches have to run (gcovr status $coverage_status):"
		tail -n 15 "$log_dir/gcovr.log"
		cat "$build_dir/coverage.txt"
		return 1
	}
}

test_coverage() {
	build_program_preset coverage
	find "$(preset_dir coverage)" -name '*.gcda' -delete
	run_host_tests coverage
	count_step "coverage of the module's C++" coverage_text
}

console_is_clean() {
	[ -s "$1" ] || {
		echo "$1 is empty"
		return 1
	}
	nothing_in awk -f "$root/scripts/console_reports.awk" "$1"
}

# run_task FLAVOUR TASK LIMIT: sets run_output; shows the end of the console when the board did not come to its end. Only the kernel's
# warnings and worse go to the console, which is slow.
run_task() {
	run_output=$build_dir/board/$1-$2-run
	task_result=0
	try_step "$2 on the $1 kernel" "board_$1_$2" run_board "$1" full "$2" --output "$run_output" --time-limit "$3" \
		--append loglevel=5 || task_result=$?
	[ "$task_result" -lt 100 ] || {
		cat "$step_log"
		tail -n 40 "$run_output/console.log"
	}
}

task_succeeded() {
	[ "$1" -eq 0 ] || {
		echo "status $1"
		tail -n 20 "$2/terminal.log"
		return 1
	}
	tail -n 1 "$2/terminal.log"
}

# test_suite FLAVOUR LIMIT
test_suite() {
	run_task "$1" suite "$2"
	count_report "conformance on the board, $1 kernel" "$run_output/results/conformance.xml"
	count_step "the suite's status, $1 kernel" task_succeeded "$task_result" "$run_output"
	count_step "no kernel reports, $1 kernel" console_is_clean "$run_output/console.log"
}

# test_cycles FLAVOUR LIMIT
test_cycles() {
	run_task "$1" cycles "$2"
	count_step "100 load cycles, $1 kernel" task_succeeded "$task_result" "$run_output"
	count_step "no kernel reports in the load cycles, $1 kernel" console_is_clean "$run_output/console.log"
}

test_board() {
	build_program_target debug flash-board
	build_program_preset guest
	for flavour in board debug; do
		build_kernel "$flavour"
		build_modules "$flavour"
		build_lab "$flavour"
		build_initramfs "$flavour" full
	done
	test_suite board "$suite_time_limit"
	test_cycles board 120
	test_suite debug "$debug_suite_time_limit"
	test_cycles debug 300
}

run_tests() {
	say "on the desk"
	test_host_sanitized
	test_coverage
	say "on the board"
	test_board
	run_checks || true
	read -r passed_checks failed_checks skipped_checks <"$build_dir/results/checks"
	add_results "$passed_checks" "$failed_checks" "$skipped_checks"
	show_total
}
