#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Tests of ./dev itself: several commands at the same time, commands that are ended half-way, machines without room or network. A copy of
# the clone's scripts runs with stand-ins for all that builds, fetches and emulates: each phase takes no time, and can be stopped half-way.

set -eu
# A shell cannot take back what its caller has it ignore, and behind nohup or in a background without job control these are ignored.
if [ -z "${DEV_TEST_SIGNALS-}" ]; then
	DEV_TEST_SIGNALS=default exec env --default-signal=HUP,INT,QUIT,TERM "$0" "$@"
fi
unset DEV_TEST_SIGNALS
dev_tests=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd)
dev_source=${dev_tests%/tests/dev}
dev_scratch=$(mktemp -d "${TMPDIR:-/tmp}/flash_mng_dev.XXXXXX")

export XDG_CACHE_HOME="$dev_scratch/cache" STAND_IN_PLACES="$dev_scratch/places"
unset KERNEL_SOURCE

# marked: processes that a command of these tests started and that are still there.
marked() {
	grep -lszxF "DEV_TEST_COMMAND=$dev_scratch" /proc/[0-9]*/environ | sed 's,/proc/\([0-9]*\)/environ,\1,'
}

end_test() {
	# shellcheck disable=SC2046 # numbers
	[ -z "$(marked)" ] || kill -s KILL $(marked) 2>/dev/null || true
	rm -rf "$dev_scratch"
}
trap end_test EXIT
trap 'exit 1' HUP INT TERM

