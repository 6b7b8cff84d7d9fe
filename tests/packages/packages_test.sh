#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Tests of packages/, a program of its own; it needs the production kernel's modules. What Yocto and Buildroot are given is read as they
# read it, and the module is built by the calls that their classes for kernel modules make.

set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/../.." && pwd)
# shellcheck source=tests/packages/built_module.sh
. "$root/tests/packages/built_module.sh"

yocto_layer=$root/packages/yocto
yocto_recipe=$yocto_layer/recipes-kernel/kernel-module-flash-mng/kernel-module-flash-mng.bb
yocto_tools_recipe=$yocto_layer/recipes-support/flash-mng-tools/flash-mng-tools.bb
yocto_work=$build_dir/packages_test/yocto

# recipe_value FILE NAME: the value that a recipe or a layer's configuration gives a variable, its lines joined.
recipe_value() {
	sed -e ':join' -e '/\\$/ { N; s/\\\n[[:space:]]*//; b join' -e '}' "$1" |
		sed -n "s/^$2[[:space:]]*\(=\|+=\|?=\|\.=\|=+\)[[:space:]]*\"\(.*\)\"\$/\2/p"
}

# has_values FILE NAME...
has_values() {
	values_of=$1
	shift
	for value in "$@"; do
		[ -n "$(recipe_value "$values_of" "$value")" ] || wrong "$values_of: no $value" || return 1
	done
}

# One file has the version; nothing else repeats it.
one_version() {
	case $(package_version) in
	*[!0-9.]* | '') wrong "VERSION holds '$(package_version)'" || return 1 ;;
	esac
	version_pattern=$(package_version | sed 's/\./\\./g')
	repeated=$(cd "$root" && our_files 'packages/*' 'client/CMakeLists.txt' 'tools/*CMakeLists.txt' CMakeLists.txt |
		xargs grep -nE "(VERSION|PV)( |=| [?]?= )\"?$version_pattern(\$|[^0-9.])") || true
	[ -z "$repeated" ] || wrong "$repeated" || return 1
	package_version
}

# The rule of the packages is about the module's device, and gives it to nobody.
device_is_roots() {
	device=$(sed -n 's,^#define FLASH_MNG_DEVICE "/dev/\(.*\)",\1,p' "$root/flash_mng_kernel/include/uapi/flash_mng.h")
	[ -n "$device" ] || wrong "no name of the device" || return 1
	rules=$(cd "$root" && our_files 'packages/*' | xargs grep -hE '^(SUBSYSTEM|KERNEL|ACTION)==' | sed 's/, TAG+="[a-z]*"$//')
	[ "$rules" = "SUBSYSTEM==\"misc\", KERNEL==\"$device\", OWNER=\"root\", GROUP=\"root\", MODE=\"0600\"" ] ||
		wrong "the rules are: $rules" || return 1
	widened=$(cd "$root" && our_files 'packages/*' | xargs grep -nEi 'groupadd|useradd|_USERS|sysusers') || true
	[ -z "$widened" ] || wrong "$widened" || return 1
	echo "/dev/$device is root's"
}

# ---- the page of messages

# linux_texts: the messages of Linux on that page; those of flash_mng and of the platform have a test of their own.
# shellcheck disable=SC2016 # no commands
linux_texts() {
	sed -n 's/^- `\(.*\)` (Linux).*/\1/p' "$root/docs/troubleshooting.md"
}

# linux_words: what stands between the values in them, as Linux may put them together of several texts.
linux_words() {
	linux_texts | sed 's/^I\/O /%s /; s/mtdblock%u/%s/g; s/%[a-z]*/\n/g; s/: /\n/g' | grep '[a-z][a-z][a-z]'
}

