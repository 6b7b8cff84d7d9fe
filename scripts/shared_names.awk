# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Reads the scripts of ./dev and of its tests, which know no local names, and prints a function that is defined twice, and a variable that
# two functions set, or a function and a file outside of its functions, unless the variable "shared" names it. A function whose body is in
# parentheses keeps what it sets to itself. What stands in quotes or in a here-document is not looked at.

# code(LINE): the line without quoted text, here-documents and comments.
function code(line, out, i, c) {
	if (here != "") {
		if (line == here)
			here = ""
		return ""
	}
	out = ""
	for (i = 1; i <= length(line); i++) {
		c = substr(line, i, 1)
		if (quote != "") {
			if (c == quote)
				quote = ""
			else if (c == "\\" && quote == "\"")
				i++
		} else if (c == "\\") {
			i++
		} else if (c == "\"" || c == "'") {
			quote = c
			out = out "_"
		} else if (c == "#" && (i == 1 || substr(line, i - 1, 1) ~ /[ \t]/)) {
			break
		} else {
			if (match(substr(line, i), /^<<'?[A-Z]+/))
				here = substr(line, i + 2, RLENGTH - 2)
			out = out c
		}
	}
	sub(/^'/, "", here)
	return out
}

function set(name, place) {
	place = FILENAME (inside == "" ? "" : ", " inside "()")
	if (own || (name, place) in known)
		return
	known[name, place] = 1
	places[name]++
	text[name] = text[name] (text[name] == "" ? "" : "; ") place
}

# Assignments in front of a command are that command's environment.
function read_words(line, count, i, j) {
	while (gsub(/\$\(\([^()]*\)\)|\$\([^()]*\)/, "_", line))
		;
	gsub(/[;|&{}()!]+/, " & ", line)
	count = split(line, word, /[ \t]+/)
	for (i = 1; i <= count; i++) {
		if (word[i] == "for")
			set(word[i + 1])
		if (word[i] == "read")
			for (j = i + 1; word[j] ~ /^(-r|[a-z_][a-z_0-9]*)$/; j++)
				if (word[j] != "-r")
					set(word[j])
		if (word[i] !~ /^[a-z_][a-z_0-9]*=/ || !at_start(i))
			continue
		for (j = i; word[j] ~ /^[A-Za-z_][A-Za-z_0-9]*=/; j++)
			;
		if (j > count || word[j] ~ /^([;|&})]+|)$/ || word[j - 1] ~ /=\$$/)
			set(substr(word[i], 1, index(word[i], "=") - 1))
	}
}

# at_start(I): a command may begin with that word, or what export and readonly set.
function at_start(i) {
	return i == 1 || word[i - 1] ~ /^(|[;|&{()!]+|then|do|else|elif|if|while|until|export|readonly|[A-Za-z_][A-Za-z_0-9]*=.*)$/
}

function end_file() {
	if (quote != "" || here != "" || inside != "")
		print last_file ": its quotes or functions are not understood"
	quote = here = inside = ""
	own = 0
}

BEGIN {
	split(shared, list, /[ \t\n]+/)
	for (i in list)
		is_shared[list[i]] = 1
}
FNR == 1 {
	end_file()
	last_file = FILENAME
}
{
	line = joined code($0)
	if (quote == "" && here == "" && /\\$/) {
		joined = line " "
		next
	}
	joined = ""
}
match(line, /^[ \t]*[a-z_][a-z_0-9]*\(\)/) {
	name = substr(line, 1, RLENGTH - 2)
	sub(/^[ \t]+/, "", name)
	definitions[name]++
	files[name] = files[name] " " FILENAME
	inside = name
	own = line ~ /\) \($/
	next
}
line ~ /^[})]/ {
	inside = ""
	own = 0
	next
}
{ read_words(line) }
END {
	end_file()
	for (name in definitions)
		if (definitions[name] > 1)
			print name "() is defined twice:" files[name]
	for (name in places)
		if (places[name] > 1 && !(name in is_shared))
			print name " is set by: " text[name]
	for (name in is_shared)
		if (places[name] < 2)
			print name " is on the list of shared names and set in one place only"
}