dev_wrong() {
	echo "$test_case: $*"
	sed 's/^/        | /' "$dev_scratch"/*.output 2>/dev/null | tail -n 20
	echo "$test_case" >>"$dev_scratch/failures"
}

# new_clone NAME: a folder with the scripts and what the initramfs takes of the clone.
new_clone() {
	mkdir -p "$dev_scratch/$1/tests"
	for part in dev scripts board reference_platform flash_mng_kernel simulation CMakePresets.json VERSION; do
		cp -a "$dev_source/$part" "$dev_scratch/$1/"
	done
	for staged in tests/powercut/client bench/kernel tests/torture/calls tests/guest/lab; do
		mkdir -p "$dev_scratch/$1/$staged"
	done
	cp -a "$dev_source/tests/gate" "$dev_source/tests/packages" "$dev_source/tests/limited" "$dev_scratch/$1/tests/"
}

make_stand_ins() {
	mkdir "$dev_scratch/bin"
	for stand_in in apt-get dpkg-query dpkg dpkg-deb tar make cmake ctest aarch64-linux-gnu-gcc qemu-system-aarch64; do
		ln -s "$dev_tests/stand_in" "$dev_scratch/bin/$stand_in"
	done
	PATH=$dev_scratch/bin:$PATH
}

# start NAME CLONE COMMAND...: in a process group of its own and with signals as a terminal gives them; sets NAME_pid.
start() {
	start_name=$1
	start_clone=$2
	shift 2
	(cd "$dev_scratch/$start_clone" && DEV_TEST_COMMAND=$dev_scratch exec setsid env --default-signal=INT "$@") \
		>"$dev_scratch/$start_name.output" 2>&1 </dev/null &
	echo $! >"$dev_scratch/$start_name.pid"
}

pid_of() {
	cat "$dev_scratch/$1.pid"
}

# status_of PID
status_of() {
	ended_status=0
	wait "$1" || ended_status=$?
	echo "$ended_status" >"$dev_scratch/status"
}

# ends_with STATUS PID
ends_with() {
	status_of "$2"
	[ "$ended_status" -eq "$1" ] || dev_wrong "status $ended_status instead of $1"
}

# until_true COMMAND...: for half a minute.
until_true() {
	tries=0
	until "$@" >/dev/null 2>&1; do
		tries=$((tries + 1))
		[ "$tries" -lt 3000 ] || {
			dev_wrong "not in five minutes: $*"
			return 0
		}
		sleep 0.1
	done
}

output_of() {
	grep -qF -- "$2" "$dev_scratch/$1.output"
}

output_has() {
	output_of "$@" || dev_wrong "$1 does not say '$2'"
}

nothing_runs() {
	[ -z "$(marked)" ]
}

# nothing_left: after a command's end nothing of it runs and every lock is free.
nothing_left() {
	until_true nothing_runs
	find "$dev_scratch" -name lock -o -name '*.lock' | while IFS= read -r lock; do
		flock -n "$lock" true || echo "$lock"
	done >"$dev_scratch/held"
	[ ! -s "$dev_scratch/held" ] || dev_wrong "locked: $(cat "$dev_scratch/held")"
}

nothing_half() {
	if grep -rlx half "$dev_scratch/clone/build" "$XDG_CACHE_HOME"; then
		dev_wrong "half-made files were taken for whole ones"
	fi
}

begin_case() {
	test_case=$1
	echo "$1" >>"$dev_scratch/cases"
	rm -rf "$dev_scratch"/*.output "$STAND_IN_PLACES" "$dev_scratch/go"
}

reached() {
	grep -qsx "$1" "$STAND_IN_PLACES"
}

# reached_times PLACE
reached_times() {
	grep -cx "$1" "$STAND_IN_PLACES" || true
}

# boards_reached COUNT
boards_reached() {
	[ "$(reached_times board)" -eq "$1" ]
}

# ---- ended half-way

# interrupt PLACE SIGNAL STATUS TARGET: ends a command by a signal to it, or as a terminal does to all of its group.
interrupt() {
	begin_case "SIG$2 to the $4 in the phase $1"
	rm -rf "$dev_scratch/clone/build" "$XDG_CACHE_HOME"
	STAND_IN_STOPS=$1 start first clone ./dev demo
	until_true reached "$1"
	case $4 in
	command) kill -s "$2" "$(pid_of first)" ;;
	group) kill -s "$2" -- "-$(pid_of first)" ;;
	esac
	ends_with "$3" "$(pid_of first)"
	nothing_left
	start again clone ./dev demo
	ends_with 0 "$(pid_of again)"
	nothing_half
}

interrupted_tests() {
	begin_case "SIGINT while ctest runs"
	mkdir -p "$dev_scratch/clone/build"
	cat >"$dev_scratch/clone/tests_only" <<'PART'
set -eu
root=$PWD
. scripts/common.sh
hold_clone
run_step "run tests" ctest ctest
PART
	STAND_IN_STOPS=ctest start first clone sh ./tests_only
	until_true reached ctest
	kill -s INT "$(pid_of first)"
	ends_with 130 "$(pid_of first)"
	nothing_left
}

# A killed command can end nothing; what it started keeps its lock, so that nobody builds beside it.
killed() {
	begin_case "SIGKILL"
	rm -rf "$dev_scratch/clone/build"
	STAND_IN_STOPS=modules start first clone ./dev demo
	until_true reached modules
	kill -s KILL "$(pid_of first)"
	status_of "$(pid_of first)"
	start again clone ./dev demo
	until_true grep -qF "what process $(pid_of first) (./dev demo) left running" "$dev_scratch/again.output"
	# shellcheck disable=SC2046 # numbers
	kill -s TERM $(pgrep -x sleep | grep -xF "$(marked)") 2>/dev/null || true
	ends_with 0 "$(pid_of again)"
	nothing_half
}

# ---- at the same time

two_in_one_clone() {
	begin_case "two in one clone"
	STAND_IN_BOARD_AWAITS=$dev_scratch/go start first clone ./dev demo
	until_true grep -q "^$(pid_of first) " "$dev_scratch/clone/build/lock"
	STAND_IN_BOARD_AWAITS=$dev_scratch/go start second clone ./dev demo -v
	until_true boards_reached 2
	touch "$dev_scratch/go"
	ends_with 0 "$(pid_of first)"
	ends_with 0 "$(pid_of second)"
	output_has second "waiting for process $(pid_of first) (./dev demo): it is at work on $dev_scratch/clone/build"
	for run in demo-run demo-run-2; do
		[ -f "$dev_scratch/clone/build/board/$run/results/status" ] || dev_wrong "no run of its own: $run"
	done
	boards_reached 2 || dev_wrong "$(reached_times board) boards"
	nothing_left
}

two_clones() {
	begin_case "two clones with one cache"
	rm -rf "$XDG_CACHE_HOME" "$dev_scratch/clone/build"
	new_clone other
	start first clone ./dev demo
	start second other ./dev demo
	ends_with 0 "$(pid_of first)"
	ends_with 0 "$(pid_of second)"
	[ "$(reached_times kernel) $(reached_times unpack)" = "1 1" ] || dev_wrong "the kernel was made more than once"
	nothing_left
	nothing_half
}

# A kernel is known by what it is built of, whatever the folder was called.
kernel_of_another_name() {
	begin_case "a kernel that was built under another name"
	for kernel_folder in "$XDG_CACHE_HOME"/flash_mng/kernels/production-*[!k]; do
		mv "$kernel_folder" "${kernel_folder%/*}/other-${kernel_folder##*-}"
	done
	start first clone ./dev demo
	ends_with 0 "$(pid_of first)"
	! reached kernel || dev_wrong "the kernel was made again"
}

clean_waits() {
	begin_case "clean beside a run"
	STAND_IN_BOARD_AWAITS=$dev_scratch/go start first clone ./dev demo
	until_true reached board
	start second clone ./dev clean
	until_true grep -q "it uses" "$dev_scratch/second.output"
	touch "$dev_scratch/go"
	ends_with 0 "$(pid_of first)"
	ends_with 0 "$(pid_of second)"
	output_has second "waiting for process $(pid_of first) (./dev demo): it uses"
	[ ! -e "$dev_scratch/clone/build" ] || dev_wrong "build/ is still there"
}

# A person's console on the board that a long command has built and still uses.
shell_beside() {
	begin_case "a shell beside tests"
	start first clone ./dev demo
	ends_with 0 "$(pid_of first)"
	cp "$dev_scratch/clone/build/board/production-demo.cpio.gz" "$dev_scratch/clone/build/board/production-full.cpio.gz"
	cat >"$dev_scratch/clone/long" <<'PART'
set -eu
root=$PWD
. scripts/common.sh
name_command ./dev test
hold_clone
until grep -qs 'waiting for' ../shell.output && grep -qs 'waiting for' ../other.output; do sleep 0.1; done
announce production-full
attend sleep 1000
PART
	start long clone sh ./long
	until_true grep -q "$(pid_of long)" "$dev_scratch/clone/build/lock"
	STAND_IN_BOARD_AWAITS=$dev_scratch/go start shell clone ./dev shell
	STAND_IN_BOARD_AWAITS=$dev_scratch/go start other clone ./dev shell
	until_true boards_reached 3
	touch "$dev_scratch/go"
	ends_with 0 "$(pid_of shell)"
	ends_with 0 "$(pid_of other)"
	output_has shell "waiting for process $(pid_of long) (./dev test)"
	output_has shell "the board is the one that process $(pid_of long) (./dev test) has built"
	[ "$(cat "$dev_scratch"/shell.output "$dev_scratch"/other.output | grep -c "which is not kept")" -eq 1 ] ||
		dev_wrong "one NOR flash for two"
	kill -s INT "$(pid_of long)"
	ends_with 130 "$(pid_of long)"
	nothing_left
}

is_locked() {
	! flock -n "$1" true
}

# The lock goes from one command to the next, which has not written its name yet: the file still says what the first has built.
shell_after() {
	begin_case "a shell beside a command that has just begun"
	start first clone ./dev demo
	ends_with 0 "$(pid_of first)"
	ended_command=$(sh -c 'echo $$')
	printf '%s ./dev test\nbuilt production-full\n' "$ended_command" >"$dev_scratch/clone/build/lock"
	start next clone flock build/lock sleep 1000
	until_true is_locked "$dev_scratch/clone/build/lock"
	start shell clone ./dev shell
	until_true output_of shell "waiting for what process $ended_command (./dev test) left running"
	! output_of shell "has built" || dev_wrong "it takes what is being built"
	kill -s INT "$(pid_of shell)" || true
	ends_with 130 "$(pid_of shell)"
	kill -s KILL -- "-$(pid_of next)"
	status_of "$(pid_of next)"
	nothing_left
}

# make cannot work in such a folder, and says so in other words.
blank_in_path() {
	begin_case "a clone with a blank in its path"
	new_clone "with blank"
	for blank_command in demo build test clean; do
		start blank "with blank" ./dev "$blank_command"
		blank_status=1
		[ "$blank_command" != clean ] || blank_status=0
		ends_with "$blank_status" "$(pid_of blank)"
		[ "$blank_command" = clean ] || output_has blank "the kernel's build takes no blank"
	done
}

# ---- words that mean nothing

# refuses_line WORDS TEXT: a usage error that says so, before anything is begun.
refuses_line() {
	: >"$dev_scratch/clone/build/kept"
	# shellcheck disable=SC2086 # words
	start refused clone ./dev $1
	ends_with 2 "$(pid_of refused)"
	output_has refused "dev: $2"
	[ ! -e "$STAND_IN_PLACES" ] || dev_wrong "'./dev $1' began: $(cat "$STAND_IN_PLACES")"
	[ -e "$dev_scratch/clone/build/kept" ] || dev_wrong "'./dev $1' removed the build"
}

refused_words() {
	begin_case "words that a command does not take"
	mkdir -p "$dev_scratch/clone/build"
	refuses_line 'clean everything' "clean: unknown option 'everything'"
	refuses_line 'clean --cach' "clean: unknown option '--cach'"
	refuses_line 'clean --cache more' "clean: unknown word 'more'"
	refuses_line 'test --hots' "test: unknown option '--hots'"
	refuses_line 'build now' "build: unknown word 'now'"
	refuses_line 'cleen' "unknown command 'cleen'"
	for timed_command in torture powercut fuzz twin; do
		refuses_line "$timed_command 0" "$timed_command: a run of 0 minutes shows nothing"
		refuses_line "$timed_command 1x" "$timed_command: '1x' is not a whole number of at most 9 digits"
		refuses_line "$timed_command 10081" "$timed_command: 10081 minutes are more than a week"
	done
	refuses_line 'torture 1 2 3 4' "torture: unknown word '4'"
	rm -r "$dev_scratch/clone/build"
}

# ---- what the machine lacks

# lacks PLACE TEXT WORD...: a failure whose output is the text is explained by the words.
lacks() {
	begin_case "failure in the phase $1: $2"
	rm -rf "$dev_scratch/clone/build" "$XDG_CACHE_HOME"
	STAND_IN_FAILS=$1 STAND_IN_SAYS=$2 start first clone ./dev demo
	status_of "$(pid_of first)"
	[ "$ended_status" -eq 1 ] || dev_wrong "status $ended_status"
	shift 2
	for words in "$@"; do
		output_has first "$words"
	done
	nothing_left
	start again clone ./dev demo
	ends_with 0 "$(pid_of again)"
	nothing_half
}

# full FOLDER SIZE: a disk of that size for the folder.
full() {
	begin_case "a disk of $2 for $1"
	rm -rf "$dev_scratch/clone/build" "$XDG_CACHE_HOME"
	mkdir -p "$1"
	start first clone unshare -rm sh -c "mount -t tmpfs -o size=$2 none $1 && exec ./dev demo"
	ends_with 1 "$(pid_of first)"
	output_has first "space left: "
	output_has first " 0 MiB for $1"
	nothing_left
}

# Any other failure is not explained so.
fails_for_itself() {
	begin_case "a failure of the build itself"
	rm -rf "$dev_scratch/clone/build"
	STAND_IN_FAILS=build STAND_IN_SAYS="syntax error" start first clone ./dev demo
	ends_with 1 "$(pid_of first)"
	output_has first "syntax error"
	output_has first "failed with status 1; the whole log is"
	! grep -q 'disk is full\|archive' "$dev_scratch/first.output" || dev_wrong "blames the machine"
}

# ---- sources of a kernel that are none

# refuses_source NAME TEXT: KERNEL_SOURCE is that file or folder of the scratch; one sentence says what is wrong with it.
refuses_source() {
	begin_case "a kernel source that $2"
	KERNEL_SOURCE=$dev_scratch/$1 start source clone ./dev demo
	ends_with 1 "$(pid_of source)"
	output_has source "dev: "
	output_has source "$2"
	! reached kernel || dev_wrong "a kernel was built of it"
}

wrong_sources() {
	refuses_source nothing "is neither a folder nor a file; give a source tree or tarball of Linux 5.10 6.1 6.12 7.2"
	mkdir "$dev_scratch/tree"
	refuses_source tree "is not a Linux source tree"
	mkdir "$dev_scratch/tree/init"
	touch "$dev_scratch/tree/init/main.c"
	for unknown_version in 5.4.302 6.6.1 7.3.0-rc1; do
		STAND_IN_VERSION=$unknown_version refuses_source tree \
			"is Linux $unknown_version; flash_mng is made for 5.10 6.1 6.12 7.2"
	done
	touch "$dev_scratch/tree/.config"
	refuses_source tree "itself: 'make mrproper' there"
	rm "$dev_scratch/tree/.config"
	begin_case "a kernel source of another version"
	KERNEL_SOURCE=$dev_scratch/tree STAND_IN_VERSION=6.12.1 start source clone ./dev demo
	ends_with 0 "$(pid_of source)"
	grep -h EXPERT "$XDG_CACHE_HOME"/flash_mng/kernels/*/.config | grep -qx CONFIG_EXPERT=y || dev_wrong "not configured for 6.12"
}

