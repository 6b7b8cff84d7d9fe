# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=bash
#
# bash completion for flashctl. Partition names come from /proc/mtd.

_flashctl_partitions() {
	sed -n 's/^mtd[0-9]*: [0-9a-f]* [0-9a-f]* "\(.*\)"$/\1/p' "${FLASHCTL_MTD_LIST:-/proc/mtd}" 2>/dev/null
}

# Names are data: they are compared letter by letter, and never expanded. What was typed may have quoting of its own.
_flashctl_offer_partitions() {
	local typed=$1 name
	typed=${typed#[\"\']}
	typed=${typed//\\/}
	while IFS= read -r name; do
		case $name in
		*[[:cntrl:]]* | '') ;;
		"$typed"*) COMPREPLY+=("$name") ;;
		esac
	done < <(_flashctl_partitions)
}

# The words before the one to be completed that are neither options nor their values, each in a line: the command and its operands.
_flashctl_plain_words() {
	local word skip=
	for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
		case $skip$word in
		--offset | --length | --output | -o | --verify | --force | --sha256 | --last) skip=value: ;;
		--instance | --name | --partition | --device) skip=value: ;;
		value:=) ;; # of --offset=1, which is three words here
		value:*) skip= ;;
		-?*) ;;
		*) printf '%s\n' "${word//[$'\n']/ }" ;;
		esac
	done
}

_flashctl_options() {
	local common="--help --json --progress --quiet --verbose --device"
	case $1 in
	list) echo "$common --health" ;;
	map) echo "$common --scan" ;;
	read) echo "$common --offset --length --output --hex" ;;
	write) echo "$common --offset --length --verify --sha256 --last --resume --dry-run --yes --force" ;;
	verify) echo "$common --offset --length --sha256" ;;
	backup) echo "$common --partition" ;;
	restore) echo "$common --partition --dry-run --yes --force" ;;
	spi) echo "$common --instance --name" ;;
	'') echo "$common --version" ;;
	*) echo "$common" ;;
	esac
}

_flashctl() {
	local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command plain
	mapfile -t plain < <(_flashctl_plain_words)
	command=${plain[0]-}
	COMPREPLY=()

	case $previous in
	--verify)
		mapfile -t COMPREPLY < <(compgen -W "all range none" -- "$current")
		return
		;;
	--force)
		mapfile -t COMPREPLY < <(compgen -W "mounted ubi swap claimed unknown" -- "$current")
		return
		;;
	-o | --output | --device)
		mapfile -t COMPREPLY < <(compgen -f -- "$current")
		return
		;;
	--name | --partition)
		_flashctl_offer_partitions "$current"
		return
		;;
	--offset | --length | --sha256 | --last | --instance) return ;;
	esac

	if [[ $current == -* ]]; then
		mapfile -t COMPREPLY < <(compgen -W "$(_flashctl_options "$command")" -- "$current")
	elif [ -z "$command" ]; then
		mapfile -t COMPREPLY < <(compgen -W "list info map read write verify backup restore spi explain" -- "$current")
	else
		case $command:$((${#plain[@]} - 1)) in
		info:0 | map:0 | read:0 | write:0 | verify:0)
			_flashctl_offer_partitions "$current"
			;;
		backup:0 | restore:0) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
		write:1 | verify:1) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
		esac
	fi
}

complete -o filenames -F _flashctl flashctl
