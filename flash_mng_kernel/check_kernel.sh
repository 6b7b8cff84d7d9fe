#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# check_kernel.sh TREE: whether flash_mng can be built against this kernel tree, the folder that a kernel was built in or the one of its
# header package. Where not, one sentence on standard error says why, and the status is 1.

here=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd)
tree=$1
configuration=$tree/include/config/auto.conf

refuse() {
	echo "flash_mng: $*" >&2
	exit 1
}

supported=$(sed -n 's/^\([0-9.]*\) .*/\1/p' "$here/KERNELS" | paste -s -d ' ' -)

# number VERSION: as a number that can be compared, 6.12 -> 6012
number() {
	echo "$1" | awk -F . '{ print $1 * 1000 + $2 }'
}

# check_version VERSION
check_version() {
	case " $supported " in
	*" $1 "*) return ;;
	esac
	why="is not one of them"
	[ "$(number "$1")" -ge "$(number "${supported%% *}")" ] || why="is too old"
	[ "$(number "$1")" -le "$(number "${supported##* }")" ] || why="is too new"
	refuse "it is made for Linux $supported, and $1 in $tree $why"
}

[ -d "$tree" ] || refuse "there is no kernel tree $tree; name the folder that the kernel was built in, or that of its header package"
[ -e "$tree/Makefile" ] || refuse "$tree is no kernel tree: it has no Makefile"
[ -e "$configuration" ] ||
	refuse "the kernel tree $tree is not configured and prepared: make a configuration, then 'make modules_prepare' there"
if [ ! -x "$tree/scripts/mod/modpost" ] || [ ! -e "$tree/include/config/kernel.release" ]; then
	refuse "the kernel tree $tree is configured, but not prepared: 'make modules_prepare' there"
fi
release=$(cat "$tree/include/config/kernel.release")
check_version "$(echo "$release" | sed 's/^\([0-9]*\.[0-9]*\).*/\1/')"
grep -qxE 'CONFIG_(ARM64|X86_64)=y' "$configuration" ||
	refuse "it is made for 64-bit Arm (and x86_64, where its tests run), and $release in $tree is for another architecture"
grep -qx CONFIG_MODULES=y "$configuration" || refuse "$release in $tree cannot load modules: it was configured without CONFIG_MODULES"
[ -e "$tree/Module.symvers" ] || ! grep -qx CONFIG_MODVERSIONS=y "$configuration" ||
	refuse "$release in $tree was not built: without its Module.symvers no module would load; build the kernel and its modules there"
