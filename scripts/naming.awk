# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Reads what naming_findings has ctags print of the clone's C and C++ (kind, name, access, file, line, pattern) behind the parameters of
# modules ("parameter", name, file), and prints the names that are not as CONTRIBUTING.md has them. clang-tidy knows more of fewer files.
BEGIN {
	FS = "\t"
	given["flash_mng_kernel/kernel/device.c misc_dev"]
	given["flash_mng_kernel/kernel/memory.h vmalloc"]
	given["flash_mng_kernel/kernel/memory.h vzalloc"]
	given["simulation/device.cpp misc_dev"]
	given["flash_mng_kernel/frame/control_device.cpp g_flash_ioctl_cmd"]
}

function finding(text) {
	print $4 ":" $5 ": " $2 ": " text
}

# What GoogleTest and libFuzzer call by such names.
function is_of_a_library(name) {
	return name ~ /^(PrintTo|SetUp|TearDown|SetUpTestSuite|TearDownTestSuite|TestBody|OnTest.*|LLVMFuzzer.*|GetParam|Message)$/
}

# A declaration that says const of the variable itself, not only of what it points to.
function is_constant(pattern, name) {
	if (pattern ~ /[ ^]constexpr /)
		return 1
	if (pattern ~ /[*] ?const /)
		return 1
	return pattern ~ /[ ^]const / && pattern !~ ("[*] ?" name "[^a-z0-9_]")
}

# A line has its own tabs.
{
	line = $6
	for (i = 7; i <= NF; i++)
		line = line " " $i
}
$1 == "parameter" { given[$3 " " $2]; next }
# Words in capitals are macros for ctags, and enumerators of C.
$2 !~ /^__/ && $2 ~ /[A-Z]/ && $2 ~ /[a-z]/ && !is_of_a_library($2) { finding("is not lower_case") }
$1 == "enumerator" && $4 ~ /pp$/ && $2 ~ /[A-Z]/ { finding("is not lower_case") }
$1 == "member" && $3 == "private" && $2 !~ /_$/ && $2 !~ /^g_/ && !is_constant(line, $2) {
	finding("a private member without _ at its end")
}
$1 == "member" && $3 == "public" && $2 ~ /_$/ { finding("a public member with _ at its end") }
# Outside of functions, that is where the line is not indented; in C that ships and in all C++.
function is_looked_at(file) {
	return file ~ /pp$/ || file ~ /^(flash_mng_kernel|reference_platform|examples|board)\//
}
$1 == "variable" && line !~ /^\/\^[ }]/ && is_looked_at($4) && !($4 " " $2 in given) {
	if (is_constant(line, $2)) {
		if ($2 ~ /^g_/)
			finding("a constant with g_")
	} else if ($2 !~ /^g_/ && $2 ~ /[a-z]/ && line ~ /[=;{[]/) {
		finding("a variable that anyone may change without g_")
	}
}
