# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# What a command started ends with it, also when somebody ends it by Ctrl-C or a signal: nothing goes on at work on files that the next
# command takes.

# attend COMMAND...: runs it and gives its status, but answers signals at once, where a shell otherwise waits for the command's end first.
# A function looks at the status of each of its commands itself, as in the condition of an "if".
attend() {
	{ attend_function "$@" <&3 3<&- & } 3<&0
	wait $!
}

attend_function() {
	set +e
	"$@"
}

# What is started has the number of this shell in its environment, by which it is found when whoever started it has ended before.
started_by=$$.$(date +%s)
export FLASH_MNG_STARTED_BY="${FLASH_MNG_STARTED_BY-} $started_by "

# orphans: processes that were started by this shell, directly or not, and run a program of their own.
orphans() {
	grep -lszE "^FLASH_MNG_STARTED_BY=.* $started_by " /proc/[0-9]*/environ | sed 's,/proc/\([0-9]*\)/environ,\1,'
}

# descendants PID: the processes that it and those started, and orphans; without this question's own.
descendants() {
	{
		orphans | sed 's/^/Orphan: /'
		cat /proc/[0-9]*/status 2>/dev/null
	} | awk -v top="$1" '
		BEGIN {
			getline own <"/proc/self/stat"
			split(own, field, " ")
			asker = field[4]
		}
		/^Orphan:/ { orphan[$2] }
		/^State:/ { over = $2 ~ /[ZX]/ }
		/^Pid:/ { pid = $2 }
		/^PPid:/ {
			parent[pid] = $2
			if (!over)
				alive[pid]
		}
		END {
			for (pid in alive) {
				for (up = pid; up != top && up != asker && up in parent; up = parent[up])
					;
				if (up != asker && pid != top && (up == top || pid in orphan))
					print pid
			}
		}' | sort -n
}

# still_running PID...: those of them that are.
still_running() {
	for process in "$@"; do
		! grep -q '^State:[[:space:]]*[^ZX[:space:]]' "/proc/$process/status" 2>/dev/null || echo "$process"
	done
}

# end_processes PID...: asks them to end, and after five seconds makes them.
end_processes() {
	kill -s TERM "$@" 2>/dev/null || true
	kill -s CONT "$@" 2>/dev/null || true
	end_tries=0
	while [ -n "$(still_running "$@")" ] && [ "$end_tries" -lt 50 ]; do
		sleep 0.1
		end_tries=$((end_tries + 1))
	done
	kill -s KILL "$@" 2>/dev/null || true
}

# end_descendants PID: stops them first, until none starts another.
end_descendants() {
	stopped=
	while working=$(descendants "$1") && [ "$working" != "$stopped" ]; do
		# shellcheck disable=SC2086 # a list of numbers
		kill -s STOP $working 2>/dev/null || true
		stopped=$working
	done
	# shellcheck disable=SC2086
	[ -z "$stopped" ] || end_processes $stopped
}

# end_command: at the end of this shell, whatever it is.
end_command() {
	trap '' HUP INT TERM
	end_descendants "$$"
	stop_progress
}

# interrupted STATUS
interrupted() {
	trap '' HUP INT TERM
	printf '\ndev: interrupted; what was started is being ended\n' >&2
	exit "$1"
}

trap end_command EXIT
trap 'interrupted 129' HUP
trap 'interrupted 130' INT
trap 'interrupted 143' TERM
