# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev report-test: the pages of flash-board report in a browser. The browser is large, so ./dev test looks at the pages as text only.

report_test_command() {
	at_most 0 report-test "$@"
	hold_clone
	need_packages "$build_packages" "$browser_packages"
	build_program_target release flash-board
	report_pictures=$build_dir/report-pictures
	rm -rf "$report_pictures"
	mkdir -p "$report_pictures"
	run_step "look at pages in a browser" report_test /usr/bin/python3 "$root/tests/flash_board/report_browser_test.py" \
		"$(preset_dir release)/tools/flash-board/flash-board" "$report_pictures"
	say "$(grep '^Ran ' "$log_dir/report_test.log"); pictures of the pages: $report_pictures"
}
