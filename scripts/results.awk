# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Reads GoogleTest's XML reports (one element per line). Prints a line "PASSED FAILED SKIPPED", then "NAME CASES" per subsystem of the
# conformance suite, which is the part of a suite's name before the first underscore, then "! SUITE.CASE" per failed case. A report whose
# head has other numbers than its cases, and one in which no case passed, is a failure too.

function attribute(name, position, rest) {
	position = index($0, " " name "=\"")
	if (!position)
		return ""
	rest = substr($0, position + length(name) + 3)
	return substr(rest, 1, index(rest, "\"") - 1)
}

function finish_case() {
	if (!open)
		return
	open = 0
	if (bad) {
		failed++
		failures[failed] = suite "." title
	} else if (left_out) {
		skipped++
	} else {
		passed++
	}
}

function complain(text) {
	failed++
	failures[failed] = text
}

/^<testsuites / {
	heads++
	all += attribute("tests")
	bad_ones += attribute("failures") + attribute("errors")
}
/^ *<testcase / {
	finish_case()
	open = 1
	suite = attribute("classname")
	title = attribute("name")
	sub(/.*\//, "", suite)
	bad = 0
	left_out = attribute("result") != "completed"
	area = suite
	sub(/_.*/, "", area)
	if (!left_out && area ~ /^(frame|config|datapath|ioctl|spi)$/)
		cases[area]++
}
/^ *<(failure|error)[ >]/ { bad = 1 }
/^ *<\/(testcase|testsuite)>/ { finish_case() }
END {
	finish_case()
	if (!heads || all != passed + failed + skipped)
		complain("the report is of " all + 0 " cases and has " passed + failed + skipped)
	else if (bad_ones > failed)
		complain("the report is of " bad_ones " failures and has " failed)
	if (!passed)
		complain("no case passed")
	print passed + 0, failed + 0, skipped + 0
	count = split("frame config datapath ioctl spi", areas, " ")
	for (i = 1; i <= count; i++)
		if (cases[areas[i]])
			print areas[i], cases[areas[i]]
	for (i = 1; i <= failed; i++)
		print "!", failures[i]
}
