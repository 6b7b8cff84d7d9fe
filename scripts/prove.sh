# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev prove: the module's publications without a lock in Linux's memory model, its C and the reference platform's by CBMC, and the
# arithmetic of its ranges by z3. herd7 and CBMC come from a newer Debian release than this machine's, and are started with that release's
# own libraries.

prover_libraries="libc6 libgmp10 libgcc-s1 zlib1g libstdc++6 minisat"

# use_provers: sets herd_files, cbmc_files, prover_loader and prover_library_path.
use_provers() {
	prover_architecture=$(dpkg --print-architecture)
	prover_library_path=
	for prover_library in $prover_libraries; do
		fetch_package sid "$prover_architecture" "$prover_library"
		for prover_folder in "$package_files"/files/usr/lib "$package_files"/files/usr/lib/*-linux-gnu*; do
			prover_library_path=$prover_library_path:$prover_folder
		done
	done
	fetch_package sid "$prover_architecture" libc6
	prover_loader=$(find "$package_files/files" -name 'ld-linux-*.so.*' | head -n 1)
	fetch_package sid "$prover_architecture" herdtools7
	herd_files=$package_files/files
	fetch_package sid "$prover_architecture" cbmc
	cbmc_files=$package_files/files
}

# newer PROGRAM ARGUMENT...: a program of the newer release.
newer() {
	"$prover_loader" --library-path "${prover_library_path#:}" "$@"
}

# herd TEST: all executions of a litmus test, in the model in the folder memory_model.
herd() {
	(cd "$memory_model" && newer "$herd_files/usr/bin/herd7" -set-libdir "$herd_files/usr/share/herdtools7/herd" \
		-conf linux-kernel.cfg "$1") 2>&1
}

# litmus_holds TEST: its outcome never happens and nothing races.
litmus_holds() {
	herd "$1" >"$log_dir/herd.log"
	if grep -q '^Observation [a-z_]* Never ' "$log_dir/herd.log" && ! grep -q '^Flag ' "$log_dir/herd.log"; then
		sed -n 's/^Observation [a-z_]* Never 0 \([0-9]*\)$/never, in \1 states/p' "$log_dir/herd.log"
	else
		cat "$log_dir/herd.log"
		return 1
	fi
}

# weakened FROM TO TEST: once FROM is TO in it, the test still stands for a program, and its outcome happens or something races.
weakened() {
	sed "s/$1/$2/" "$root/tests/memory_model/$3.litmus" >"$build_dir/results/weakened.litmus"
	! litmus_holds "$build_dir/results/weakened.litmus" >/dev/null || return 1
	grep -E '^Observation [a-z_]* Sometimes |^Flag ' "$log_dir/herd.log" || {
		cat "$log_dir/herd.log"
		return 1
	}
}

test_memory_model() {
	count_step "seen: a plain store where lookups read" \
		weakened 'WRITE_ONCE(\*list, 1)' '*list = 1' listed_partition_while_loading
	count_step "seen: a count that is published without order" \
		weakened 'smp_store_release(' 'WRITE_ONCE(\*' listed_partition_while_loading
	count_step "seen: a driver that is published without order" \
		weakened 'smp_store_release(' 'WRITE_ONCE(\*' flash_driver_registers
	count_step "seen: a name that is published without order" \
		weakened 'smp_store_release(' 'WRITE_ONCE(\*' usrdata_name_while_loading
	for litmus_test in "$root"/tests/memory_model/*.litmus; do
		count_step "$(basename "$litmus_test" .litmus)" litmus_holds "$litmus_test"
	done
}

# use_newest_model: sets newest_model and newest_version, of the newest kernel that Debian has.
use_newest_model() {
	fetch_package sid "$(dpkg --print-architecture)" linux-source-7.2
	newest_version=$(cat "$package_files/version")
	newest_model=$package_files/tools/memory-model
	[ -e "$newest_model/.complete" ] || with_lock "$cache_dir/packages.lock" unpack_newest_model
}

unpack_newest_model() {
	[ ! -e "$newest_model/.complete" ] || return 0
	run_step "unpack the memory model of $newest_version" memory_model tar -C "$package_files" --strip-components=1 \
		-xf "$package_files/files/usr/src/linux-source-7.2.tar.xz" --wildcards '*/tools/memory-model/linux-kernel*' \
		'*/tools/memory-model/lock.cat'
	touch "$newest_model/.complete"
}

# ---- CBMC

# listed FILE: the lines of a list of tests/proofs.
listed() {
	grep -v '^#' "$root/tests/proofs/$1"
}

# field LINE N: of a line of a list.
field() {
	printf '%s\n' "$1" | awk -F ' [|] ' -v n="$2" '{ print $n }'
}

