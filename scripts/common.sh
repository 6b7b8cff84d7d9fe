# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Folders, messages, and long steps that show how they are doing.

build_dir=$root/build
log_dir=$build_dir/logs
cache_dir=${XDG_CACHE_HOME:-$HOME/.cache}/flash_mng
jobs=$(nproc 2>/dev/null || echo 2)

# shellcheck source=scripts/processes.sh
. "$root/scripts/processes.sh"
# shellcheck source=scripts/locks.sh
. "$root/scripts/locks.sh"

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

# seconds_since TIME
seconds_since() {
	seconds_text $(($(date +%s) - $1))
}

command_start=$(date +%s)

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
	# A shell that was just started may drop a signal that it was to handle.
	kill -s KILL "$progress_pid" 2>/dev/null || true
	wait "$progress_pid" 2>/dev/null || true
	progress_pid=
	[ ! -t 1 ] || printf '\r\033[K'
}

# begin_step TEXT LOG: says that it runs, until end_step STATUS.
begin_step() {
	step_text=$1
	step_log=$log_dir/$2.log
	make_folder "$log_dir"
	step_start=$(date +%s)
	show_progress "$step_text" 5>&- 6>&- 7>&- 8>&- 9>&- &
	progress_pid=$!
}

end_step() {
	step_status=$1
	stop_progress
	if [ "$step_status" -eq 0 ]; then
		say "  $step_text: $(seconds_since "$step_start")"
	fi
	return "$step_status"
}

# try_step TEXT LOG COMMAND...: runs the command with its output in build/logs/LOG.log; returns its status.
try_step() {
	begin_step "$1" "$2"
	shift 2
	if attend "$@" >"$step_log" 2>&1 </dev/null; then end_step 0; else end_step $?; fi
}

# try_whole_step TEXT LOG COMMAND...: the same for what should not be ended half-way; a signal is answered when it is over.
try_whole_step() {
	begin_step "$1" "$2"
	shift 2
	if "$@" >"$step_log" 2>&1 </dev/null; then end_step 0; else end_step $?; fi
}

# run_step TEXT LOG COMMAND...: as try_step, but a failure ends the command and shows the end of the log.
run_step() {
	try_step "$@" || step_failed
}

# show_step: the end of the log of a step that failed, and what may help.
show_step() {
	printf -- '---- last lines of %s\n' "$step_log"
	tail -n 40 "$step_log"
	failure_hint "$step_log"
}

step_failed() {
	show_step >&2
	die "$step_text: failed with status $step_status; the whole log is $step_log"
}

# ---- what a step may lack of the machine

make_folder() {
	mkdir -p "$1" || die "the folder $1 cannot be made; $(disk_state)"
}

# space_left FOLDER: kilobytes that can still be written below it, as far as it exists.
space_left() {
	space_of=$1
	while [ ! -d "$space_of" ]; do
		space_of=$(dirname "$space_of")
	done
	df -Pk "$space_of" | awk 'NR == 2 { print $4 }'
}

disk_state() {
	printf 'space left:'
	for disk_folder in "$build_dir" "$cache_dir" "${TMPDIR:-/tmp}"; do
		printf ' %d MiB for %s;' $(($(space_left "$disk_folder") / 1024)) "$disk_folder"
	done
	printf ' make room where there is none, and start the command again\n'
}

disk_is_full() {
	grep -qE 'No space left on device|Disk quota exceeded' "$1" 2>/dev/null ||
		[ "$(space_left "$build_dir")" -lt 1024 ] || [ "$(space_left "$cache_dir")" -lt 1024 ]
}

network_errors='Could not resolve|Temporary failure|Could not connect|Unable to connect|Cannot initiate the connection'
network_errors="$network_errors|Network is unreachable|Connection refused|Connection timed out|Failed to fetch"

# failure_hint LOG: says when the disk or the network was the cause.
failure_hint() {
	if disk_is_full "$1"; then
		say "dev: the disk is full; $(disk_state); ./dev clean --cache removes kernels and packages of all clones"
	elif grep -qE "$network_errors" "$1" 2>/dev/null; then
		say "dev: a package archive cannot be reached: $(grep -m 1 -oE "($network_errors).*" "$1")"
		say "dev: what is missing is fetched once; connect this machine, or give apt-get a proxy (Acquire::http::Proxy in" \
			"/etc/apt/apt.conf.d), and start the command again. KERNEL_SOURCE takes a kernel source that is already here"
	fi
}

# hash_of: a short hash of standard input.
hash_of() {
	sha256sum | cut -c 1-16
}
