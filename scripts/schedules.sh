# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev schedules [--all | --replay N]: every schedule of callers that meet, on the host.
# ./dev sequences [LENGTH]: every sequence of operations up to that length, on the host.

# Each program of tests/schedules numbers its schedules in a range of its own: the module's from 0, that with the first patch of planted/
# from this number, and so on.
schedules_of_a_program=100000000000

# schedules_program_of NUMBER
schedules_program_of() {
	planted_index=$(($1 / schedules_of_a_program))
	[ "$planted_index" -gt 0 ] || {
		echo schedules
		return
	}
	planted_patch=$(find "$root/tests/schedules/planted" -name '*.patch' | LC_ALL=C sort | sed -n "${planted_index}p")
	[ -n "$planted_patch" ] || return 1
	echo "schedules_$(basename "$planted_patch" .patch)"
}

# run_schedules PROGRAM [WORD...]
run_schedules() {
	schedules_program=$1
	shift
	build_program_target asan "$schedules_program"
	ASAN_OPTIONS=$asan_options UBSAN_OPTIONS=print_stacktrace=1 attend "$(preset_dir asan)/tests/schedules/$schedules_program" "$@"
}

schedules_command() {
	case ${1-} in
	'' | --all) at_most 1 schedules "$@" ;;
	--replay)
		at_most 2 schedules "$@"
		case ${2-} in
		'' | *[!0-9]* | ???????????????*)
			usage_error "schedules: --replay needs the number of a schedule, as ./dev schedules prints it"
			;;
		esac
		;;
	*) usage_error "schedules: unknown word '$1'" ;;
	esac
	schedules_target=$(schedules_program_of "${2-0}") || die "there is no schedule ${2-}"
	hold_clone
	need_packages "$build_packages" "$host_packages" "$test_packages"
	run_schedules "$schedules_target" "$@"
}

# Without sanitizers: there are millions of them.
sequences_command() {
	at_most 1 sequences "$@"
	sequences_length=${1-4}
	whole_numbers sequences "$sequences_length"
	case $sequences_length in
	[1-8]) ;;
	*) usage_error "sequences: a length from 1 to 8 is needed" ;;
	esac
	hold_clone
	need_packages "$build_packages" "$host_packages" "$test_packages"
	build_program_target release sequences
	attend "$(preset_dir release)/tests/sequences/sequences" "$sequences_length"
}
