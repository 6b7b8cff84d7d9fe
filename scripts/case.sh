# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev case: some cases, and nothing built that they do not need.

# Folders below tests/ and the programs of the host that their cases are in. Those of guest/ run on the board only.
case_programs="conformance:conformance_host
host:host_tests
faults:faults_host
completeness:completeness_host
powercut:powercut_host
powercut:powercut_updates
powercut:powercut_tests
schedules:schedules_host
sequences:sequences_host
flash_board:flash_board_tests
flashctl:flashctl_tests
tools_common:tools_common_tests
docs:docs_tests
guest:"

# case_names FOLDER: its cases as GoogleTest calls them; those with parameters are named more than once there.
case_names() {
	find "$root/tests/$1" -name '*.cpp' -exec cat {} + | tr '\n' ' ' |
		grep -oE 'TEST(_[FP])?\([[:space:]]*[a-z0-9_]+,[[:space:]]*[a-z0-9_]+\)' |
		sed 's/^[A-Z_]*([[:space:]]*//; s/,[[:space:]]*/./; s/)$//'
}

# case_pattern WORD: a word without a dot or a star is looked for anywhere in the names.
case_pattern() {
	case $1 in
	*[.*?:]*) echo "$1" ;;
	*) echo "*$1*" ;;
	esac
}

# fits_pattern NAME: by the first pattern of case_filter, whose instance of a case with parameters does not matter.
fits_pattern() {
	fitting_pattern=${case_filter%%[:-]*}
	fitting_pattern=${fitting_pattern#*/}
	# shellcheck disable=SC2254 # it is a pattern
	case $1 in
	${fitting_pattern%%/*} | $fitting_pattern) return 0 ;;
	esac
	return 1
}

# has_fitting_case FOLDER
has_fitting_case() {
	for case_name in $(case_names "$1"); do
		! fits_pattern "$case_name" || return 0
	done
	return 1
}

# programs_of_cases: those with a case that fits.
programs_of_cases() {
	printf '%s\n' "$case_programs" | while IFS=: read -r case_folder listed_program; do
		! has_fitting_case "$case_folder" || echo "${listed_program:-board}"
	done
}

# run_host_case PROGRAM: shows what the program says.
run_host_case() {
	build_program_target asan "$1"
	case_path=$(find "$(preset_dir asan)" -type f -name "$1" -perm -u+x)
	(cd "$root" && ASAN_OPTIONS=$asan_options UBSAN_OPTIONS=print_stacktrace=1 attend "$case_path" "--gtest_filter=$case_filter" \
		--gtest_brief=1)
}

host_cases() {
	need_packages "$build_packages" "$host_packages" "$test_packages"
	case_list=$(programs_of_cases)
	[ -n "$case_list" ] || die "no case is named like '$case_filter'; see the TEST lines below tests/"
	[ "$case_list" != board ] || die "'$case_filter' runs on the board only: ./dev case --board '$case_filter'"
	host_cases_status=0
	for case_program in $case_list; do
		[ "$case_program" = board ] || run_host_case "$case_program" || host_cases_status=1
	done
	return "$host_cases_status"
}

board_cases() {
	need_packages "$build_packages" "$host_packages"
	build_kernel production
	build_modules production
	build_lab production
	build_program_target debug flash-board
	build_program_preset guest
	build_initramfs production full
	own_run case
	keep_initramfs production full
	release_clone
	board_cases_status=0
	attend run_board production full suite --output "$run_dir" --time-limit "$short_time_limit" \
		--append "GTEST_FILTER=$case_filter maxcpus=1" || board_cases_status=$?
	grep -vE '^\[ +OK \]|^\[-+\]|^\[ RUN' "$run_dir/terminal.log" | tail -n 40
	[ "$board_cases_status" -eq 0 ] || say "the board's console is in $run_dir/console.log"
	return "$board_cases_status"
}

# case_command [--board] PATTERN
case_command() {
	case_world=host
	if [ "${1-}" = --board ]; then
		case_world=board
		shift
	fi
	[ $# -gt 0 ] || usage_error "case: a pattern of GoogleTest is needed, like 'frame_load.*', or a part of a case's name"
	at_most 1 case "$@"
	case_filter=$(case_pattern "$1")
	hold_clone
	case_status=0
	"${case_world}_cases" || case_status=$?
	say "$(seconds_since "$command_start")"
	return "$case_status"
}