# stage_proofs FOLDER: the sources and the proofs, as they are in the clone, where Kbuild may write.
stage_proofs() {
	mkdir -p "$1/tests"
	rsync -rlpc --exclude '*.i' --exclude '*.gb' --exclude '.*' "$root/flash_mng_kernel" "$root/reference_platform" "$1" &&
		rsync -rlpc --exclude '*.i' --exclude '*.gb' --exclude '.*' "$root/tests/proofs" "$1/tests"
}

# read_sources FOLDER SOURCE...: makes what CBMC takes of these proofs, for AArch64, where a char has no sign.
read_sources() {
	read_folder=$1/tests/proofs
	shift
	# shellcheck disable=SC2046,SC2086 # lists
	make -C "$kernel_dir" M="$read_folder" $kernel_make_arguments -j"$jobs" $(printf '%s.i ' "$@") || return 1
	for read_source in "$@"; do
		[ -z "$(find "$read_folder/$read_source.i" -newer "$read_folder/$read_source.gb" 2>&1)" ] ||
			newer "$cbmc_files/usr/bin/goto-cc" -funsigned-char -c -o "$read_folder/$read_source.gb" \
				"$read_folder/$read_source.i" || return 1
	done
}

# loop_options LOOPS: "6,strlen:10" is six rounds of any loop but ten of the first in strlen.
loop_options() {
	printf '%s %s' --unwind "${1%%,*}"
	case $1 in
	*,*) printf '%s' "${1#*,}" | sed 's/:/.0:/g; s/^/ --unwindset /' ;;
	esac
}

# cbmc FOLDER PROOF [OPTION]: a line of proofs.list; its processor time goes to build/results/cbmc.times.
cbmc() (
	# shellcheck disable=SC2046,SC2086 # options
	newer "$cbmc_files/usr/bin/cbmc" --drop-unused-functions --slice-formula $(loop_options "$(field "$2" 4)") ${3-} \
		--function "$(field "$2" 3)" "$1/tests/proofs/$(field "$2" 2).gb" 2>&1
	cbmc_status=$?
	times >"$build_dir/results/cbmc.times"
	return "$cbmc_status"
)

# processor_seconds: of the last run.
processor_seconds() {
	awk 'END { split($1, minutes, "m"); printf "%d s", minutes[1] * 60 + minutes[2] + 0.5 }' "$build_dir/results/cbmc.times"
}

proof_holds() {
	if cbmc "$build_dir/proofs" "$1" >"$log_dir/cbmc.log"; then
		echo "$(field "$1" 5); $(processor_seconds) of processor time"
	else
		grep -E ': FAILURE$|ERROR|error' "$log_dir/cbmc.log" || tail -n 20 "$log_dir/cbmc.log"
		return 1
	fi
}

# mutate FILE WHAT INSTEAD: each WHAT of the file.
mutate() {
	what=$2 instead=$3 awk '
		{
			line = ""
			while (at = index($0, ENVIRON["what"])) {
				found++
				line = line substr($0, 1, at - 1) ENVIRON["instead"]
				$0 = substr($0, at + length(ENVIRON["what"]))
			}
			print line $0
		}
		END { exit !found }' "$1" >"$build_dir/results/mutated" && cp "$build_dir/results/mutated" "$1"
}

# make_mutant MUTATION: the sources in build/mutation, one of them changed so.
make_mutant() {
	mutant=$build_dir/mutation
	stage_proofs "$mutant" || return 1
	mutate "$mutant/$(field "$1" 2)" "$(field "$1" 3)" "$(field "$1" 4)" && return 0
	echo "$(field "$1" 2) has no $(field "$1" 3)"
	return 1
}

# refuted MUTATION: the proof of a line of mutations.list fails once the file is changed so.
refuted() {
	refuting=$(listed proofs.list | grep "^$(field "$1" 1) | ") || {
		echo "no such proof"
		return 1
	}
	make_mutant "$1" || return 1
	read_sources "$mutant" "$(field "$refuting" 2)" || return 1
	cbmc "$mutant" "$refuting" --stop-on-fail >"$log_dir/cbmc.log"
	grep -qx 'VERIFICATION FAILED' "$log_dir/cbmc.log" || {
		tail -n 20 "$log_dir/cbmc.log"
		return 1
	}
	sed -n '/^Violated property:/,/^$/ s/^  \([^ ].*\)/\1/p' "$log_dir/cbmc.log" | sed -n 2p
}

# ---- arithmetic of ranges

# shellcheck disable=SC2154 # set by scripts/common.sh
ranges=$build_dir/proofs/ranges

# cut_functions FOLDER: the functions of the module in that folder that tests/proofs/ranges is about.
cut_functions() {
	sed -n '/^bool contains(/,/^}/p' "$1/datapath/section_transfer.cpp"
	sed -n '/^bool ends_beyond(/,/^}/p' "$1/datapath/mtd_transfer.cpp"
	sed -n '/^u32 smaller(/,/^} \/\/ namespace/p' "$1/datapath/nand_transfer.cpp" | sed '$d'
}

