# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=bash
#
# bash completion for flash-board. What it offers is words of its own and names of files; nothing of either is evaluated.

# The first word that is a command; the values of options before it are none.
_flash_board_command() {
	local word skip=
	for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
		case $skip$word in
		compile | check | simulate | map | diff | report | explain)
			printf '%s' "$word"
			return
			;;
		--mtd | --mtdparts | --new-mtd | --new-mtdparts | --format | --bom | -o | --output) skip=value ;;
		*) skip= ;;
		esac
	done
}

_flash_board_options() {
	case $1 in
	compile) echo "--help --output --mtd --mtdparts --strict --force" ;;
	check) echo "--help --mtd --mtdparts --format --json --strict" ;;
	simulate) echo "--help --mtd --mtdparts --format --json" ;;
	map) echo "--help --mtd --mtdparts --bom --output" ;;
	diff) echo "--help --mtd --mtdparts --new-mtd --new-mtdparts --format --json" ;;
	report) echo "--help --output --mtd --mtdparts --strict" ;;
	explain) echo "--help --markdown" ;;
	*) echo "--help --version" ;;
	esac
}

# Rules are of small letters and "-" only.
_flash_board_rules() {
	flash-board explain 2>/dev/null | sed -n 's/^\([a-z0-9-]\{1,\}\) .*/\1/p'
}

# Those of the words, one in a line of standard input, that begin with what is there.
_flash_board_offer() {
	local word
	while IFS= read -r word; do
		[[ $word == "$1"* ]] && COMPREPLY+=("$word")
	done
}

_flash_board() {
	local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command
	command=$(_flash_board_command)
	COMPREPLY=()

	case $previous in
	--format)
		_flash_board_offer "$current" < <(
			printf '%s\n' text json
			[ "$command" != check ] || echo sarif
		)
		return
		;;
	--mtdparts | --new-mtdparts | --bom) return ;;
	-o | --output | --mtd | --new-mtd)
		mapfile -t COMPREPLY < <(compgen -f -- "$current")
		return
		;;
	esac

	if [[ $current == -?* ]]; then
		_flash_board_offer "$current" < <(_flash_board_options "$command" | tr ' ' '\n')
	elif [ -z "$command" ]; then
		_flash_board_offer "$current" < <(printf '%s\n' compile check simulate map diff report explain)
	elif [ "$command" = explain ]; then
		_flash_board_offer "$current" < <(_flash_board_rules)
	else
		mapfile -t COMPREPLY < <(compgen -f -- "$current")
	fi
}

complete -o filenames -F _flash_board flash-board
