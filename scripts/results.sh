# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Adding up results: GoogleTest reports, and steps that pass or fail as a whole.

total_passed=0
total_failed=0
total_skipped=0

add_results() {
	total_passed=$((total_passed + $1))
	total_failed=$((total_failed + $2))
	total_skipped=$((total_skipped + $3))
}

# note_limit TEXT: remembers for the total that a limit of time ended something, which is no finding.
note_limit() {
	mkdir -p "$build_dir/results"
	printf '%s\n' "$1" >>"$build_dir/results/limits"
}

forget_limits() {
	rm -f "$build_dir/results/limits" "$build_dir/results/reports" "$build_dir/results/steps"
}

# note_result NAME LINE: remembers for the KTAP a report or a step; blanks and tabs as they are.
note_result() {
	mkdir -p "$build_dir/results"
	printf '%s\n' "$2" >>"$build_dir/results/$1"
}

# write_ktap: all that was counted since forget_limits.
write_ktap() {
	set --
	if [ -s "$build_dir/results/reports" ]; then
		while IFS='|' read -r ktap_run ktap_report; do
			set -- "$@" "run=$ktap_run" "$ktap_report"
		done <"$build_dir/results/reports"
	fi
	[ ! -s "$build_dir/results/steps" ] || set -- "$@" run= "$build_dir/results/steps"
	[ $# -eq 0 ] || awk -f "$root/scripts/ktap.awk" "$@" >"$build_dir/results/results.ktap"
}

# missing_report TEXT FILE: shows and adds a report that is not there, with the limit that ended the program where there is its mark.
missing_report() {
	missing_cause="the program did not come to its end"
	if [ -s "${2%.xml}.limit" ]; then
		missing_cause=$(cat "${2%.xml}.limit")
		note_limit "$(basename "$2" .xml)"
	fi
	say "  FAIL  $1: no report $(basename "$2"); $missing_cause"
	note_result steps "not ok $1: no report $(basename "$2")"
	add_results 0 1 0
}

# count_report TEXT FILE...: adds the GoogleTest reports of one suite and shows them; each that is not there is one failure.
count_report() {
	report_text=$1
	shift
	for report_file in "$@"; do
		shift
		if [ -s "$report_file" ]; then
			set -- "$@" "$report_file"
			note_result reports "$report_text|$report_file"
		else
			missing_report "$report_text" "$report_file"
		fi
	done
	[ $# -gt 0 ] || return 0
	report_summary=$(awk -f "$root/scripts/results.awk" "$@")
	# shellcheck disable=SC2046 # three numbers
	set -- "$report_text" $(printf '%s\n' "$report_summary" | head -n 1)
	add_results "$2" "$3" "$4"
	report_areas=$(printf '%s\n' "$report_summary" | sed -n '2,$ { /^!/ !s/\(.*\) \(.*\)/\1 \2,/p }' | tr '\n' ' ')
	[ -z "$report_areas" ] || report_areas="; cases that ran: ${report_areas%, }"
	say "  $([ "$3" -eq 0 ] && echo 'OK   ' || echo 'FAIL ') $1: $2 passed, $3 failed, $4 skipped$report_areas"
	printf '%s\n' "$report_summary" | sed -n 's/^! /        failed: /p'
}

# listed_cases PROGRAM: the cases that a test program has.
listed_cases() {
	"$1" --gtest_list_tests | awk '
		{ sub(/  #.*/, "") }
		/^[^ ]/ { suite = $0 }
		/^  / { print suite substr($0, 3) }' | LC_ALL=C sort
}

# reported_cases FILE...
reported_cases() {
	sed -n 's/^ *<testcase name="\([^"]*\)".* classname="\([^"]*\)".*/\2.\1/p' "$@" | LC_ALL=C sort
}

# all_cases_reported PROGRAM FILE...: each of its cases is in one of the reports, once.
all_cases_reported() {
	make_folder "$build_dir/results"
	listed_cases "$1" >"$build_dir/results/listed_cases"
	shift
	reported_cases "$@" >"$build_dir/results/reported_cases"
	[ -s "$build_dir/results/listed_cases" ] || {
		echo "the program lists no cases"
		return 1
	}
	diff "$build_dir/results/listed_cases" "$build_dir/results/reported_cases"
}

# count_suite TEXT FOLDER PROGRAM: adds the reports of all shares of a suite (cmake/suites.cmake) that ran in that build folder.
count_suite() {
	suite_text=$1
	suite_results=$2/results/$3
	read -r suite_shards suite_program <"$2/suites/$3"
	set --
	while [ $# -lt "$suite_shards" ]; do
		set -- "$@" "$suite_results.$(($# + 1)).xml"
	done
	count_report "$suite_text" "$@"
	[ $# -eq 1 ] || count_step "$suite_text: $# reports have each case once" all_cases_reported "$suite_program" "$@"
}

# count_step TEXT COMMAND...: a step that passes when the command succeeds; a failed one shows what it wrote.
count_step() {
	count_text=$1
	shift
	make_folder "$log_dir"
	if attend "$@" >"$log_dir/counted.log" 2>&1; then
		count_figure=$(tail -n 1 "$log_dir/counted.log")
		say "  OK    $count_text${count_figure:+: $count_figure}"
		note_result steps "ok $count_text"
		add_results 1 0 0
	else
		say "  FAIL  $count_text"
		note_result steps "not ok $count_text"
		tail -n 40 "$log_dir/counted.log" | sed 's/^/        /'
		add_results 0 1 0
	fi
}

# leave_out TEXT REASON: a step that the tests have no room for.
leave_out() {
	say "  SKIP  $1: $2"
	note_result steps "ok $1 # SKIP $2"
	add_results 0 0 1
}

# A test program of its own process ends with end_program NAME, which leaves what it counted in build/results/NAME.
end_program() {
	mkdir -p "$build_dir/results"
	echo "$total_passed $total_failed $total_skipped" >"$build_dir/results/$1"
	[ "$total_failed" -eq 0 ] && [ "$total_passed" -gt 0 ]
}

# add_counts NAME: adds what a process left in build/results/NAME; one that left nothing did not come to its end, which is a failure.
add_counts() {
	[ -s "$build_dir/results/$1" ] || {
		say "  FAIL  $1 did not come to its end"
		note_result steps "not ok $1 came to its end"
		echo "0 1 0" >"$build_dir/results/$1"
	}
	read -r counted_passed counted_failed counted_skipped <"$build_dir/results/$1"
	add_results "$counted_passed" "$counted_failed" "$counted_skipped"
}

# count_program NAME COMMAND...: runs a test program, which shows its own lines, and adds what it counted.
count_program() {
	program_name=$1
	shift
	mkdir -p "$build_dir/results"
	rm -f "$build_dir/results/$program_name"
	"$@" || true
	add_counts "$program_name"
}

# Last line of ./dev test; returns whether all is well.
show_total() {
	write_ktap
	say ""
	say "it took $(seconds_since "$command_start")"
	[ ! -s "$build_dir/results/limits" ] ||
		say "ended by a limit of time and not by a check: $(paste -s -d , "$build_dir/results/limits" | sed 's/,/, /g')"
	say "$total_passed passed, $total_failed failed, $total_skipped skipped"
	[ "$total_failed" -eq 0 ] && [ "$total_passed" -gt 0 ]
}
