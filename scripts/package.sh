# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev package: Debian packages of the module's source, the tools and the headers, from a copy of the clone; the tools for the board too.
# packages/ has what they are made of; tests/packages/ has their tests.

package_dir=$build_dir/packages

package_version() {
	cat "$root/VERSION"
}

package_source=$package_dir/flash-mng-$(package_version)

# stage_package [again]: makes package_source a copy of the clone's files with Debian's folder at the top. What was built there is gone;
# with "again" all but the objects.
stage_package() {
	package_objects=$build_dir/package_objects
	rm -rf "$package_objects"
	mkdir -p "$package_objects"
	[ "${1-}" != again ] || find "$package_source" -maxdepth 1 -name 'obj-*' -exec mv {} "$package_objects" \; 2>/dev/null
	rm -rf "$package_dir"
	mkdir -p "$package_source"
	find "$package_objects" -maxdepth 1 -name 'obj-*' -exec mv {} "$package_source" \;
	our_files '*' | rsync -a --files-from=- "$root" "$package_source" || return 1
	mv "$package_source/packages/debian" "$package_source/debian"
	(cd "$package_source/debian" && sed -e "s/@VERSION@/$(package_version)/" -e "s/@DATE@/$(date -u -R -d "@$(source_date)")/" \
		changelog.in >changelog && sed 's/^$/./; s/^/ /' ../LICENSES/BSD-3-Clause.txt | cat copyright.in - >copyright &&
		rm changelog.in copyright.in) || return 1
	chmod -R u=rwX,go=rX "$package_source" # whatever umask its maker has
}

# build_staged ARGUMENT...: dpkg-buildpackage on the copy, with the options that package_options adds.
build_staged() {
	(cd "$package_source" && DEB_BUILD_OPTIONS="parallel=$jobs $package_options" \
		dpkg-buildpackage --unsigned-source --unsigned-changes "$@")
}

# For the board: the packages of programs alone, cross-built. Libraries and headers that this machine has for its own architecture only make
# dpkg complain; what the programs need is in the cross compiler's folder, but for one library.
build_board_packages() {
	use_machine production
	fetch_package "$(machine_codename)" "$debian_architecture" nettle-dev
	export FLASHCTL_NETTLE_ROOT="$package_files/files"
	build_staged --no-check-builddeps --build=any --host-arch "$debian_architecture" --no-pre-clean
}

# make_packages [again]: "again" compiles only what changed since the last time, as fast as it goes, and makes neither a source package nor
# packages for the board: for tests of what is in the packages.
make_packages() {
	stage_package "$@" || return 1
	package_options=
	if [ "${1-}" = again ]; then
		package_options="noopt noautodbgsym"
		(export CC=clang CXX=clang++ DEB_CFLAGS_APPEND=-g0 DEB_CXXFLAGS_APPEND=-g0
			build_staged --build=binary --no-pre-clean)
		return
	fi
	build_staged || return 1
	# debhelper takes what it did for one architecture as done.
	rm -rf "$package_source/debian/.debhelper" "$package_source/debian/tmp" "$package_source/debian/debhelper-build-stamp"
	(build_board_packages)
}

# The maintainers have no mail address: whoever publishes the packages puts one in.
package_findings() {
	lintian --fail-on error,warning --allow-root --suppress-tags bogus-mail-host,bogus-mail-host-in-debian-changelog \
		"$package_dir"/*.changes
}

package_command() {
	if [ "${1-}" = --reproduce ]; then
		at_most 1 package "$@"
		hold_clone
		need_packages "$build_packages" "$package_packages"
		reproduce_packages
		return
	fi
	package_tests=no
	! has_option --test package "$@" || package_tests=yes
	hold_clone
	need_packages "$build_packages" "$package_packages"
	run_step "build the Debian packages" packages_build make_packages
	run_step "inspect them" packages_lintian package_findings
	[ "$package_tests" = no ] || test_built_packages
	say "the packages are in $package_dir:"
	(cd "$package_dir" && ls ./*.deb)
}

# The packages as ./dev test builds and tests them.
test_package_build() {
	count_step "Debian packages: build" make_packages again
	count_step "Debian packages: lintian" package_findings
	count_program debian_test "$root/tests/packages/debian_test.sh"
}

# The tests of what was built, and of the ways to build the module that need the kernel.
test_built_packages() {
	forget_limits
	build_kernel production
	build_modules production
	count_program packages_test "$root/tests/packages/packages_test.sh" all
	count_program debian_test "$root/tests/packages/debian_test.sh" all
	show_total || exit 1
}
