# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev renew [WHAT...]: writes the files that say word for word what is built and printed, and shows what that changed in them. Whoever
# renews reads the difference: a test that has failed says the word to be given here.

# What can be renewed: word, files and folders.
golden_files="exports:flash_mng_kernel/exports.txt
imports:flash_mng_kernel/imports.txt
symbols:flash_mng_kernel/allowed_symbols.txt
numbers:flash_mng_kernel/numbers.txt
sizes:flash_mng_kernel/sizes.txt
findings:tests/flash_board/bad
simulation:tests/flash_board/plain.simulation.txt
rules:docs/board-rules.md
pictures:docs/demo-board.svg tests/flash_board/map.txt
help:tests/flashctl/golden
manual:docs/man/flash_mng.4
documents:README.md board/README.md client/README.md docs
figures:bench/figures.txt docs/performance.md docs/performance-growth.svg docs/performance-transfers.svg"

renewable() {
	printf '%s\n' "$golden_files" | sed 's/:.*//'
}

# files_of_renewal WHAT
files_of_renewal() {
	printf '%s\n' "$golden_files" | sed -n "s/^$1://p"
}

# renew_list NAME: a list beside the module, whose lines the function of that name prints.
renew_list() {
	build_list "$root/flash_mng_kernel/$1.txt" "$1" || return 1
	grep -qv '^#' "$built" && cp "$built" "$list"
}

# renew_symbols: takes out what is not asked for any more, and puts new symbols at the end, from where people sort them in.
renew_symbols() {
	symbol_list=$root/flash_mng_kernel/allowed_symbols.txt
	renewed_symbols=$build_dir/results/allowed_symbols.txt
	undefined_symbols >"$build_dir/results/undefined"
	[ -s "$build_dir/results/undefined" ] || return 1
	awk 'NR == FNR { asked[$1]; next } !NF || /^#/ || $1 in asked { print }' "$build_dir/results/undefined" "$symbol_list" \
		>"$renewed_symbols"
	symbols_outside "$symbol_list" >"$build_dir/results/new_symbols"
	[ ! -s "$build_dir/results/new_symbols" ] || { echo && echo "# new" && cat "$build_dir/results/new_symbols"; } >>"$renewed_symbols"
	cp "$renewed_symbols" "$symbol_list"
}

# renew_by_cases WHAT PROGRAM FILTER: the cases that compare such files write them.
renew_by_cases() {
	build_program_target asan "$2"
	renewing_program=$(find "$(preset_dir asan)" -type f -name "$2" -perm -u+x)
	(cd "$root" && ASAN_OPTIONS=$asan_options FLASH_MNG_RENEW=$1 attend "$renewing_program" "--gtest_filter=$3" --gtest_brief=1) \
		>"$log_dir/renew_$1.log" 2>&1 && grep -q 'written: ' "$log_dir/renew_$1.log" && return 0
	tail -n 20 "$log_dir/renew_$1.log"
	die "$1: its cases in $2 have failed or written nothing"
}

build_for_lists() {
	use_kernel production
	build_modules production
	flash_object=$stage_dir/flash_mng_kernel/flash_mng.ko
	mkdir -p "$build_dir/results"
}

# renew_one WHAT
renew_one() {
	case $1 in
	exports | imports | sizes)
		build_for_lists
		renew_list "$1"
		;;
	numbers)
		mkdir -p "$build_dir/results"
		renew_list numbers
		;;
	symbols)
		build_for_lists
		renew_symbols
		;;
	findings) renew_by_cases findings flash_board_tests 'fixtures/bad_board.is_reported*:report.as_*_is_as_written_down' ;;
	simulation) renew_by_cases simulation flash_board_tests 'simulation.prints_*' ;;
	rules) renew_by_cases rules flash_board_tests 'cli.the_page_of_rules*' ;;
	pictures) renew_by_cases pictures flash_board_tests 'cli.the_picture_of*:map.for_a_terminal_*' ;;
	help) renew_by_cases help flashctl_tests '*help.is_the_golden_one*' ;;
	manual) renew_by_cases manual flashctl_tests 'manual.of_the_device_has_the_codes*' ;;
	documents) renew_by_cases documents docs_tests 'each/document.has_examples_that_work*' ;;
	figures) renew_figures ;;
	esac
}

# renew_and_show WHAT
renew_and_show() {
	files_before=$build_dir/renew/before
	rm -rf "$files_before"
	mkdir -p "$files_before"
	# shellcheck disable=SC2046 # names without blanks
	(cd "$root" && cp -R --parents $(files_of_renewal "$1") "$files_before") || return 1
	renew_one "$1" || die "$1: not renewed"
	renew_changes=0
	for renewed_file in $(files_of_renewal "$1"); do
		(cd "$root" && diff -ruN --label "$renewed_file, before" --label "$renewed_file, renewed" \
			"$files_before/$renewed_file" "$renewed_file") || renew_changes=1
	done
	[ "$renew_changes" -ne 0 ] || say "  $1: as before"
}

# renew_command [WHAT...]
renew_command() {
	known_words renew renewable "$@"
	# shellcheck disable=SC2046 # words
	[ $# -gt 0 ] || set -- $(renewable)
	hold_clone
	need_packages "$build_packages" "$host_packages" "$test_packages"
	for renewal in "$@"; do
		renew_and_show "$renewal"
	done
	say "$(seconds_since "$command_start")"
}