# build_ranges FOLDER: the program of the functions of the module in that folder.
build_ranges() {
	mkdir -p "$ranges"
	cut_functions "$1" >"$ranges/functions.inc"
	g++ -std=c++20 -O2 -Wall -Wextra -Werror -I "$ranges" -I "$root/tests/proofs/ranges" "$root/tests/proofs/ranges/ranges.cpp" \
		-o "$ranges/ranges"
}

# solved QUESTIONS: what is to be proved has no counterexample, and each situation comes about.
solved() {
	z3 "$1" | paste - - | awk -F '\t' '
		$2 != "sat" && $2 != "unsat" { print "z3 says: " $0; bad = 1 }
		/^proved: / { proofs++ }
		/^proved: / && $2 != "unsat" { print "refuted: " substr($1, 9); bad = 1 }
		/^reached: / { seen[$1] += $2 == "sat" }
		END {
			for (situation in seen)
				if (!seen[situation]) {
					print "never " situation
					bad = 1
				}
			if (!proofs)
				bad = 1
			print proofs + 0 " paths and properties"
			exit bad
		}'
}

ranges_of_32_bits() {
	"$ranges/ranges" smt >"$ranges/questions.smt2" && solved "$ranges/questions.smt2"
}

test_ranges() {
	count_step "the functions of ranges, cut out of the module" build_ranges "$root/flash_mng_kernel"
	count_step "ranges, each number of 8 bits" "$ranges/ranges"
	count_step "ranges, any number of 32 bits, by z3" ranges_of_32_bits
}

# ranges_refuted MUTATION: with 8 bits and with 32.
ranges_refuted() {
	make_mutant "$1" || return 1
	build_ranges "$mutant/flash_mng_kernel" || return 1
	if "$ranges/ranges" || ranges_of_32_bits; then
		echo "it is not refuted"
		return 1
	fi
}

test_proofs() {
	run_step "read the sources" proofs_sources read_proved_sources
	listed proofs.list >"$build_dir/results/proofs"
	while IFS= read -r one_proof; do
		count_step "$(field "$one_proof" 1)" proof_holds "$one_proof"
	done <"$build_dir/results/proofs"
}

read_proved_sources() {
	# shellcheck disable=SC2046 # names without blanks
	stage_proofs "$build_dir/proofs" &&
		read_sources "$build_dir/proofs" $(listed proofs.list | awk -F ' [|] ' '!seen[$2]++ { print $2 }')
}

test_mutations() {
	listed mutations.list >"$build_dir/results/mutations"
	while IFS= read -r one_mutation; do
		case $one_mutation in
		'ranges | '*)
			count_step "refuted with 8 bits and with 32: $(field "$one_mutation" 4)" ranges_refuted "$one_mutation"
			continue
			;;
		esac
		count_step "refuted by $(field "$one_mutation" 1): $(field "$one_mutation" 4)" refuted "$one_mutation"
	done <"$build_dir/results/mutations"
}

prove_command() {
	prove_mutations=no
	! has_option --mutations prove "$@" || prove_mutations=yes
	hold_clone
	need_packages "$build_packages" "$prove_packages"
	build_kernel production
	use_provers
	mkdir -p "$log_dir" "$build_dir/results"
	say "publication without a lock, in the memory model of Linux $(make -s -C "$kernel_source" kernelversion)"
	memory_model=$kernel_source/tools/memory-model
	test_memory_model
	use_newest_model
	memory_model=$newest_model
	say "the same in that of Linux $newest_version"
	test_memory_model
	say "the arithmetic of ranges"
	test_ranges
	say "C, by CBMC"
	test_proofs
	if [ "$prove_mutations" = yes ]; then
		say "what is wrong on purpose"
		test_mutations
	fi
	show_total
}

# ---- for ./dev check

atomic_lines() {
	(cd "$root/flash_mng_kernel" && grep -rn --include='*.cpp' --include='*.hpp' '__atomic_' . |
		sed 's,^\./\([^:]*\):[0-9]*:[[:space:]]*,\1: ,' | LC_ALL=C sort -u)
}

# lines_of_litmus_tests: the lines of the module that the tests stand for.
lines_of_litmus_tests() {
	sed -n 's,^ \*   \([a-z_]*/[a-z_.]*: .*\)$,\1,p' "$root"/tests/memory_model/*.litmus | LC_ALL=C sort -u
}

# litmus_differences: lines that stand in a litmus test and no longer in the module, and atomic accesses that no test names.
litmus_differences() {
	lines_of_litmus_tests | while IFS= read -r litmus_line; do
		litmus_source=$root/flash_mng_kernel/${litmus_line%%: *}
		grep -qF -- "${litmus_line#*: }" "$litmus_source" || echo "no longer in the module: $litmus_line"
	done
	atomic_lines >"$build_dir/results/atomic_lines"
	lines_of_litmus_tests | LC_ALL=C comm -13 - "$build_dir/results/atomic_lines" | sed 's/^/named by no litmus test: /'
}
