# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Modified condition/decision coverage of the module's C++: whether every condition of a decision was seen to turn it alone. Only clang
# measures it, so the module's C++ is compiled by clang and linked with the cases as the preset "debug" has built them. Part of
# ./dev coverage.

mcdc_least=100

# The debug preset's objects have no sanitizer, so they go with any core.
build_mcdc() {
	mcdc_host_dir=$(preset_dir debug)
	rm -rf "$mcdc_dir"
	mkdir -p "$mcdc_dir"
	for mcdc_source in "$root"/flash_mng_kernel/*/*.cpp; do
		clang++-19 -std=c++20 -O0 -fno-exceptions -fno-rtti -fno-threadsafe-statics \
			-fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc -DFLASH_MNG_HOSTED \
			-I"$root/flash_mng_kernel" -I"$root/flash_mng_kernel/include" -I"$root/simulation" -c "$mcdc_source" \
			-o "$mcdc_dir/$(basename "$mcdc_source" .cpp).o" || return 1
	done
	find "$mcdc_host_dir/tests/host/CMakeFiles/conformance_cases.dir" "$mcdc_host_dir/simulation/CMakeFiles/simulation.dir" \
		-name '*.o' >"$mcdc_dir/objects"
	clang++-19 -fprofile-instr-generate "$mcdc_dir"/*.o "@$mcdc_dir/objects" "$(preset_dir debug)/lib/libgtest.a" \
		"$(preset_dir debug)/lib/libgtest_main.a" -lpugixml -lpthread -o "$mcdc_dir/mcdc_host"
}

run_mcdc() {
	LLVM_PROFILE_FILE="$mcdc_dir/profile" "$mcdc_dir/mcdc_host" --gtest_brief=1 &&
		llvm-profdata-19 merge -o "$mcdc_dir/profile.data" "$mcdc_dir/profile" &&
		llvm-cov-19 report "$mcdc_dir/mcdc_host" "-instr-profile=$mcdc_dir/profile.data" --show-mcdc-summary \
			"$root/flash_mng_kernel" >"$mcdc_dir/report.txt"
}

# The three last columns of the last line: conditions, those missed, and the part that was shown.
mcdc_text() {
	grep -q 'MC/DC Conditions  *Missed Conditions  *Cover$' "$mcdc_dir/report.txt" || {
		echo "the report has no conditions in its last columns"
		return 1
	}
	awk -v least="$mcdc_least" '
		$1 == "TOTAL" {
			printf "%d of %d conditions, %s\n", $(NF - 2) - $(NF - 1), $(NF - 2), $NF
			enough = $(NF - 2) > 0 && $NF + 0 >= least
		}
		END { exit !enough }' "$mcdc_dir/report.txt"
}

test_mcdc() {
	mcdc_dir=$build_dir/mcdc
	build_program_target debug conformance_host
	run_step "build the cases with clang" build_mcdc build_mcdc
	try_step "run the cases for conditions" run_mcdc run_mcdc || tail -n 20 "$step_log"
	count_step "conditions that decided alone (MC/DC)" mcdc_text
}
