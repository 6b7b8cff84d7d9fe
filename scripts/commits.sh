# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# For ./dev check: the commits, by the rules of CONTRIBUTING.md, which has the areas. What is older than the rules is left alone.

commits_since=dd0d35856de0
body_limit=75

# commit_areas: the words behind the mark of the list, up to an empty line.
commit_areas() {
	# shellcheck disable=SC2016 # quotes of the document
	awk '/^<!-- areas -->$/ { listed = 1; next } listed && NF == 0 { exit } listed' "$root/CONTRIBUTING.md" |
		grep -o '`[^`]*`' | tr -d '`'
}

# message_findings NAME: what is wrong with the commit message on standard input.
message_findings() {
	awk -v name="$1" -v limit="$body_limit" -v areas="$(commit_areas | tr '\n' ' ')" '
		function wrong(text) { print name ": " text }
		BEGIN {
			count = split(areas, listed, " ")
			for (i = 1; i <= count; i++)
				known[listed[i]]
		}
		NR == 1 {
			if (!match($0, /^[a-z_, -]+: [a-z`.]/)) {
				wrong("not of the form \"area: imperative sentence\": " $0)
				next
			}
			behind = substr($0, index($0, ": ") + 2)
			count = split(substr($0, 1, index($0, ": ") - 1), named, /, */)
			for (i = 1; i <= count; i++)
				if (!(named[i] in known))
					wrong("\"" named[i] "\" is no area of CONTRIBUTING.md")
			if (behind ~ /\.$/)
				wrong("a full stop at the end: " $0)
			if (behind ~ /^(add|fix|chang|remov|updat|mov|renam)(ed|s|es|ing) /)
				wrong("say what to do, not what was done: " $0)
		}
		NR == 2 && $0 != "" { wrong("no empty line below the first") }
		NR > 1 && length($0) > limit { wrong(length($0) " columns, at most " limit ": " $0) }'
}

# commit_findings SINCE: of the commits behind that one.
commit_findings() {
	git -C "$root" log --no-merges --format=%h "$1..HEAD" | while IFS= read -r commit; do
		git -C "$root" log -1 --format=%B "$commit" | sed -e :end -e '/^\n*$/ { $d; N; b end' -e '}' | message_findings "$commit"
	done
}

# commits_stand [SINCE]: a copy of the sources without that commit, an archive or a shallow clone, has nothing to be looked at.
commits_stand() {
	[ -n "$(commit_areas)" ] || {
		echo "CONTRIBUTING.md lists no areas"
		return 1
	}
	set -- "${1-$commits_since}"
	git -C "$root" merge-base --is-ancestor "$1" HEAD 2>/dev/null || {
		echo "not looked at: this copy has no history back to $1"
		return 0
	}
	nothing_in commit_findings "$1" || return 1
	echo "$(git -C "$root" rev-list --count --no-merges "$1..HEAD") commits since $1"
}
