# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev test [--host]: the suite on the host and on the board.

# Seconds of processor time of the emulator, and ten times as many of time.
suite_time_limit=1200
short_time_limit=600
short_fuzz_seconds=20

asan_options=detect_leaks=1:allocator_may_return_null=1

# ended_well STATUS: of test programs. Their reports are written before they end: leaks are found behind that.
ended_well() {
	[ "$1" -eq 0 ] || {
		echo "status $1: cases failed, or a sanitizer found something after the report"
		return 1
	}
}

# run_host_tests PRESET: sets host_status.
run_host_tests() {
	rm -rf "$(preset_dir "$1")/results"
	host_status=0
	try_step "run the host tests ($1)" "ctest_$1" env ASAN_OPTIONS="$asan_options" \
		UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir "$(preset_dir "$1")" --parallel "$jobs" --output-on-failure || {
		host_status=$?
		show_step
	}
}

# Each suite of the build folder with what it is; one that is not among them would not be counted.
host_suites="conformance_host:conformance on the host
host_tests:tests of the host side
faults_host:every failure of every call
completeness_host:a case for every message and every code
powercut_host:power cuts of simulated flash
powercut_updates:power cuts of updates by flashctl
powercut_tests:checker of power cuts
schedules_host:every schedule of two callers
sequences_host:every sequence of three operations
fuzz_commands:inputs of the fuzzer, commands
fuzz_tables:inputs of the fuzzer, tables
fuzz_lies:inputs of the fuzzer, lies
flash_board_tests:flash-board
tools_common_tests:what the tools share
flashctl_tests:flashctl and the client header
docs_tests:examples and links of the documents"

# all_suites_counted FOLDER: fails with what is in one of the lists only.
all_suites_counted() {
	counted_suites=$(printf '%s\n' "$host_suites" | sed 's/:.*//' | LC_ALL=C sort)
	run_suites=$(cd "$1/suites" && LC_ALL=C ls)
	[ "$counted_suites" = "$run_suites" ] || {
		printf 'counted:\n%s\nrun:\n%s\n' "$counted_suites" "$run_suites"
		return 1
	}
}

test_host_sanitized() {
	build_program_preset asan
	run_host_tests asan
	while IFS=: read -r suite_name suite_title; do
		count_suite "$suite_title, sanitizers" "$(preset_dir asan)" "$suite_name"
	done <<SUITES
$host_suites
SUITES
	count_step "every suite is counted" all_suites_counted "$(preset_dir asan)"
	count_step "every suite ended well" ended_well "$host_status"
}

# The cases with several threads; a data race ends the program with a status of its own.
test_host_threads() {
	build_program_target tsan threads_host
	threads_results=$(preset_dir tsan)/results/threads_host
	rm -f "$threads_results.xml"
	threads_status=0
	try_step "run the cases with several threads (tsan)" threads_host env TSAN_OPTIONS=halt_on_error=1 \
		"$root/tests/limited" "$threads_results.limit" "$(preset_dir tsan)/tests/host/threads_host" \
		"--gtest_output=xml:$threads_results.xml" || {
		threads_status=$?
		show_step
	}
	count_report "conformance with several threads, thread sanitizer" "$threads_results.xml"
	count_step "the cases with several threads ended well" ended_well "$threads_status"
}

# measure_coverage PROGRAM PROFILE: of the module, without what its headers bring for programs.
measure_coverage() {
	llvm-profdata merge "$2" -o "$2.data" || return 1
	set -- "$1" "-instr-profile=$2.data" -ignore-filename-regex=/uapi/ "$root/flash_mng_kernel"
	llvm-cov report "$@" >"$build_dir/coverage.txt" &&
		llvm-cov show -format=html -show-branches=count "-output-dir=$build_dir/coverage" "$@"
}

# coverage_is_whole <REPORT
coverage_is_whole() {
	awk '
		$1 == "Filename" { known = /Lines +Missed Lines +Cover +Branches +Missed Branches +Cover$/ }
		$1 == "TOTAL" {
			printf "lines %s, branches %s\n", $10, $13
			whole = known && $8 > 0 && $9 == 0 && $11 > 0 && $12 == 0
		}
		END { exit !whole }'
}

# coverage_text PROGRAM PROFILE
coverage_text() {
	rm -f "$build_dir/coverage.txt"
	measure_coverage "$@" 2>"$log_dir/llvm_cov.log" || {
		tail -n 15 "$log_dir/llvm_cov.log"
		return 1
	}
	coverage_is_whole <"$build_dir/coverage.txt" || {
		echo "all lines and all branches have to run; $build_dir/coverage/index.html shows which do not"
		cat "$build_dir/coverage.txt"
		return 1
	}
}

