# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev fuzz [MINUTES [SEED]]: calls that nobody would make, on the board's debug kernel.

# fuzz_on_board SECONDS SEED
fuzz_on_board() {
	build_torture_board debug
	say "fuzz of the device and the exports on the board, $(seconds_text "$1")"
	run_torture_task debug fuzz $(($1 + 300)) "kmemleak=off fuzz.seconds=$1 fuzz.seed=$2"
}

# fuzz_command [MINUTES [SEED]]: each part takes that long.
fuzz_command() {
	fuzz_minutes=${1:-5}
	fuzz_seed=${2:-1}
	whole_numbers fuzz "$fuzz_minutes" "$fuzz_seed"
	need_packages "$build_packages"
	fuzz_on_board $((fuzz_minutes * 60)) "$fuzz_seed"
}