# ---- functions as steps

# A command that fails within a step or a check does not end it: what finds nothing is no failure.
goes_on() {
	begin_case "a step that goes on"
	cat >"$dev_scratch/clone/steps" <<'PART'
set -eu
root=$PWD
. scripts/common.sh
. scripts/check.sh
. scripts/results.sh
finds_nothing() {
	findings=$(grep nothing /dev/null)
	[ -z "$findings" ] && echo "went on"
}
ends_badly() {
	return 3
}
checks_passed=0
checks_failed=0
run_step "a step" step finds_nothing
check one "a check" finds_nothing
count_step "a counted step" finds_nothing
count_step "a bad step" ends_badly
exit "$checks_failed"
PART
	start first clone sh ./steps
	ends_with 0 "$(pid_of first)"
	output_has first "  a step: "
	output_has first "OK    a check: went on"
	output_has first "OK    a counted step: went on"
	output_has first "FAIL  a bad step"
}

# One check by its name, for which nothing is built.
one_check() {
	begin_case "one check"
	git -C "$dev_scratch/clone" init -q
	echo ': >made' >"$dev_scratch/clone/scripts/unlicensed.sh"
	start first clone ./dev check licence
	ends_with 1 "$(pid_of first)"
	output_has first "FAIL  licence line"
	output_has first "1 of 1 checks failed, in "
	rm "$dev_scratch/clone/scripts/unlicensed.sh"
	start first clone ./dev check licence
	ends_with 0 "$(pid_of first)"
	output_has first "all 1 checks passed, in "
	[ ! -e "$STAND_IN_PLACES" ] || dev_wrong "builds $(cat "$STAND_IN_PLACES")"
	start first clone ./dev check licence unheard_of
	ends_with 2 "$(pid_of first)"
	output_has first "there is no 'unheard_of'; there are: constructors runtime"
}

