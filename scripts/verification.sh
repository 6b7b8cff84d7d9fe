# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# docs/verification.md, made of docs/verification.list, and what the list names held to what there is.

# verification_names: everything that a line of the list may name, as "kind name".
verification_names() {
	grep -rhoE '^(TYPED_)?TEST(_F|_P)?\([a-z_0-9]+, *[a-z_0-9]+' "$root/tests" "$root/simulation" --include='*.cpp' |
		sed -E 's/.*\(([a-z_0-9]+), *([a-z_0-9]+)/case \1\ncase \1.\2/' | sort -u
	printf '%s\n' "$host_suites" | sed 's/:.*//; s/^/suite /'
	# shellcheck disable=SC2086 # a list of names
	printf 'board %s\n' $board_runs
	sed -nE 's/^  ([a-z-]+)( .*|)$/command \1/p' "$root/dev"
	(cd "$root/tests/memory_model" && printf 'litmus %s\n' *.litmus | sed 's/\.litmus$//')
	sed -nE 's/^([a-z_0-9]+) [|] .*/proof \1/p' "$root/tests/proofs/proofs.list"
	sed -nE 's/^inline void ([a-z_]+)\(.*/ranges \1/p' "$root/tests/proofs/ranges/properties.inc"
}

# one_line FILE: its words, with a blank between them, without the stars of comments.
one_line() {
	sed -E 's/^ \* //' "$1" | tr -s ' \t\n' ' '
}

# unpromised: promises of the list whose words do not stand in their document, and rows of the table of promises that no promise has.
unpromised() {
	sed -n 's/^promise | //p' "$root/docs/verification.list" | while IFS= read -r promise_line; do
		promise_words=${promise_line#* | }
		one_line "$root/${promise_line%% | *}" | grep -qF -- "$promise_words" ||
			echo "${promise_line%% | *} does not say: $promise_words"
	done
	sed -n '/^## Promises/,/^###/ { /^| Promise/d; /^|--*/d; s/^| \([^|]*\) |.*/\1/p }' "$root/docs/reliability.md" |
		while IFS= read -r promise_row; do
			sed -n 's,^promise | docs/reliability.md | ,,p' "$root/docs/verification.list" |
				while IFS= read -r promise_words; do
					case $promise_row in "$promise_words"*) echo found ;; esac
				done | grep -q found || echo "docs/reliability.md promises what the list does not have: $promise_row"
		done
}

# verification_text: docs/verification.md.
verification_text() {
	verification_names >"$build_dir/results/verification_names"
	awk -F ' [|] ' -v proofs="$root/tests/proofs/proofs.list" '
		BEGIN {
			title["case"] = "cases"
			title["suite"] = "suite of `./dev test`, host"
			title["board"] = "run of `./dev test`, board"
			title["command"] = "`./dev` command"; title["litmus"] = "litmus test"; title["proof"] = "proof"
			title["ranges"] = "proof for all numbers"; title["open"] = "**not covered**"
			while ((getline line < proofs) > 0)
				if (line !~ /^#/) { split(line, part, / [|] /); bound[part[1]] = part[5] }
			print "# What supports each promise"
			print ""
			print "Made of [`verification.list`](verification.list) by `./dev check`, which fails where a promise no longer"
			print "stands in its document, where something that is named here is not there, and where"
			print "[reliability.md](reliability.md) promises what is not here. What the kinds of evidence are:"
			print "[testing.md](testing.md), [litmus tests](../tests/memory_model/README.md),"
			print "[proofs](../tests/proofs/README.md)."
		}
		NR == FNR { count[$0]++; next }
		/^#/ || /^$/ { next }
		$1 == "promise" {
			promises++
			printf "\n## %s\n\n", $3
			printf "[%s](%s)\n\n", $2, $2 ~ /^docs\// ? substr($2, 6) : "../" $2
			printf "| by | name | what it shows |\n|---|---|---|\n"
			next
		}
		$1 == "measured" { measured[++measurements] = "| " $2 " | " $3 " | " $4 " |"; next }
		{
			total[$1]++
			if ($1 == "open")
				printf "| %s | | %s |\n", title[$1], $2
			else
				printf "| %s | `%s` | %s%s |\n", title[$1], $2, $3, $1 == "proof" ? "; bound: " bound[$2] : ""
		}
		END {
			printf "\n## Counts\n\n"
			printf "| promises | suites and runs | cases by name | commands | litmus tests | proofs | not covered |\n"
			printf "|---|---|---|---|---|---|---|\n"
			printf "| %d | %d | %d | %d | %d | %d | %d |\n", promises, total["suite"] + total["board"], total["case"], \
				total["command"], total["litmus"], total["proof"] + total["ranges"], total["open"]
			printf "\n## Measured\n\nBy hand, on a machine with two cores, with nothing found.\n\n"
			printf "| command | what it looked at | processor time |\n|---|---|---|\n"
			for (i = 1; i <= measurements; i++)
				print measured[i]
		}' "$build_dir/results/verification_names" "$root/docs/verification.list"
}

# verification_findings: what the list says and is not so.
verification_findings() {
	verification_names | LC_ALL=C sort -u >"$build_dir/results/verification_names"
	awk -F ' [|] ' '!/^#/ && NF && $1 !~ /^(promise|open|measured)$/ { print $1 " " $2 }' "$root/docs/verification.list" |
		LC_ALL=C sort -u |
		LC_ALL=C comm -23 - "$build_dir/results/verification_names" | sed 's/$/ is named in docs\/verification.list and not there/'
	(cd "$root/tests/memory_model" && ls -- *.litmus) | sed 's/\.litmus$//' | while IFS= read -r verified; do
		grep -q "^litmus | $verified | " "$root/docs/verification.list" || echo "litmus $verified supports no promise"
	done
	unpromised
	verification_text >"$build_dir/results/verification.md"
	diff "$root/docs/verification.md" "$build_dir/results/verification.md" >/dev/null ||
		echo "docs/verification.md is not what its list makes; cp build/results/verification.md docs/verification.md"
}
