# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev check [NAME...]: one line OK or FAIL per check, the findings of a failed one below it. Counts go to build/results/checks.

frame_limit=512
line_limit=140

# Names of checks; none means all.
wanted_checks=
# What they run beside: tests, or nothing.
checks_beside=

# check NAME TEXT COMMAND...: a check passes when the command succeeds; the last line that it then wrote is its figure.
check() {
	is_wanted "$1" || return 0
	check_text=$2
	shift 2
	if attend "$@" >"$log_dir/check.log" 2>&1 </dev/null; then
		check_figure=$(tail -n 1 "$log_dir/check.log")
		say "  OK    $check_text${check_figure:+: $check_figure}"
		checks_passed=$((checks_passed + 1))
	else
		say "  FAIL  $check_text"
		head -n 40 "$log_dir/check.log" | sed 's/^/        /'
		checks_failed=$((checks_failed + 1))
	fi
}

is_wanted() {
	case " ${wanted_checks:-$1} " in
	*" $1 "*) return 0 ;;
	esac
	return 1
}

check_names() {
	sed -nE 's/^\t+check(_alone)? ([a-z_]+) .*/\2/p' "$root/scripts/check.sh"
}

# want_checks NAME...
want_checks() {
	known_words check check_names "$@"
	wanted_checks=$*
}

# are_wanted NAME...: any of them.
are_wanted() {
	for asked_check in "$@"; do
		! is_wanted "$asked_check" || return 0
	done
	return 1
}

# check_alone NAME TEXT COMMAND...: a check that takes minutes of processor time, which the tests have no room for.
check_alone() {
	if [ "$checks_beside" = tests ]; then
		skip_check "$2" "takes minutes; ./dev check $1"
	else
		check "$@"
	fi
}

# skip_check TEXT REASON
skip_check() {
	say "  SKIP  $1: $2"
	checks_skipped=$((checks_skipped + 1))
}

# nothing_in COMMAND...: succeeds when the command prints nothing, no complaint of a program that could not do its work either.
nothing_in() {
	findings=$("$@" 2>&1)
	[ -z "$findings" ] || {
		printf '%s\n' "$findings"
		return 1
	}
}

# our_files PATTERN...: tracked or new files of the clone that match one of the name patterns; without git all but what was built.
our_files() {
	for pattern in "$@"; do
		if [ ! -e "$root/.git" ]; then
			(cd "$root" && find . -path ./build -prune -o -xtype f -path "./$pattern" -printf '%P\n')
			continue
		fi
		git -C "$root" ls-files --cached --others --exclude-standard "$pattern" | while IFS= read -r our_file; do
			[ ! -f "$root/$our_file" ] || echo "$our_file"
		done
	done
}

# ---- the built module

constructors() {
	aarch64-linux-gnu-readelf -SW "$flash_object" | grep -oE '\.(init_array|ctors|fini_array|dtors)[^ ]*'
}

runtime_symbols() {
	aarch64-linux-gnu-nm "$flash_object" | grep -E '__cxa_|__gxx_personality|_Unwind_|__dso_handle| _ZT[ISV]| _Zn[wa]| _Zd[la]'
}

# Tables that only unwinding reads.
unwind_tables() {
	aarch64-linux-gnu-readelf -SW "$flash_object" | grep -oE '\.(eh_frame|gcc_except_table|ARM\.ex)[^ ]*'
}

undefined_symbols() {
	aarch64-linux-gnu-nm -u "$flash_object" | awk '{ print $2 }' | LC_ALL=C sort -u
}

# listed_symbols LIST: its names, one per line.
listed_symbols() {
	sed 's/#.*//; s/[[:space:]]*$//; /^$/d' "$1" | LC_ALL=C sort -u
}

# symbols_outside LIST: undefined symbols that the list does not have.
symbols_outside() {
	listed_symbols "$1" >"$build_dir/allowed_symbols"
	undefined_symbols | LC_ALL=C comm -23 - "$build_dir/allowed_symbols"
}

# symbols_on LIST: fails when there are others.
symbols_on() {
	nothing_in symbols_outside "$1" || {
		echo "A new symbol is a new dependency. When that is meant: ./dev renew symbols"
		return 1
	}
	echo "$(undefined_symbols | wc -l) of $(listed_symbols "$1" | wc -l)"
}

