# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# What the test programs of this folder share: the scripts that they inspect with, and how a module built elsewhere is looked at.

# shellcheck source=scripts/common.sh
. "$root/scripts/common.sh"
# shellcheck source=scripts/words.sh
. "$root/scripts/words.sh"
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
# shellcheck source=scripts/debian.sh
. "$root/scripts/debian.sh"
# shellcheck source=scripts/headers.sh
. "$root/scripts/headers.sh"
# shellcheck source=scripts/kernel.sh
. "$root/scripts/kernel.sh"
# shellcheck source=scripts/modules.sh
. "$root/scripts/modules.sh"
# shellcheck source=scripts/programs.sh
. "$root/scripts/programs.sh"
# shellcheck source=scripts/board.sh
. "$root/scripts/board.sh"
# shellcheck source=scripts/check.sh
. "$root/scripts/check.sh"
# shellcheck source=scripts/package.sh
. "$root/scripts/package.sh"
# shellcheck source=scripts/release.sh
. "$root/scripts/release.sh"
# shellcheck source=scripts/results.sh
. "$root/scripts/results.sh"

platform_symbols=$build_dir/kernel/production/reference_platform/Module.symvers

# wrong TEXT: says what is wrong, and fails.
wrong() {
	echo "$1"
	return 1
}

# count_long_step "all"|"" TEXT COMMAND...: without "all" it is left out.
count_long_step() {
	if [ "$1" = all ]; then
		shift
		count_step "$@"
	else
		leave_out "$2" "takes minutes; ./dev package --test"
	fi
}

kernel_release() {
	cat "$kernel_dir/include/config/kernel.release"
}

# exports_listed SYMVERS: beside the checks, which may look at the same list at the same time.
exports_listed() {
	mkdir -p "$build_dir/packages_test"
	grep -v '^#' "$root/flash_mng_kernel/exports.txt" >"$build_dir/packages_test/exports"
	exports "$1" | diff "$build_dir/packages_test/exports" -
}

# module_is_whole FOLDER: a module was built there, with the exports and checksums of the list.
module_is_whole() {
	[ -s "$1/flash_mng.ko" ] || wrong "no flash_mng.ko" || return 1
	exports_listed "$1/Module.symvers" || return 1
	echo "$(grep -vc '^#' "$root/flash_mng_kernel/exports.txt") exports with the checksums of the list"
}
