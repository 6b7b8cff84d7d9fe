# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# What may stand behind a command of ./dev. Anything else is a usage error, before any work is done.

# at_most COUNT COMMAND WORD...: no more words than that.
at_most() {
	words_allowed=$1
	words_of=$2
	shift 2
	[ $# -le "$words_allowed" ] || {
		shift "$words_allowed"
		usage_error "$words_of: unknown word '$1'"
	}
}

# has_option OPTION COMMAND [WORD]: whether the word is there; it can only be that option.
has_option() {
	option_wanted=$1
	shift
	at_most 1 "$@"
	[ $# -gt 1 ] || return 1
	[ "$2" = "$option_wanted" ] || usage_error "$1: unknown option '$2'"
}

# known_words COMMAND LIST WORD...: each is among the words that the function LIST prints, one per line.
known_words() {
	words_for=$1
	word_list=$2
	shift 2
	for asked_word in "$@"; do
		"$word_list" | grep -qxF -- "$asked_word" || {
			printf "dev: %s: there is no '%s'; there are: %s\n" "$words_for" "$asked_word" "$("$word_list" | tr '\n' ' ')" >&2
			exit 2
		}
	done
}

# whole_numbers COMMAND VALUE...: of at most 9 digits, as the shell counts with them.
whole_numbers() {
	numbers_of=$1
	shift
	for number in "$@"; do
		case $number in
		'' | *[!0-9]* | 0?* | ??????????*) usage_error "$numbers_of: '$number' is not a whole number of at most 9 digits" ;;
		esac
	done
}

# minutes COMMAND VALUE: a time that is not 0; at most a week.
minutes() {
	whole_numbers "$@"
	[ "$2" -gt 0 ] || usage_error "$1: a run of 0 minutes shows nothing"
	[ "$2" -le 10080 ] || usage_error "$1: $2 minutes are more than a week"
}