# ---- limits of time, and reports that are not there

# limited_to LIMITS STATUS TEXT COMMAND...: tests/limited ends the command with that status and leaves the text.
limited_to() {
	begin_case "limits '$1': $4"
	limited_by=$1
	limited_status=$2
	limited_text=$3
	shift 3
	DEV_TEST_COMMAND=$dev_scratch FLASH_MNG_LIMITS=$limited_by "$dev_source/tests/limited" "$dev_scratch/mark" "$@" 2>/dev/null &
	ends_with "$limited_status" $!
	[ "$(cat "$dev_scratch/mark" 2>/dev/null)" = "$limited_text" ] || dev_wrong "says '$(cat "$dev_scratch/mark")'"
}

board_limited() {
	begin_case "a board that works for ever"
	STAND_IN_SPINS=board start first clone board/run --kernel kernel --initramfs initramfs --task none --output run --time-limit 1
	ends_with 100 "$(pid_of first)"
	output_has first "killed at its limit of 1 s of processor time"
}

# report_of CASE...
report_of() {
	echo "<testsuites tests=\"$#\" failures=\"0\" disabled=\"0\" errors=\"0\" time=\"0\" name=\"AllTests\">"
	for reported_case in "$@"; do
		echo "<testcase name=\"$reported_case\" status=\"run\" result=\"completed\" time=\"0\" classname=\"all/frame\" />"
	done
}

