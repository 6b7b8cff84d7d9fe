# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Makes KTAP, as the kernel's own test tools read it, of GoogleTest's XML reports (one element per line). "run=NAME" in front of a report
# says what was run; suites of one name and run, from several reports, are one. A report that has no case at all is a failed one. In front
# of a file of lines "ok TEXT" and "not ok TEXT" stands "run=".

function attribute(name, position, rest) {
	position = index($0, " " name "=\"")
	if (!position)
		return ""
	rest = substr($0, position + length(name) + 3)
	return substr(rest, 1, index(rest, "\"") - 1)
}

# A text of XML, behind the place in a source that it begins with.
function plain_text(text) {
	sub(/^[^ &]*:[0-9]+&#x0[Aa];/, "", text)
	gsub(/&#x0?[Dd];/, "", text)
	gsub(/&#x0?[Aa];/, "\n", text)
	gsub(/&lt;/, "<", text)
	gsub(/&gt;/, ">", text)
	gsub(/&quot;/, "\"", text)
	gsub(/&apos;/, "'", text)
	gsub(/&#x09;/, " ", text)
	gsub(/&amp;/, "\\&", text)
	return text
}

function first_line(text) {
	sub(/\n.*/, "", text)
	return text
}

# A name has no "#", behind which a directive would be looked for.
function plain(text) {
	gsub(/#/, "", text)
	return text
}

function add_case(suite, name, ok, directive, note, notes, note_lines, at) {
	if (!(suite in cases)) {
		suites[++suite_count] = suite
		cases[suite] = failed[suite] = 0
	}
	cases[suite]++
	if (!ok)
		failed[suite]++
	note_lines = split(note, notes, "\n")
	for (at = 1; at <= note_lines; at++)
		lines[suite] = lines[suite] "    # " name ": " notes[at] "\n"
	lines[suite] = lines[suite] "    " (ok ? "ok " : "not ok ") cases[suite] " - " name directive "\n"
	reported++
}

function finish_case() {
	if (!open)
		return
	open = 0
	add_case(suite, title, !bad, left_out ? " # SKIP " reason : "", bad ? trouble : "")
}

function finish_report() {
	finish_case()
	if (report != "" && !reported)
		add_case(report_run, "report", 0, "", report " has no case")
}

FNR == 1 {
	finish_report()
	report = FILENAME
	report_run = run == "" ? "steps" : plain(run)
	reported = 0
}
/^(not )?ok / && report_run == "steps" {
	finish_case()
	step = $0
	sub(/^(not )?ok /, "", step)
	add_case("steps", plain(step), /^ok/, "", "")
}
/^ *<testcase / {
	finish_case()
	open = 1
	suite = report_run "/" plain(attribute("classname"))
	title = plain(attribute("name"))
	bad = 0
	trouble = reason = ""
	left_out = attribute("result") != "completed"
}
/^ *<skipped/ { reason = first_line(plain_text(attribute("message"))) }
/^ *<(failure|error)[ >]/ {
	if (!bad)
		trouble = plain_text(attribute("message"))
	bad = 1
}
/^ *<\/(testcase|testsuite)>/ { finish_case() }
END {
	finish_report()
	print "TAP version 14"
	print "1.." suite_count + 0
	for (i = 1; i <= suite_count; i++) {
		suite = suites[i]
		print "    # Subtest: " suite
		print "    1.." cases[suite]
		printf "%s", lines[suite]
		print (failed[suite] ? "not ok " : "ok ") i " - " suite
	}
}