# large_frames FOLDER: frames over the limit, and those whose size the compiler does not know.
large_frames() {
	find "$1" -name '*.su' -exec cat {} + |
		awk -F '\t' -v limit="$frame_limit" '$2 > limit || $3 ~ /dynamic/ && $3 !~ /bounded/ { print $1 ": " $2 " bytes, " $3 }'
}

frames_measured() {
	su_files=$(find "$stage_dir/flash_mng_kernel" -name '*.su' | wc -l)
	source_files=$(find "$stage_dir/flash_mng_kernel" -name '*.cpp' | wc -l)
	[ "$su_files" -ge "$source_files" ] || {
		echo "$su_files stack usage files for $source_files C++ sources: build again after ./dev clean"
		return 1
	}
	nothing_in large_frames "$stage_dir/flash_mng_kernel" || return 1
	largest_frames | sort -n -k 2 | awk 'END { print "the largest has " $2 ", in " $1 }'
}

# expect_info FIELD VALUE
expect_info() {
	info=$(modinfo -F "$1" "$flash_object")
	[ "$info" = "$2" ] || {
		echo "modinfo $1 is '$info', expected '$2'"
		return 1
	}
}

module_information() {
	expect_info license "Dual BSD/GPL" && expect_info name flash_mng && expect_info parm "" &&
		expect_info version "$(cat "$root/VERSION")" || return 1
	case $(modinfo -F vermagic "$flash_object") in
	*"SMP preempt mod_unload modversions aarch64"*) ;;
	*)
		echo "vermagic is '$(modinfo -F vermagic "$flash_object")'"
		return 1
		;;
	esac
}

# ---- the lists beside the module: what it offers, and its size, as last looked at

# build_list LIST COMMAND...: sets list, and built to a file of the command's lines below the list's own comments.
build_list() {
	list=$1
	built=$build_dir/results/$(basename "$1")
	shift
	{
		grep '^#' "$list"
		"$@"
	} >"$built"
}

renew_hint() {
	echo "< as listed, > as built. When that is meant: ./dev renew $(basename "$list" .txt)"
	return 1
}

# as_listed LIST COMMAND...: fails with the differences when the command's lines are not those of the list.
as_listed() {
	build_list "$@" || return 1
	diff "$list" "$built" || renew_hint || return 1
	grep -vc '^#' "$built"
}

# exports [SYMBOLS]: plain exports with their checksums, of the board's module or in that symbol file.
exports() {
	awk -F '\t' '$4 == "EXPORT_SYMBOL" { print $2, $1 }' "${1-$stage_dir/flash_mng_kernel/Module.symvers}" | LC_ALL=C sort
}

# imports: what flash_mng takes from the platform, with the checksums that the reference platform exports.
imports() {
	undefined_symbols >"$build_dir/results/undefined"
	exports "$stage_dir/reference_platform/Module.symvers" | LC_ALL=C join - "$build_dir/results/undefined"
}

