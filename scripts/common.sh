# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Folders, messages, and long steps that show how they are doing.

build_dir=$root/build
log_dir=$build_dir/logs
cache_dir=${XDG_CACHE_HOME:-$HOME/.cache}/flash_mng
jobs=$(nproc 2>/dev/null || echo 2)

say() {
	printf '%s\n' "$*"
}

# Says what was wrong and what to do, and ends the command.
die() {
	printf 'dev: %s\n' "$*" >&2
	exit 1
}

usage_error() {
	printf 'dev: %s\n\n' "$1" >&2
	usage >&2
	exit 2
}

have() {
	command -v "$1" >/dev/null 2>&1
}

# seconds_text SECONDS: 75 -> 1m15s
seconds_text() {
	if [ "$1" -ge 60 ]; then
		printf '%dm%02ds' $(($1 / 60)) $(($1 % 60))
	else
		printf '%ds' "$1"
	fi
}

# Reports on the running step: one line that is updated on a terminal, otherwise a line every 20 seconds.
show_progress() {
	progress_start=$(date +%s)
	while sleep 1; do
		progress_elapsed=$(($(date +%s) - progress_start))
		if [ -t 1 ]; then
			printf '\r  %s ... %s ' "$1" "$(seconds_text "$progress_elapsed")"
		elif [ $((progress_elapsed % 20)) -eq 0 ]; then
			printf '  %s ... %s\n' "$1" "$(seconds_text "$progress_elapsed")"
		fi
	done
}

progress_pid=

stop_progress() {
	[ -n "$progress_pid" ] || return 0
	kill "$progress_pid" 2>/dev/null || true
	wait "$progress_pid" 2>/dev/null || true
	progress_pid=
	[ ! -t 1 ] || printf '\r\033[K'
}

trap stop_progress EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# try_step TEXT LOG COMMAND...: runs the command with its output in build/logs/LOG.log; returns its status.
try_step() {
	step_text=$1
	step_log=$log_dir/$2.log
	shift 2
	mkdir -p "$log_dir"
	step_start=$(date +%s)
	show_progress "$step_text" &
	progress_pid=$!
	step_status=0
	"$@" >"$step_log" 2>&1 </dev/null || step_status=$?
	stop_progress
	if [ "$step_status" -eq 0 ]; then
		say "  $step_text: $(seconds_text $(($(date +%s) - step_start)))"
	fi
	return "$step_status"
}

# run_step TEXT LOG COMMAND...: as try_step, but a failure ends the command and shows the end of the log.
run_step() {
	try_step "$@" || step_failed
}

step_failed() {
	printf -- '---- last lines of %s\n' "$step_log" >&2
	tail -n 30 "$step_log" >&2
	die "$step_text: failed with status $step_status; the whole log is $step_log"
}

# hash_of: a short hash of standard input.
hash_of() {
	sha256sum | cut -c 1-16
}

# with_lock FILE COMMAND...: runs the command while no other clone holds the same lock.
with_lock() {
	lock_file=$1
	shift
	mkdir -p "$(dirname "$lock_file")"
	exec 9>"$lock_file"
	if ! flock -n 9; then
		say "  another ./dev is at work on $(dirname "$lock_file"); waiting for it"
		flock 9
	fi
	"$@"
	exec 9>&-
}
