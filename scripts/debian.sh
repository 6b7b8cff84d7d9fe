# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# Packages of another Debian release or architecture, fetched from the machine's own mirror without touching the machine's package
# sources: apt-get works on state of its own in the cache folder.

apt_keyring=/usr/share/keyrings/debian-archive-keyring.gpg

# machine_archive PATTERN: base address of the first package archive of this machine whose code name matches.
machine_archive() {
	# shellcheck disable=SC2016 # the names are apt-get's
	apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' | sed -n "s,^$1 ,,p" | head -n 1
}

machine_codename() {
	sed -n 's/^VERSION_CODENAME=//p' /etc/os-release
}

# write_sources FILE CODENAME: one-line sources of that release, its security updates included; sid has none of its own.
write_sources() {
	main_archive=$(machine_archive "$(machine_codename)")
	security_archive=$(machine_archive "$(machine_codename)-security")
	[ "$2" != sid ] || security_archive=
	[ -n "$main_archive" ] || die "no Debian archive among this machine's package sources (apt-get indextargets)"
	{
		echo "deb [signed-by=$apt_keyring] $main_archive $2 main"
		[ -z "$security_archive" ] || echo "deb [signed-by=$apt_keyring] $security_archive $2-security main"
	} >"$1"
}

# private_apt FOLDER ARCHITECTURE ARGUMENT...: apt-get on the state in that folder.
private_apt() {
	apt_state=$1
	apt_architecture=$2
	shift 2
	apt-get -q \
		-o Dir::State::lists="$apt_state/lists" -o Dir::State::status="$apt_state/status" -o Dir::Cache="$apt_state/cache" \
		-o Dir::Etc::sourcelist="$apt_state/sources.list" -o Dir::Etc::sourceparts=/dev/null \
		-o APT::Architecture="$apt_architecture" -o APT::Architectures="$apt_architecture" \
		-o APT::Sandbox::User=root -o Acquire::Languages=none -o Acquire::Check-Valid-Until=false "$@"
}

# download_package CODENAME ARCHITECTURE PACKAGE FOLDER: leaves the .deb file in the folder.
download_package() {
	apt_folder=$cache_dir/apt/$1-$2
	mkdir -p "$apt_folder/lists/partial" "$apt_folder/cache/archives/partial" "$4"
	: >"$apt_folder/status"
	write_sources "$apt_folder/sources.list" "$1"
	private_apt "$apt_folder" "$2" -o APT::Update::Error-Mode=any update || return 1
	(cd "$4" && private_apt "$apt_folder" "$2" download "$3")
}

# fetch_package CODENAME ARCHITECTURE PACKAGE: sets package_files to the folder with its files, fetched once.
fetch_package() {
	package_files=$cache_dir/packages/$1-$2-$3
	[ ! -e "$package_files/complete" ] || return 0
	with_lock "$cache_dir/packages.lock" fetch_package_locked "$@"
}

fetch_package_locked() {
	[ ! -e "$package_files/complete" ] || return 0
	rm -rf "$package_files"
	run_step "fetch Debian package $3 ($1, $2)" "fetch_$3" download_package "$1" "$2" "$3" "$package_files"
	dpkg-deb -f "$package_files"/*.deb Version >"$package_files/version" || die "the version of $3 is not stored; $(disk_state)"
	run_step "unpack $3" "unpack_$3" dpkg-deb -x "$package_files"/*.deb "$package_files/files"
	rm -f "$package_files"/*.deb
	touch "$package_files/complete"
}