test_coverage() {
	build_program_target asan coverage_host
	coverage_program=$(preset_dir asan)/tests/host/coverage_host
	coverage_profile=$(preset_dir asan)/results/coverage_host.profile
	rm -f "$coverage_profile"
	cases_status=0
	coverage_limit=$(preset_dir asan)/results/coverage_host.limit
	try_step "run the cases on a core that counts" coverage_host env ASAN_OPTIONS="$asan_options" \
		LLVM_PROFILE_FILE="$coverage_profile" "$root/tests/limited" "$coverage_limit" "$coverage_program" --gtest_brief=1 || {
		cases_status=$?
		show_step
	}
	[ ! -s "$coverage_limit" ] || note_limit coverage_host
	count_step "the cases on a core that counts ended well" ended_well "$cases_status"
	count_step "coverage of the module's C++" coverage_text "$coverage_program" "$coverage_profile"
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

# The suites run on boards of one core: a board with two, on a busy host, spends half of its time on the turns of its own cores. The cases
# with several callers run once more with two. The debug kernel is slower: two boards share its cases. Parameters that Linux does not know
# are the first program's environment, which GoogleTest reads.
run_lane_1() {
	run_task debug-suite-1 debug full suite "$suite_time_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=0 maxcpus=1"
	run_task debug-cycles debug full cycles "$short_time_limit"
}

run_lane_2() {
	run_task debug-suite-2 debug full suite "$suite_time_limit" "GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=1 maxcpus=1"
	run_task production-cycles production full cycles "$short_time_limit"
	run_task production-foreign production full foreign "$short_time_limit"
	run_task production-modprobe production modprobe modprobe "$short_time_limit"
	run_task debug-fuzz debug fuzz fuzz "$short_time_limit" "$(fuzz_parameters "$short_fuzz_seconds" 1)"
}

run_lane_3() {
	run_task production-suite production full suite "$suite_time_limit" maxcpus=1
	run_task debug-concurrency debug full concurrency "$short_time_limit"
	run_task debug-leftovers debug full leftovers "$short_time_limit"
}

# Beside the boards, whose cores wait at times. It leaves its counts as a process of its own does, and so do the checks.
test_packages_beside() {
	total_passed=0 total_failed=0 total_skipped=0
	count_program packages_test "$root/tests/packages/packages_test.sh"
	test_package_build
	end_program packages
}

run_boards() {
	run_lane_1 &
	first_lane=$!
	run_lane_2 &
	second_lane=$!
	run_lane_3 &
	third_lane=$!
	(test_packages_beside) >"$log_dir/packages.log" 2>&1 &
	packages_lane=$!
	(checks_beside=tests && run_checks) >"$log_dir/checks.log" 2>&1 || true
	wait "$first_lane" "$second_lane" "$third_lane" "$packages_lane" || true
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

board_runs="production-suite debug-suite-1 debug-suite-2 production-cycles production-foreign production-modprobe debug-cycles
	debug-leftovers debug-concurrency debug-fuzz"

test_board() {
	build_program_target "$host_preset" flash-board
	configure_programs debug
	build_program_preset guest
	for test_flavour in production debug; do
		build_kernel "$test_flavour"
		build_modules "$test_flavour"
		build_lab "$test_flavour"
		build_initramfs "$test_flavour" full
	done
	build_fuzz_board
	build_modprobe_board
	announce production-full
	announce debug-full
	for test_run in $board_runs; do
		rm -rf "$build_dir/board/$test_run-run"
	done
	rm -f "$build_dir/results/checks" "$build_dir/results/packages"
	try_step "suite, load cycles, leftovers, several callers, fuzzed calls; checks, packages" boards run_boards
	for test_run in production-suite debug-suite-1 debug-suite-2; do
		count_report "conformance on the board, $test_run" "$build_dir/board/$test_run-run/results/conformance.xml"
	done
	for test_run in $board_runs; do
		count_task "$test_run"
	done
	count_step "the module's C in the production kernel" shims_ran "$build_dir/board/production-suite-run/results/shims"
	count_step "the module's C in the debug kernel" shims_ran "$build_dir"/board/debug-suite-*-run/results/shims
}

# add_beside NAME: shows and adds up what ran beside the boards.
add_beside() {
	cat "$log_dir/$1.log"
	add_counts "$1"
}

test_host() {
	say "on the host"
	test_host_sanitized
	test_host_threads
	test_coverage
}

run_tests() {
	host_preset=asan
	forget_limits
	test_host
	say "on the board"
	test_board
	add_beside packages
	test_bench
	add_beside checks
	show_total
}

run_host_tests_only() {
	forget_limits
	test_host
	show_total
}
