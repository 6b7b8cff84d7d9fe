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

# count_report TEXT FILE: adds one GoogleTest report and shows it; a report that is not there is one failure.
count_report() {
	if [ ! -s "$2" ]; then
		say "  FAIL  $1: no report; the program did not come to its end"
		add_results 0 1 0
		return 0
	fi
	report_summary=$(awk -f "$root/scripts/results.awk" "$2")
	# shellcheck disable=SC2046 # three numbers
	set -- "$1" $(printf '%s\n' "$report_summary" | head -n 1)
	add_results "$2" "$3" "$4"
	report_areas=$(printf '%s\n' "$report_summary" | sed -n '2,$ { /^!/ !s/\(.*\) \(.*\)/\1 \2,/p }' | tr '\n' ' ')
	[ -z "$report_areas" ] || report_areas="; cases that ran: ${report_areas%, }"
	say "  $([ "$3" -eq 0 ] && echo 'OK   ' || echo 'FAIL ') $1: $2 passed, $3 failed, $4 skipped$report_areas"
	printf '%s\n' "$report_summary" | sed -n 's/^! /        failed: /p'
}

# count_step TEXT COMMAND...: a step that passes when the command succeeds; a failed one shows what it wrote.
count_step() {
	count_text=$1
	shift
	if count_output=$("$@" 2>&1); then
		say "  OK    $count_text${count_output:+: $(printf '%s\n' "$count_output" | tail -n 1)}"
		add_results 1 0 0
	else
		say "  FAIL  $count_text"
		printf '%s\n' "$count_output" | tail -n 40 | sed 's/^/        /'
		add_results 0 1 0
	fi
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
	say ""
	say "$total_passed passed, $total_failed failed, $total_skipped skipped"
	[ "$total_failed" -eq 0 ] && [ "$total_passed" -gt 0 ]
}