# Two shares of a suite of three cases; the second one says what the file given holds, or nothing.
count_shares() {
	mkdir -p "$dev_scratch/host/suites" "$dev_scratch/host/results"
	printf '#!/bin/sh\nprintf "all/frame.\\n  one/0  # GetParam() = 1\\n  two/0\\n  three/0\\n"\n' >"$dev_scratch/host/program"
	chmod +x "$dev_scratch/host/program"
	echo "2 $dev_scratch/host/program" >"$dev_scratch/host/suites/shared"
	report_of one/0 two/0 >"$dev_scratch/host/results/shared.1.xml"
	cat >"$dev_scratch/clone/count_shares" <<'PART'
set -eu
root=$PWD
. scripts/common.sh
. scripts/results.sh
forget_limits
count_suite "a suite" "$1" shared
show_total
PART
	start first clone sh ./count_shares "$dev_scratch/host"
	ends_with "$1" "$(pid_of first)"
}

shares() {
	begin_case "shares of a suite"
	mkdir -p "$dev_scratch/host/results"
	report_of three/0 >"$dev_scratch/host/results/shared.2.xml"
	count_shares 0
	output_has first "4 passed, 0 failed, 0 skipped"

	begin_case "a share that a limit ended"
	rm "$dev_scratch/host/results/shared.2.xml"
	echo "ended at its limit of 1 s" >"$dev_scratch/host/results/shared.2.limit"
	count_shares 1
	output_has first "no report shared.2.xml; ended at its limit of 1 s"
	output_has first "2 passed, 2 failed, 0 skipped"
	tail -n 2 "$dev_scratch/first.output" | grep -qx 'ended by a limit of time and not by a check: shared.2' ||
		dev_wrong "does not say so above the total"

	begin_case "a share that ran twice"
	rm "$dev_scratch/host/results/shared.2.limit"
	report_of two/0 >"$dev_scratch/host/results/shared.2.xml"
	count_shares 1
	output_has first "> all/frame.two/0"
	output_has first "< all/frame.three/0"
}