# declared_names: the records, members and functions of the public headers and of the platform's.
declared_names() {
	cat "$root"/flash_mng_kernel/include/*.h "$root"/flash_mng_kernel/include/uapi/*.h "$root"/flash_mng_kernel/platform/*.h | awk '
		/^struct [a-z_]+ \{/ {
			print record = $2
			next
		}
		/^}/ { record = "" }
		record != "" && /^\t[a-z]/ {
			sub(/;.*/, "")
			sub(/\[.*/, "")
			if (match($0, /\(\*[a-z0-9_]+\)/))
				print record "." substr($0, RSTART + 2, RLENGTH - 3)
			else
				print record "." substr($0, match($0, /[a-z0-9_]+$/))
		}
		record == "" && /^[a-z].*\(/ && !/^static / {
			sub(/\(.*/, "")
			print substr($0, match($0, /[a-z0-9_]+$/))
		}' | LC_ALL=C sort -u
}

agreed_names() {
	sed -nE 's/^AGREED_(RECORD|FUNCTION)\(([a-z0-9_]+), .*/\2/p; s/^AGREED_MEMBER\(([a-z0-9_]+), ([a-z0-9_]+), .*/\1.\2/p' \
		"$root/flash_mng_kernel/interface.h" | LC_ALL=C sort -u
}

# interface_findings: where the headers differ from interface.h, for C++ and C of 64 bits and for C of 32, and what it does not have.
interface_findings() {
	set -- -Wall -Wextra -fsyntax-only -I "$root/flash_mng_kernel" -I "$root/flash_mng_kernel/include" \
		"$root/flash_mng_kernel/interface.h"
	aarch64-linux-gnu-g++ -std=c++20 -D__KERNEL__ -x c++ "$@" 2>&1
	aarch64-linux-gnu-gcc -x c "$@" 2>&1
	arm-linux-gnueabihf-gcc -x c "$@" 2>&1
	agreed_names >"$build_dir/results/agreed"
	declared_names | LC_ALL=C comm -23 - "$build_dir/results/agreed" | sed 's/$/ is not in interface.h/'
}

interface_agreed() {
	nothing_in interface_findings || return 1
	echo "$(agreed_names | wc -l) records, members and functions"
}

# platform_statuses: the statuses of the reference platform's services.
platform_statuses() {
	sed -n 's/^#define \([A-Z_]*\)[[:space:]]*[(0-9].*/\1/p' "$root/reference_platform/include/platform_status.h"
}

# unexpected_statuses: those that no check of the platform's own, on the board, expects.
unexpected_statuses() {
	cat "$root"/tests/guest/platform_check/*/*.c >"$build_dir/results/platform_checks"
	platform_statuses | while IFS= read -r given_status; do
		grep -qw "$given_status" "$build_dir/results/platform_checks" || echo "$given_status is expected by no check"
	done
}

statuses_expected() {
	nothing_in unexpected_statuses || return 1
	platform_statuses | wc -l
}

# Commands, codes and limits.
numbers() {
	aarch64-linux-gnu-gcc -dM -E -x c "$root/flash_mng_kernel/include/uapi/flash_mng.h" |
		awk '$1 == "#define" && $2 ~ /^FLASH_MNG_/ && $3 ~ /^[0-9]/ { print $2, $3 }' | LC_ALL=C sort
}

section_sizes() {
	aarch64-linux-gnu-size -A "$flash_object" | awk '
		match($1, /^\.(init\.text|exit\.text|text|rodata|data|bss)/) { bytes[substr($1, 1, RLENGTH)] += $2 }
		END { for (section in bytes) print section, bytes[section] }' | LC_ALL=C sort
}

# The largest stack frame of each source that has any.
largest_frames() {
	(cd "$stage_dir/flash_mng_kernel" && find . -name '*.su' -exec awk -F '\t' '
		$2 > 0 && $2 > bytes[FILENAME] + 0 { bytes[FILENAME] = $2 }
		END { for (file in bytes) print substr(file, 3, length(file) - 5), bytes[file] }' {} +) | LC_ALL=C sort
}

sizes() {
	section_sizes
	largest_frames
}

# other_sizes: sizes of the built list that differ from the list by more than 5 % and 32 bytes, or are in one of both only.
other_sizes() {
	awk '
		/^#/ { next }
		NR == FNR { listed[$1] = $2; next }
		!($1 in listed) { print "> " $1, $2; next }
		{
			difference = $2 > listed[$1] ? $2 - listed[$1] : listed[$1] - $2
			if (difference > 32 + listed[$1] / 20)
				print "< " $1, listed[$1] "\n> " $1, $2
			delete listed[$1]
		}
		END { for (name in listed) print "< " name, listed[name] }' "$list" "$built"
}

# sizes_on LIST
sizes_on() {
	build_list "$1" sizes
	nothing_in other_sizes || renew_hint || return 1
	aarch64-linux-gnu-size "$flash_object" | awk 'NR == 2 { print "text " $1 ", data " $2 ", bss " $3 }'
}

check_object() {
	flash_object=$stage_dir/flash_mng_kernel/flash_mng.ko
	check constructors "flash_mng.ko: no constructors" nothing_in constructors
	check runtime "flash_mng.ko: no C++ runtime symbols" nothing_in runtime_symbols
	check unwinding "flash_mng.ko: no unwind tables" nothing_in unwind_tables
	check symbols "flash_mng.ko: undefined symbols are on the list" symbols_on "$root/flash_mng_kernel/allowed_symbols.txt"
	check frames "flash_mng.ko: frames of at most $frame_limit bytes" frames_measured
	check information "flash_mng.ko: licence, version, no parameters, version magic" module_information
	check exports "flash_mng.ko: exports and their checksums are those of the list" \
		as_listed "$root/flash_mng_kernel/exports.txt" exports
	check sizes "flash_mng.ko: sections and largest frames have the sizes of the list" sizes_on "$root/flash_mng_kernel/sizes.txt"
	check imports "flash_mng.ko: what it takes from the platform has the checksums of the list" \
		as_listed "$root/flash_mng_kernel/imports.txt" imports
	check traces "flash_mng.ko: what tools/trace follows is there" nothing_in unfollowed_names
}

check_headers() {
	check interface "headers: they say what interface.h says" interface_agreed
	check numbers "headers: commands, codes and limits are those of the list" as_listed "$root/flash_mng_kernel/numbers.txt" numbers
	check statuses "reference platform: each status is expected by one of its checks" statuses_expected
}

# ---- C of the kernel

# make_all_modules ARGUMENT...: also those of the long runs.
make_all_modules() {
	make_board_modules "$@" && make_lab "$@" && make_powercut_client "$@" && make_flash_calls "$@" && make_bench_client "$@"
}

# strict_findings COMMAND...: Kbuild, called by the command with all its extra warnings and sparse, in a stage of its own; what concerns our
# own files. Kbuild builds an object once, however many warnings it has: a stage that is not known to be clean is built anew.
strict_findings() {
	use_stage strict
	[ -e "$stage_dir.clean" ] || rm -rf "$stage_dir"
	rm -f "$stage_dir.clean"
	strict_text=$({
		"$@" W=1 C=2 CHECK=sparse >"$log_dir/strict.log" 2>&1 || tail -n 20 "$log_dir/strict.log"
		grep -E "^$stage_dir/[^:]*:[0-9:]* (warning|error):" "$log_dir/strict.log" | sort -u
	})
	if [ -z "$strict_text" ]; then
		touch "$stage_dir.clean"
	else
		printf '%s\n' "$strict_text"
	fi
	use_stage production
}

kernel_style_findings() {
	our_files 'flash_mng_kernel/*.c' 'flash_mng_kernel/*.h' 'reference_platform/*.c' 'reference_platform/*.h' 'board/demo/*.c' \
		'examples/*.[ch]' 'tests/guest/lab/*.[ch]' 'tests/guest/platform_check/*.[ch]' 'tests/powercut/client/*.[ch]' \
		'tests/torture/calls/*.[ch]' 'bench/kernel/*.[ch]' | (cd "$root" &&
		xargs perl "$kernel_source/scripts/checkpatch.pl" --no-tree --terse --quiet --max-line-length="$line_limit" \
			--show-types --ignore "$kernel_style_exceptions" -f) | grep -vE '^total:'
}

# Exports stand in a file of their own, apart from the C++ functions; probes and tables are macros over lists. One source serves several
# kernels (other_versions).
kernel_style_exceptions=EXPORT_SYMBOL,REPEATED_WORD,QUOTED_WHITESPACE_BEFORE_NEWLINE,SPDX_LICENSE_TAG,MACRO_ARG_REUSE,MACRO_ARG_PRECEDENCE
kernel_style_exceptions=$kernel_style_exceptions,MULTISTATEMENT_MACRO_USE_DO_WHILE,COMPLEX_MACRO,NEW_TYPEDEFS
kernel_style_exceptions=$kernel_style_exceptions,LINUX_VERSION_CODE,CONSTANT_COMPARISON,AVOID_EXTERNS
kernel_style_exceptions=$kernel_style_exceptions,FILE_PATH_CHANGES,PREFER_PRINTF,VSPRINTF_SPECIFIER_PX,BRACKET_SPACE

# What differs between the kernels stands where Linux is called from, in one place of a file, and never in C++.
version_files='flash_mng_kernel/kernel/[a-z_]*\.c|tests/guest/lab/([a-z0-9]+/)?[a-z_]+\.[ch]|tests/guest/platform_check/[a-z_/]+\.[ch]'

# other_versions: versions of Linux that are asked for elsewhere, or twice in a file.
other_versions() {
	our_files '*.c' '*.h' '*.cpp' '*.hpp' | (cd "$root" && xargs grep -HcE '^[[:space:]]*#.*(LINUX_VERSION_CODE|KERNEL_VERSION)') |
		awk -F : -v allowed="^($version_files)$" '$2 > 0 && ($1 !~ allowed || $2 > 1) { print $1 ": " $2 " times" }'
}

# ---- C++

# All that clang-tidy reads of the clone, and its own version, as a hash: what it found clean once is clean as long as this stays.
tidy_inputs() {
	{
		clang-tidy --version
		cd "$root" && our_files 'flash_mng_kernel/*' 'reference_platform/*.h' 'client/*' 'tools/*' 'tests/*.hpp' .clang-tidy \
			'*CMakeLists.txt' | xargs sha256sum
	} | hash_of
}

# tidy_findings NAME CHECKS PATTERN...: of clang-tidy, with these checks of those that .clang-tidy chooses, in our files; the name is that
# of its results.
tidy_findings() {
	tidied_file=$build_dir/results/tidied_$1
	tidy_checks=$2
	shift 2
	tidied=$(tidy_inputs)
	[ "$(cat "$tidied_file" 2>/dev/null)" != "$tidied" ] || return 0
	tidy_status=0
	(cd "$root" && our_files "$@" | xargs -P "$jobs" -n 1 clang-tidy -p "$(preset_dir debug)" --checks="$tidy_checks" \
		--quiet --extra-arg=-Wno-unknown-warning-option) >"$log_dir/tidy.log" 2>&1 || tidy_status=$?
	tidy_text=$(grep -E '(warning|error):' "$log_dir/tidy.log" | sort -u)
	[ "$tidy_status" -eq 0 ] || [ -n "$tidy_text" ] || tidy_text="clang-tidy ended with $tidy_status: $(tail -n 3 "$log_dir/tidy.log")"
	if [ -z "$tidy_text" ]; then
		echo "$tidied" >"$tidied_file"
	else
		printf '%s\n' "$tidy_text"
	fi
}

# cppcheck_findings FILE_OR_FOLDER...
cppcheck_findings() {
	(cd "$root" && cppcheck --quiet --enable=warning,performance,portability --std=c++20 --language=c++ --inline-suppr \
		--suppress=missingIncludeSystem -Iflash_mng_kernel -Iflash_mng_kernel/include -Isimulation "$@" 2>&1)
}

# naming_findings: the dialect in all C and C++, as far as ctags reads it, in a second. clang-tidy, which takes seconds for each source,
# reads the module and the tools.
naming_findings() (
	cd "$root" || return 1
	our_files '*.c' '*.cpp' '*.h' '*.hpp' >"$build_dir/named_files"
	{
		xargs grep -oHE 'module_param[a-z_]*\([a-z0-9_]+' <"$build_dir/named_files" |
			sed -n 's/\(.*\):module_param[a-z_]*(\(.*\)/parameter\t\2\t\1/p'
		ctags -L "$build_dir/named_files" --languages=C,C++ --langmap=C++:+.h --kinds-C=+px-d --kinds-C++=+px-d --fields=+a -f - \
			--output-format=xref --_xformat='%K	%N	%a	%F	%n	%P'
	} | awk -f scripts/naming.awk
	xargs grep -nE '\bm_[a-z][a-z0-9_]*\b' <"$build_dir/named_files"
)

format_findings() {
	our_files '*.cpp' '*.hpp' | (cd "$root" && xargs clang-format --dry-run 2>&1)
}

# lab_job_valid FILE: by the schema that LAVA's server takes jobs by.
lab_job_valid() {
	/usr/bin/python3 -c 'import sys, yaml, lava_common.schemas as schemas
with open(sys.argv[1]) as job: schemas.validate(yaml.safe_load(job))' "$1"
}

# ---- shell and text

# shell_findings SCRIPT...: scripts with what they source.
shell_findings() {
	(cd "$root" && shellcheck -x -a -f gcc "$@" 2>&1)
	for script in "$@" $(our_files '*.sh'); do
		(cd "$root" && dash -n "$script" 2>&1)
	done
}

# Names that several functions set: what is counted, what a step and its end share, what the test of the gates points at planted things,
# the preset that a command has already.
shared_names="root build_dir log_dir stage_dir flash_object package_files kernel_dir kernel_source kernel_source_id progress_pid mcdc_dir
	host_preset wanted_checks checks_beside checks_passed checks_failed checks_skipped total_passed total_failed total_skipped"

# twice_named_findings SHARED: names that scripts would take from each other, as they are one program for the shell.
twice_named_findings() {
	(cd "$root" && our_files dev 'scripts/*.sh' 'tests/*.sh' | xargs awk -v shared="$(echo "$1" | xargs)" -f scripts/shared_names.awk)
}

# shell_programs: what the shell is started with, and scripts that are found by name only.
shell_programs() {
	our_files '*' | (cd "$root" && xargs -d '\n' awk '
		FNR == 1 && /^#!.*sh$/ || FNR < 4 && /^# shellcheck shell=(da)?sh$/ && FILENAME !~ /\.sh$/ {
			print FILENAME
		}') | sort -u
}

# bash_findings SCRIPT...: completions, which their shells source.
bash_findings() {
	(cd "$root" && shellcheck -s bash -f gcc "$@" 2>&1)
}

zsh_findings() {
	for completion in "$@"; do
		(cd "$root" && zsh -n "$completion" 2>&1)
	done
}

completion_findings() {
	bash_findings tools/flashctl/completion/flashctl.bash
	zsh_findings tools/flashctl/completion/_flashctl
	bash_findings tools/flash-board/completion/flash-board.bash
	zsh_findings tools/flash-board/completion/_flash-board
}

# manual_findings PAGE...: what breaks the rules of their language or would be shown in another way than it was meant.
manual_findings() {
	(cd "$root" && mandoc -T lint -W warning "$@" 2>&1)
}

source_files() {
	{
		our_files '*.c' '*.h' '*.S' '*.cpp' '*.hpp' '*.sh' '*.cmake' '*CMakeLists.txt' '*Kbuild' '*.py' '*.awk' '*.def' '*.mk' \
			'*.bash' '*Makefile' '*Config.in' '*.bb' '*.conf' '*.rules' '*.service' 'docs/man/*' \
			packages/debian/rules .clang-format .clang-tidy .ci/run
		shell_programs
	} | sort -u
}

files_without_licence() {
	source_files |
		while IFS= read -r unlicensed; do
			head -n 3 "$unlicensed" | grep -q 'SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only' || echo "$unlicensed"
		done
}

# Files with nobody's copyright or without a licence, unknown licences, and texts of licences that nothing uses: of a copy, where files that
# git ignores are not.
reuse_findings() {
	reuse_dir=$build_dir/reuse
	rm -rf "$reuse_dir"
	mkdir -p "$reuse_dir"
	our_files '*' | rsync -a --files-from=- "$root" "$reuse_dir" || return 1
	(cd "$reuse_dir" && GIT_CEILING_DIRECTORIES="$build_dir" reuse --root . lint 2>&1) || true
}

# other_licences: lines that name another licence than the one of all files.
other_licences() {
	our_files '*' | (cd "$root" && xargs -d '\n' grep -nI 'SPDX-License-Identifier: [A-Z]') |
		grep -v 'SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only'
}

licences_stand() {
	nothing_in other_licences || return 1
	reuse_text=$(reuse_findings)
	case $reuse_text in
	*'Congratulations!'*) our_files '*' | wc -l ;;
	*)
		printf '%s\n' "$reuse_text"
		return 1
		;;
	esac
}

# Tabs count 8 columns; a message text stays whole, however long its line.
long_lines() {
	source_files | while IFS= read -r wide; do
		expand "$wide" | awk -v name="$wide" -v limit="$line_limit" '
			length($0) > limit && !/"[^"]{60,}"/ { print name ":" NR ": " length($0) " columns" }'
		grep -nE '[[:space:]]+$' "$wide" | sed "s,^\([0-9]*\):.*,$wide:\1: white space at the end,"
	done
}

checks_of_modules="gates constructors runtime unwinding symbols frames information exports sizes imports traces strict"
checks_of_programs="gates tidy tidy_tools analyzer analyzer_tools"

# build_for_checks: what the wanted checks look at.
build_for_checks() {
	# shellcheck disable=SC2086 # lists of names
	if are_wanted $checks_of_modules; then
		build_kernel production
		build_modules production
		build_lab production
	fi
	# shellcheck disable=SC2086
	! are_wanted $checks_of_programs || configure_programs debug
}

# Debian's kernels that were built by the oldest compiler which has enough of C++20, GCC 10, and with the real-time patches that 5.10 needs.
compiled_alone="5.10-arm64 5.10-rt-arm64"

# check_kernel KERNEL: its header packages are fetched once. A machine that cannot reach them any more still checks all the rest.
check_kernel() {
	if headers_fetched "$1"; then
		check kernels "Linux $1 of Debian: all modules compile, W=1" compiles_for "$1"
	else
		skip_check "Linux $1 of Debian" "its header packages cannot be fetched ($(why_no_headers "$1"))"
	fi
}

check_kernels() {
	is_wanted kernels || return 0
	for other_kernel in $compiled_alone; do
		if [ "$checks_beside" = tests ]; then
			skip_check "Linux $other_kernel of Debian" "takes half a minute; ./dev check kernels"
		else
			check_kernel "$other_kernel"
		fi
	done
	for other_kernel in $(supported_kernels | sed 1d); do
		check_kernel "$other_kernel"
	done
}

check_sources() {
	check strict "C for the kernel: W=1 and sparse" nothing_in strict_findings make_all_modules
	check style "C for the kernel: style" nothing_in kernel_style_findings
	check versions "C for the kernel: versions of Linux are asked for in the shims and the lab only" nothing_in other_versions
	check tidy "C++ of the module: clang-tidy" nothing_in tidy_findings tidy '-clang-analyzer-*' 'flash_mng_kernel/*.cpp'
	check_alone tidy_tools "C++ of the tools: clang-tidy" nothing_in tidy_findings tidy_tools '-clang-analyzer-*' 'tools/*.cpp'
	check analyzer "C++ of the module: clang's analyzer" \
		nothing_in tidy_findings analyzer '-*,clang-analyzer-*' 'flash_mng_kernel/*.cpp'
	check_alone analyzer_tools "C++ of the tools: clang's analyzer" \
		nothing_in tidy_findings analyzer_tools '-*,clang-analyzer-*' 'tools/*.cpp'
	check cppcheck "C++: cppcheck" nothing_in cppcheck_findings flash_mng_kernel/frame flash_mng_kernel/config \
		flash_mng_kernel/datapath flash_mng_kernel/ioctl flash_mng_kernel/spi tools
	check format "C++: clang-format" nothing_in format_findings
	check naming "C and C++: names" nothing_in naming_findings
	# shellcheck disable=SC2046 # names without blanks
	check shell "shell: shellcheck and dash" nothing_in shell_findings $(shell_programs)
	check names "shell: no name is taken twice by accident" nothing_in twice_named_findings "$shared_names"
	check completions "shell: completions for bash and zsh" nothing_in completion_findings
	# shellcheck disable=SC2046 # names without blanks
	check manuals "manual pages: mandoc, $(our_files 'docs/man/*' | wc -l) pages" nothing_in manual_findings $(our_files 'docs/man/*')
	check site "documents as a site: every link leads somewhere" make_site
	check lab "job for LAVA, by its schema" lab_job_valid packages/lab/lava-qemu.yaml
	check promises "each promise has what supports it" nothing_in verification_findings
	check litmus "litmus tests and the module name the same lines" nothing_in litmus_differences
	check licence "licence line on top of every source" nothing_in files_without_licence
	check copyright "copyright and licence of every file: reuse lint" licences_stand
	check commits "commits: area, sentence, length of lines" commits_stand
	check lines "lines of at most $line_limit columns, no white space at the end" nothing_in long_lines
}

# run_checks: the wanted ones; needs what build_for_checks builds.
run_checks() {
	checks_passed=0
	checks_failed=0
	checks_skipped=0
	checks_start=$(date +%s)
	mkdir -p "$log_dir" "$build_dir/results"
	cd "$root" || return 1
	[ ! -e "$root/.git" ] || git -C "$root" rev-parse --git-dir >/dev/null || die "the checks ask git for the files of this clone"
	# shellcheck disable=SC2086 # a list of names
	! are_wanted $checks_of_modules style || use_kernel production
	use_stage production
	say "checks"
	# shellcheck disable=SC2154 # it is set in scripts/programs.sh
	check gates "the checks find what they look for" "$root/tests/gate/gate_test.sh" "$host_preset"
	check dev "./dev: at the same time, ended half-way, without room or network" "$root/tests/dev/dev_test.sh"
	check release "./dev release: what it refuses, makes and finds" "$root/tests/release/release_test.sh"
	check_object
	check_headers
	check_sources
	check_kernels
	echo "$checks_passed $checks_failed $checks_skipped" >"$build_dir/results/checks"
	checks_took=$(seconds_since "$checks_start")
	[ "$checks_failed" -eq 0 ] || {
		say "$checks_failed of $((checks_passed + checks_failed)) checks failed, in $checks_took"
		return 1
	}
	checks_left_out=
	[ "$checks_skipped" -eq 0 ] || checks_left_out=", $checks_skipped skipped"
	say "all $checks_passed checks passed$checks_left_out, in $checks_took"
}
