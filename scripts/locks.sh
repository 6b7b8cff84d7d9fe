# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Locks between commands that run at the same time. A lock is a file that is held open and locked, by this shell and whatever it started:
# it is free again when the last of them has ended. The file's first line says who has it. Each lock has a file descriptor of its own:
#
#   5  the cache folder, shared by all who use it     8  what is built in this clone
#   6  the content of the NOR flash                   9  an entry of the cache folder, while it is made
#   7  the folder of a run of the board

# name_command WORD...: what other commands are told of this one.
name_command() {
	command_line=$*
}

# holder FILE: who has the lock.
holder() {
	holder_pid='' holder_command=''
	read -r holder_pid holder_command <"$1" || true
	if [ -z "$holder_pid" ]; then
		echo "another process"
	elif [ -e "/proc/$holder_pid" ]; then
		echo "process $holder_pid ($holder_command)"
	else
		echo "what process $holder_pid ($holder_command) left running"
	fi
}

# open_lock FILE DESCRIPTOR
open_lock() {
	make_folder "$(dirname "$1")"
	touch "$1" || die "$1 cannot be written; $(disk_state)"
	eval "exec $2<>\"\$1\""
}

# is_lock FILE DESCRIPTOR: the file was not removed meanwhile.
is_lock() {
	# shellcheck disable=SC3013 # every shell that is used as sh on Debian knows it
	[ "$1" -ef "/proc/self/fd/$2" ]
}

# try_lock FILE DESCRIPTOR [OPTION]: takes the lock if it is free. As OPTION -s shares it with others who do.
try_lock() {
	while open_lock "$1" "$2"; do
		# shellcheck disable=SC2086 # an option or none
		flock -n ${3-} "$2" || return 1
		! is_lock "$1" "$2" || break
	done
	printf '%s %s\n' "$$" "${command_line-}" >"$1"
}

# lock FILE DESCRIPTOR WHAT [OPTION]: takes the lock, and says for whom it waits.
lock() {
	until try_lock "$1" "$2" "${4-}"; do
		say "  waiting for $(holder "$1"): $3"
		# shellcheck disable=SC2086
		attend flock ${4-} "$2"
	done
}

# unlock DESCRIPTOR
unlock() {
	eval "exec $1>&-"
}

# with_lock FILE COMMAND...: runs the command while nobody else makes the same entry of the cache.
with_lock() {
	lock "$1" 9 "it is making ${1%.lock}"
	shift
	"$@"
	unlock 9
}

# ---- the clone

build_lock=$build_dir/lock

# usable_folders: ends a command that would build where make cannot.
usable_folders() {
	case $root$cache_dir in
	*[[:space:]:\#\$%\\\'\"]*)
		die "the kernel's build takes no blank and none of : # \$ % \\ ' \" in a path: $root, $cache_dir"
		;;
	esac
}

# hold_cache: nobody removes it before this command ends.
hold_cache() {
	usable_folders
	lock "$cache_dir/lock" 5 "it is removing $cache_dir" -s
}

# hold_clone: what is in build/ is this command's, until it ends or releases it.
hold_clone() {
	hold_cache
	lock "$build_lock" 8 "it is at work on $build_dir"
}

release_clone() {
	unlock 8
}

# announce SET: tells those who only read that this command has built the board's SET and leaves it as it is.
announce() {
	printf 'built %s\n' "$1" >>"$build_lock"
}

# built_by_holder SET: the command that has the clone has announced it, not one that has ended and whose words are still in the file.
built_by_holder() {
	announcer=$(awk -v line="built $1" 'NR == 1 { pid = $1 } $0 == line { print pid; exit }' "$build_lock")
	[ -n "$announcer" ] && [ -e "/proc/$announcer" ]
}

# hold_clone_or_find SET: as hold_clone, unless the command that has the clone says that it has built that. Sets found_by, who built it.
hold_clone_or_find() {
	hold_cache
	found_by=
	waiting=no
	until try_lock "$build_lock" 8; do
		if built_by_holder "$1"; then
			# shellcheck disable=SC2034 # used by ./dev
			found_by=$(holder "$build_lock")
			release_clone
			return 0
		fi
		[ "$waiting" = yes ] || say "  waiting for $(holder "$build_lock"): it is at work on $build_dir"
		waiting=yes
		attend sleep 1
	done
}

# own_run NAME: sets run_dir to a folder that no other command uses, build/board/NAME-run or, beside others, NAME-run-2 and so on.
own_run() {
	run_number=1
	run_dir=$build_dir/board/$1-run
	until try_lock "$run_dir.lock" 7; do
		run_number=$((run_number + 1))
		run_dir=$build_dir/board/$1-run-$run_number
	done
}

# await_runs: until none of the board's runs goes on; holding the clone keeps others from starting.
await_runs() {
	for run_lock in "$build_dir"/board/*.lock; do
		[ ! -e "$run_lock" ] || lock "$run_lock" 7 "it uses ${run_lock%.lock}"
	done
}