# Each of them is in the sources that write it.
linux_texts_exist() {
	use_kernel production
	(cd "$kernel_source" && cat kernel/module.c mm/vmalloc.c mm/oom_kill.c block/blk-core.c fs/buffer.c drivers/mtd/mtdblock.c) \
		>"$build_dir/packages_test/texts"
	linux_words | while IFS= read -r text; do
		grep -qF -- "$text" "$build_dir/packages_test/texts" || wrong "nobody writes '$text'" || exit 1
	done || return 1
	[ -n "$(linux_texts)" ] || wrong "no texts" || return 1
	echo "$(linux_texts | wc -l) texts"
}

# ---- Yocto

# recipe_path TEXT: with the recipe's own variables for places.
# shellcheck disable=SC2016 # bitbake's variables
recipe_path() {
	printf '%s\n' "$1" | sed -e "s,\${FLASH_MNG_CLONE},$root," -e "s,\${WORKDIR},$yocto_work," -e "s,\${LAYERDIR},$yocto_layer,g"
}

yocto_layer_parses() {
	has_values "$yocto_layer/conf/layer.conf" BBPATH BBFILES BBFILE_COLLECTIONS BBFILE_PATTERN_flash-mng BBFILE_PRIORITY_flash-mng \
		LAYERDEPENDS_flash-mng LAYERSERIES_COMPAT_flash-mng || return 1
	for recipe in $(recipe_path "$(recipe_value "$yocto_layer/conf/layer.conf" BBFILES)"); do
		echo "$recipe"
	done | LC_ALL=C sort >"$build_dir/packages_test/recipes"
	find "$yocto_layer" -name '*.bb' | LC_ALL=C sort | diff "$build_dir/packages_test/recipes" - ||
		wrong "BBFILES does not find every recipe"
}