make_stand_ins
new_clone clone
limited_to "1 900" 152 "ended at its limit of 1 s of processor time" sh -c 'while :; do :; done'
limited_to "900 1" 124 "ended at its limit of 1 s" sleep 1000
limited_to "900 900" 3 "" sh -c 'exit 3'
board_limited
shares
goes_on
one_check
refused_words
for place in download unpack kernel modules configure build board; do
	interrupt "$place" INT 130 command
done
interrupt kernel INT 130 group
interrupt board TERM 143 group
interrupt modules HUP 129 command
interrupted_tests
killed
two_in_one_clone
two_clones
kernel_of_another_name
clean_waits
shell_beside
shell_after
blank_in_path
for place in unpack kernel modules build; do
	lacks "$place" "cannot write: No space left on device" "the disk is full" "MiB for $dev_scratch/clone/build" "clean --cache"
done
if unshare -rm true 2>/dev/null; then
	full "$dev_scratch/clone/build" 64k
	full "$dev_scratch/clone/build" 4m
	full "$XDG_CACHE_HOME/flash_mng" 16k
else
	echo "no cases with disks of their own: this machine lets nobody mount any"
fi
lacks update "Err: Could not resolve 'archive.invalid'" "a package archive cannot be reached: Could not resolve" "Acquire::http::Proxy"
fails_for_itself
wrong_sources
echo "$(wc -l <"$dev_scratch/cases") cases"
[ ! -e "$dev_scratch/failures" ]
