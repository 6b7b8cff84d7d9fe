# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Reads "readelf --debug-dump=info" and prints how the structures named in the variable "wanted" are laid out: a line NAME SIZE for each,
# a line NAME.MEMBER OFFSET for each member.

function attribute_of(line) {
	sub(/.*[ \t]/, "", line)
	return line
}

function finish() {
	if (tag == "structure_type") {
		record[depth] = name in is_wanted ? name : ""
		if (record[depth] != "")
			print name, bytes
	} else if (tag == "member" && record[depth - 1] != "") {
		print record[depth - 1] "." name, bytes
	}
	tag = name = bytes = ""
}

BEGIN {
	count = split(wanted, names, " ")
	for (i = 1; i <= count; i++)
		is_wanted[names[i]] = 1
}
{ sub(/[ \t]+$/, "") }
/Abbrev Number:/ {
	finish()
	depth = $1
	gsub(/^<|>.*/, "", depth)
	if (match($0, /DW_TAG_[a-z_]+/))
		tag = substr($0, RSTART + 7, RLENGTH - 7)
}
/DW_AT_name / { name = attribute_of($0) }
/DW_AT_byte_size |DW_AT_data_member_location/ { bytes = attribute_of($0) }
END { finish() }