# yocto_fetch RECIPE: its do_fetch and do_unpack.
yocto_fetch() {
	rm -rf "$yocto_work"
	for fetched in $(recipe_value "$1" SRC_URI); do
		unpack_dir=$yocto_work
		case $fetched in *';subdir='*) unpack_dir=$yocto_work/${fetched##*=} ;; esac
		fetched=${fetched#file://}
		fetched=${fetched%%;*}
		mkdir -p "$unpack_dir/$(dirname "$fetched")"
		cp -R -H "$root/$fetched" "$unpack_dir/$fetched" || return 1
	done
	yocto_source=$(recipe_path "$(recipe_value "$1" S)")
	[ -d "$yocto_source" ] || wrong "S is $yocto_source"
}

# yocto_licences RECIPE
yocto_licences() {
	for licence in $(recipe_value "$1" LIC_FILES_CHKSUM); do
		licence=${licence#file://}
		sum=${licence#*;md5=}
		echo "$sum  $yocto_source/${licence%%;*}"
	done | md5sum --check --strict --quiet
}

# yocto_recipe_parses RECIPE CLASS NAME...: it inherits the class and has values of these names and of those that each recipe has.
yocto_recipe_parses() {
	parsed=$1
	inherited=$2
	shift 2
	has_values "$parsed" SUMMARY SECTION LICENSE LIC_FILES_CHKSUM DEPENDS PV SRC_URI S "$@" || return 1
	grep -qx "inherit $inherited" "$parsed" || wrong "$parsed does not inherit $inherited" || return 1
	recipe_clone=$(recipe_value "$parsed" FLASH_MNG_CLONE | sed "s,\${THISDIR},$(dirname "$parsed"),")
	[ "$(readlink -f "$recipe_clone")" = "$(readlink -f "$root")" ] || wrong "FLASH_MNG_CLONE is $recipe_clone" || return 1
	yocto_fetch "$parsed" && yocto_licences "$parsed"
}

yocto_parses() {
	yocto_layer_parses || return 1
	yocto_recipe_parses "$yocto_recipe" module FLASH_MNG_PLATFORM EXTRA_OEMAKE || return 1
	yocto_recipe_parses "$yocto_tools_recipe" cmake EXTRA_OECMAKE || return 1
	echo "$(wc -l <"$build_dir/packages_test/recipes") recipes"
}

# yocto_cmake: do_configure of the recipe for the tools, from what it fetches alone. Of the other architecture's library there is only
# the archive.
# shellcheck disable=SC2016,SC2120 # bitbake's variables; the arguments are its own
yocto_cmake() {
	fetch_package "$(machine_codename)" arm64 nettle-dev
	yocto_fetch "$yocto_tools_recipe" || return 1
	library_dir=$package_files/files/usr/lib/aarch64-linux-gnu
	# shellcheck disable=SC2046 # a list of options
	set -- $(recipe_value "$yocto_tools_recipe" EXTRA_OECMAKE |
		sed -e 's,${STAGING_LIBDIR},'"$library_dir," -e 's,libnettle\.so,libnettle.a,')
	cmake -G Ninja -S "$yocto_source" -B "$yocto_work/build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64.cmake" \
		-DCMAKE_INSTALL_PREFIX=/usr "$@" -Wno-dev
}

yocto_tools_configure() {
	# shellcheck disable=SC2119
	yocto_cmake || return 1
	echo "$(ninja -C "$yocto_work/build" -t commands all | wc -l) steps to build them"
}

# What is installed is in a package: in those that bitbake and cmake.bbclass fill by themselves, or by the recipe's own list.
yocto_tools_build() {
	cmake --build "$yocto_work/build" || return 1
	DESTDIR=$yocto_work/image cmake --build "$yocto_work/build" --target install || return 1
	packaged='bin share/man include share/pkgconfig share/cmake'
	# shellcheck disable=SC2016 # bitbake's variable
	packaged="$packaged $(sed -n 's/^FILES:${PN} += "\(.*\)"$/\1/p' "$yocto_tools_recipe" | sed 's,${datadir},share,g')"
	left_over=$(cd "$yocto_work/image/usr" && find . -type f | sed 's,^\./,,' | grep -vE "^($(echo "$packaged" | tr ' ' '|'))/") || true
	[ -z "$left_over" ] || wrong "in no package: $left_over" || return 1
	[ -s "$yocto_work/image/usr/include/flash_mng/client.hpp" ] || wrong "no header" || return 1
	qemu-aarch64 "$yocto_work/image/usr/bin/flashctl" --version
}

# yocto_make ARGUMENT...: with what the recipe, module.bbclass and module-base.bbclass give to make each time.
# shellcheck disable=SC2016 # bitbake's variables
yocto_make() {
	eval "set -- \"\$@\" $(recipe_value "$yocto_recipe" EXTRA_OEMAKE |
		sed -e 's,${HOST_PREFIX},aarch64-linux-gnu-,' -e 's,${TOOLCHAIN_OPTIONS},--sysroot=/,')"
	(cd "$yocto_source" && env -u CFLAGS -u CPPFLAGS -u CXXFLAGS -u LDFLAGS ARCH=arm64 CROSS_COMPILE=aarch64-linux-gnu- OS=linux \
		make -j"$jobs" KERNEL_SRC="$kernel_source" \
		CC=aarch64-linux-gnu-gcc LD=aarch64-linux-gnu-ld AR=aarch64-linux-gnu-ar O="$kernel_dir" "$@")
}

yocto_builds() {
	use_kernel production
	yocto_fetch "$yocto_recipe" || return 1
	yocto_make KERNEL_PATH="$kernel_source" KERNEL_VERSION="$(kernel_release)" KBUILD_EXTRA_SYMBOLS="$platform_symbols" || return 1
	yocto_make DEPMOD=echo MODLIB="$yocto_work/image/lib/modules/$(kernel_release)" INSTALL_FW_PATH="$yocto_work/image/lib/firmware" \
		modules_install || return 1
	find "$yocto_work/image" -name flash_mng.ko | grep -q . || wrong "modules_install installs nothing" || return 1
	module_is_whole "$yocto_source"
}

# ---- Buildroot

buildroot_make() {
	make -s -f "$root/tests/packages/buildroot.mk" BR2_EXTERNAL_FLASH_MNG_PATH="$root/packages/buildroot" \
		BUILD_DIR="$build_dir/packages_test/buildroot" LINUX_DIR="$kernel_dir" SYMBOLS="$platform_symbols" JOBS="$jobs" "$@"
}

# The kernel's own Kconfig reads the tree's; it wants variables in parentheses.
buildroot_options() {
	options_dir=$build_dir/packages_test/kconfig
	rm -rf "$options_dir"
	mkdir -p "$options_dir"
	cp -R "$root/packages/buildroot" "$options_dir/external"
	# shellcheck disable=SC2016 # Kconfig's variable
	find "$options_dir/external" -name Config.in -exec sed -i 's/\$BR2_EXTERNAL_FLASH_MNG_PATH/$(BR2_EXTERNAL_FLASH_MNG_PATH)/' {} +
	{
		for option in BR2_aarch64 BR2_LINUX_KERNEL BR2_INSTALL_LIBSTDCPP BR2_TOOLCHAIN_HAS_THREADS BR2_TOOLCHAIN_GCC_AT_LEAST_10; do
			printf 'config %s\n\tdef_bool %s\n' "$option" "$1"
		done
		for option in CLI11 FMT JSON_FOR_MODERN_CPP NETTLE; do
			printf 'config BR2_PACKAGE_%s\n\tbool\n' "$option"
		done
		# shellcheck disable=SC2016
		echo 'source "$(BR2_EXTERNAL_FLASH_MNG_PATH)/Config.in"'
	} >"$options_dir/Config.in"
	(cd "$options_dir" && BR2_EXTERNAL_FLASH_MNG_PATH=$options_dir/external KCONFIG_CONFIG=$options_dir/config \
		CONFIG_='' "$kernel_dir/scripts/kconfig/conf" --allyesconfig Config.in >log 2>&1) ||
		wrong "$(cat "$options_dir/log")" || return 1
	! grep -i warning "$options_dir/log"
}

# The tools are configured as Yocto's are.
# shellcheck disable=SC2016 # bitbake's variable
buildroot_tools_options() {
	given=$(buildroot_make tools STAGING_DIR=/staging | sed 's,=/staging/usr/lib/,=${STAGING_LIBDIR}/,')
	[ "$given" = "$(recipe_value "$yocto_tools_recipe" EXTRA_OECMAKE)" ] || wrong "the tools are configured by: $given"
}

buildroot_parses() {
	use_kernel production
	grep -qx 'name: FLASH_MNG' "$root/packages/buildroot/external.desc" || wrong "external.desc has no name" || return 1
	buildroot_options y || return 1
	for chosen in FLASH_MNG FLASH_MNG_TOOLS NETTLE; do
		grep -qx "BR2_PACKAGE_$chosen=y" "$options_dir/config" || wrong "$chosen cannot be chosen" || return 1
	done
	buildroot_options n || return 1
	! grep -q 'BR2_PACKAGE_FLASH_MNG.*=y' "$options_dir/config" || wrong "a package does not say what it needs" || return 1
	for hash_list in "$root"/packages/buildroot/package/*/*.hash; do
		(cd "$root" && grep -v '^#' "$hash_list" | cut -d ' ' -f 3- | sha256sum --check --strict --quiet) || return 1
	done
	buildroot_tools_options || return 1
	buildroot_make show
}

buildroot_builds() {
	use_kernel production
	rm -rf "$build_dir/packages_test/buildroot"
	buildroot_make build || return 1
	module_is_whole "$build_dir/packages_test/buildroot/flash_mng_kernel"
}

# ---- the module's compilers

# cxx_for CC: what flash_mng_kernel/Kbuild takes for C++, or why it takes nothing. Compilers of the names below are found.
# shellcheck disable=SC2016 # make's variables
cxx_for() {
	printf 'src = .\nobj = .\ninclude %s/Kbuild\nshow: ; @echo "$(FLASH_MNG_CXX)"\n' "$root/flash_mng_kernel" |
		PATH=$compilers:$PATH make -s -f - show CC="$1" CROSS_COMPILE=other- 2>&1
}

# expect_cxx CC CXX
expect_cxx() {
	[ "$(cxx_for "$1")" = "$2" ] || wrong "for CC=$1 C++ is compiled by '$(cxx_for "$1")', not by '$2'"
}

cxx_follows_cc() {
	compilers=$build_dir/packages_test/compilers
	mkdir -p "$compilers"
	for compiler in g++-98 machine-g++ machine-g++-98 clang++ clang++-98 c++; do
		ln -sf /bin/true "$compilers/$compiler"
	done
	expect_cxx gcc-98 g++-98 || return 1
	expect_cxx machine-gcc machine-g++ || return 1
	expect_cxx machine-gcc-98 machine-g++-98 || return 1
	expect_cxx 'ccache machine-gcc-98 --sysroot=/gcc' 'ccache machine-g++-98 --sysroot=/gcc' || return 1
	expect_cxx "$compilers/machine-gcc -B /lib/gcc" "$compilers/machine-g++ -B /lib/gcc" || return 1
	expect_cxx clang clang++ || return 1
	expect_cxx '/usr/bin/ccache clang-98' '/usr/bin/ccache clang++-98' || return 1
	expect_cxx cc c++ || return 1
	expect_cxx tcc other-g++ || return 1
	case $(cxx_for machine-gcc-97) in
	*"C is compiled by machine-gcc-97, and its C++ compiler machine-g++-97 is not there"*FLASH_MNG_CXX*) ;;
	*) wrong "a missing C++ compiler is not named: $(cxx_for machine-gcc-97)" || return 1 ;;
	esac
	echo "and one that is missing is named"
}

# ---- loading order

# modprobe_order MODULE: what modprobe would load, in its order, by the samples of packages/system.
modprobe_order() {
	/sbin/modprobe -d "$modules_root" -S "$(kernel_release)" -C "$root/packages/system/modprobe.d" --show-depends "$1" |
		sed -n 's,.*/\(.*\)\.ko.*,\1,p' | awk '!seen[$0]++'
}

# modprobe -r takes out the modules of a softdep first, with all that nobody needs then. One that needs flash_mng would take flash_mng
# along, which modprobe then does not find.
needless_modules_of_softdeps() {
	# shellcheck disable=SC2013 # words
	for companion in $(sed -n 's/^softdep flash_mng //p' "$root"/packages/system/modprobe.d/*.conf); do
		case $companion in *:) continue ;; esac
		! modprobe_order "$companion" | sed '$d' | grep -qx flash_mng ||
			wrong "a softdep names $companion, which needs flash_mng: modprobe -r flash_mng fails" || return 1
	done
}

# modprobe, on the board's modules, loads the platform and the flash before flash_mng.
loading_order() {
	use_kernel production
	use_stage production
	modules_root=$build_dir/packages_test/modules
	rm -rf "$modules_root"
	mkdir -p "$modules_root/lib/modules/$(kernel_release)"
	find "$stage_dir/flash_mng_kernel" "$stage_dir/reference_platform" "$kernel_dir/drivers/mtd/nand/raw" -name '*.ko' \
		-exec cp {} "$modules_root/lib/modules/$(kernel_release)" \;
	/sbin/depmod -b "$modules_root" "$(kernel_release)" || return 1
	modprobe_order flash_mng >"$modules_root/order"
	for earlier in log xml_parser drv_basic board_capability_mng plat_extern_api nandsim; do
		sed -n "/^$earlier\$/,/^flash_mng\$/p" "$modules_root/order" | grep -qx flash_mng ||
			wrong "$earlier is not loaded before flash_mng: $(paste -s -d ' ' "$modules_root/order")" || return 1
	done
	needless_modules_of_softdeps || return 1
	modprobe_order spi_flash_driver | sed '1,/^flash_mng$/d' | grep -qx spi_flash_driver ||
		wrong "flash_mng is not loaded before spi_flash_driver" || return 1
	# shellcheck disable=SC2013 # words
	for loaded in $(sed '/^#/d' "$root/packages/system/modules-load.d/flash_mng.conf"); do
		[ -s "$modules_root/lib/modules/$(kernel_release)/$loaded.ko" ] || wrong "modules-load.d names $loaded" || return 1
	done
	paste -s -d ' ' "$modules_root/order"
}

# ---- the kernels that it is made for

# dkms_takes KERNEL: whether DKMS builds for that release.
dkms_takes() {
	echo "$1" | grep -qE "$(sed -n 's/^BUILD_EXCLUSIVE_KERNEL="\(.*\)"$/\1/p' "$root/packages/dkms/dkms.conf")"
}

dkms_has_the_kernels() {
	for listed_kernel in $(supported_kernels); do
		for known_release in "$listed_kernel.0-56-arm64" "$listed_kernel.117+deb13-arm64" "$listed_kernel.1"; do
			dkms_takes "$known_release" || wrong "DKMS does not build for $known_release" || return 1
		done
		! dkms_takes "${listed_kernel}9.1" || wrong "DKMS builds for ${listed_kernel}9.1" || return 1
	done
	for other_release in 4.19.0 5.4.1 5.15.0-1 6.6.1 6.13.0 8.0.1; do
		! dkms_takes "$other_release" || wrong "DKMS builds for $other_release" || return 1
	done
	supported_kernels | paste -s -d ' ' -
}

# The documents and the descriptions of the packages name the same kernels.
kernels_are_named() {
	named_kernels=$(supported_kernels | paste -s -d , - | sed 's/,/, /g; s/, \([^,]*\)$/ and \1/')
	for naming in README.md docs/your-board.md docs/kernels.md packages/debian/control; do
		tr '\n' ' ' <"$root/$naming" | tr -s ' ' | grep -qF "$named_kernels" || wrong "$naming does not name $named_kernels" ||
			return 1
	done
	echo "$named_kernels"
}

# kernel_like FOLDER RELEASE CONFIGURATION...: what check_kernel.sh looks at of a kernel tree, made up.
kernel_like() {
	rm -rf "$1"
	mkdir -p "$1/include/config" "$1/scripts/mod"
	echo "$2" >"$1/include/config/kernel.release"
	printf '#!/bin/sh\n' >"$1/scripts/mod/modpost"
	chmod +x "$1/scripts/mod/modpost"
	: >"$1/Module.symvers"
	: >"$1/Makefile"
	shift 2
	printf '%s=y\n' "$@" >"$kernel_tree/include/config/auto.conf"
}

# refused TEXT: the made-up tree is, in one sentence with that text.
refused() {
	refusal=$(sh "$root/flash_mng_kernel/check_kernel.sh" "$kernel_tree" 2>&1) && wrong "no refusal that says '$1'" && return 1
	[ "$(printf '%s\n' "$refusal" | wc -l)" -eq 1 ] || wrong "more than a line: $refusal" || return 1
	case $refusal in
	*"$1"*) ;;
	*) wrong "instead of '$1' it says: $refusal" ;;
	esac
}

kernels_are_refused() {
	kernel_tree=$build_dir/packages_test/tree
	usual="CONFIG_ARM64 CONFIG_MODULES CONFIG_MODVERSIONS"
	rm -rf "$kernel_tree"
	refused "there is no kernel tree" || return 1
	mkdir -p "$kernel_tree"
	refused "is no kernel tree: it has no Makefile" || return 1
	: >"$kernel_tree/Makefile"
	refused "is not configured and prepared" || return 1
	# shellcheck disable=SC2086 # a list of options
	{
		kernel_like "$kernel_tree" 5.4.302 $usual && refused "5.4 in $kernel_tree is too old" || return 1
		kernel_like "$kernel_tree" 7.3.0-rc1 $usual && refused "7.3 in $kernel_tree is too new" || return 1
		kernel_like "$kernel_tree" 6.6.1-custom $usual && refused "6.6 in $kernel_tree is not one of them" || return 1
		kernel_like "$kernel_tree" 6.12.1 $usual && rm "$kernel_tree/scripts/mod/modpost" && refused "not prepared" || return 1
		kernel_like "$kernel_tree" 6.12.1 $usual && rm "$kernel_tree/Module.symvers" && refused "was not built" || return 1
		kernel_like "$kernel_tree" 6.12.1 CONFIG_ARM64 && refused "without CONFIG_MODULES" || return 1
		kernel_like "$kernel_tree" 6.12.1 CONFIG_RISCV CONFIG_MODULES && refused "another architecture" || return 1
		for known_kernel in $(supported_kernels); do
			kernel_like "$kernel_tree" "$known_kernel.7-1-arm64" $usual
			sh "$root/flash_mng_kernel/check_kernel.sh" "$kernel_tree" || wrong "$known_kernel is refused" || return 1
		done
	}
}

# Kbuild and the Makefile say the same sentence, and build nothing.
refusal_ends_the_build() {
	use_kernel production
	unknown=$build_dir/packages_test/unknown
	rm -rf "$unknown"
	cp -R "$root/flash_mng_kernel" "$unknown"
	sed -i 's/^5\.10 .*/5.9 nowhere/' "$unknown/KERNELS"
	# shellcheck disable=SC2086 # a list of arguments
	! make -C "$kernel_dir" M="$unknown" $kernel_make_arguments modules >"$unknown.log" 2>&1 || wrong "Kbuild built it" || return 1
	grep -q 'flash_mng: it is made for Linux 5.9 .* and 5.10 in .* is not one of them' "$unknown.log" ||
		wrong "$(cat "$unknown.log")" || return 1
	# shellcheck disable=SC2086
	! make -C "$unknown" KERNEL_SRC="$kernel_dir" $kernel_make_arguments >"$unknown.log" 2>&1 || wrong "make built it" || return 1
	grep -q 'is not one of them' "$unknown.log" || wrong "$(cat "$unknown.log")" || return 1
	# shellcheck disable=SC2086
	make -C "$kernel_dir" M="$unknown" $kernel_make_arguments clean >"$unknown.log" 2>&1 || wrong "make clean: $(cat "$unknown.log")"
}

mkdir -p "$build_dir/packages_test"
count_step "packages: one version" one_version
count_step "packages: the device stays root's" device_is_roots
count_step "docs/troubleshooting.md: texts of Linux" linux_texts_exist
count_step "flash_mng_kernel: the C++ compiler is CC's" cxx_follows_cc
count_step "KERNELS: DKMS builds for these and no others" dkms_has_the_kernels
count_step "KERNELS: documents and packages name them" kernels_are_named
count_step "KERNELS: any other tree is refused in a sentence" kernels_are_refused
count_step "KERNELS: a refusal ends the build, and nothing else" refusal_ends_the_build
count_step "packages: loading order of the samples" loading_order
count_step "packages: the Yocto layer" yocto_parses
count_step "packages: the tools configured as Yocto does" yocto_tools_configure
count_long_step "${1-}" "packages: the tools built as Yocto does" yocto_tools_build
count_step "packages: the Buildroot tree" buildroot_parses
count_step "packages: the module built as Buildroot does" buildroot_builds
count_step "packages: the module built as Yocto does" yocto_builds
end_program packages_test
