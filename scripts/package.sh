# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev package: Debian packages of the module's source, the tools and the headers, from a copy of the clone. packages/ has what they are
# made of; tests/packages/ has their tests.

package_dir=$build_dir/packages

package_version() {
	cat "$root/VERSION"
}

package_source=$package_dir/flash-mng-$(package_version)

# stage_package: makes package_source, a copy of the clone's files with Debian's folder at the top.
stage_package() {
	rm -rf "$package_dir"
	mkdir -p "$package_source"
	our_files '*' | rsync -a --files-from=- "$root" "$package_source" || return 1
	mv "$package_source/packages/debian" "$package_source/debian"
	(cd "$package_source/debian" && sed -e "s/@VERSION@/$(package_version)/" -e "s/@DATE@/$(git -C "$root" log -1 --format=%aD)/" \
		changelog.in >changelog && sed 's/^$/./; s/^/ /' ../LICENSES/BSD-3-Clause.txt | cat copyright.in - >copyright &&
		rm changelog.in copyright.in)
}

make_packages() {
	stage_package || return 1
	(cd "$package_source" && DEB_BUILD_OPTIONS="parallel=$jobs" dpkg-buildpackage --unsigned-source --unsigned-changes)
}

# The maintainers have no mail address: whoever publishes the packages puts one in.
package_findings() {
	lintian --fail-on error,warning --allow-root --suppress-tags bogus-mail-host,bogus-mail-host-in-debian-changelog \
		"$package_dir"/*.changes
}

package_command() {
	package_tests=no
	! has_option --test package "$@" || package_tests=yes
	need_packages "$build_packages" "$package_packages"
	run_step "build the Debian packages" packages_build make_packages
	run_step "inspect them" packages_lintian package_findings
	[ "$package_tests" = no ] || test_built_packages
	say "the packages are in $package_dir:"
	(cd "$package_dir" && ls ./*.deb)
}

# The tests of what was built, and of the ways to build the module that need the kernel.
test_built_packages() {
	build_kernel board
	build_modules board
	count_program packages_test "$root/tests/packages/packages_test.sh"
	count_program debian_test "$root/tests/packages/debian_test.sh"
	show_total || exit 1
}
