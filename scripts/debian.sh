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

# write_sources FILE CODENAME: one-line sources of that release, its security updates included; sid has none of its own, and those of a
# CODENAME-release are left out.
write_sources() {
	main_archive=$(machine_archive "$(machine_codename)")
	security_archive=$(machine_archive "$(machine_codename)-security")
	case $2 in sid | *-release) security_archive= ;; esac
	[ -n "$main_archive" ] || die "no Debian archive among this machine's package sources (apt-get indextargets)"
	{
		echo "deb [signed-by=$apt_keyring] $main_archive ${2%-release} main"
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

# prepare_apt CODENAME ARCHITECTURE: sets apt_folder to a state with that release's package lists, not older than an hour.
prepare_apt() {
	apt_folder=$cache_dir/apt/$1-$2
	[ -z "$(find "$apt_folder/updated" -mmin -60 2>/dev/null)" ] || return 0
	rm -f "$apt_folder/updated"
	mkdir -p "$apt_folder/lists/partial" "$apt_folder/cache/archives/partial"
	: >"$apt_folder/status"
	write_sources "$apt_folder/sources.list" "$1"
	private_apt "$apt_folder" "$2" -o APT::Update::Error-Mode=any update && touch "$apt_folder/updated"
}

# download_package CODENAME ARCHITECTURE PACKAGE FOLDER: leaves the .deb file in the folder.
download_package() {
	prepare_apt "$1" "$2" || return 1
	mkdir -p "$4"
	(cd "$4" && private_apt "$apt_folder" "$2" download "$3")
}

# download_closure CODENAME ARCHITECTURE PACKAGE FOLDER: leaves those of all packages that it depends on there too.
download_closure() {
	prepare_apt "$1" "$2" || return 1
	mkdir -p "$4/partial"
	private_apt "$apt_folder" "$2" -o Dir::Cache::archives="$4" install --yes --download-only --no-install-recommends "$3"
}

# fetch_package CODENAME ARCHITECTURE PACKAGE: sets package_files to the folder with its files, fetched once.
fetch_package() {
	package_files=$cache_dir/packages/$1-$2-$3
	[ -e "$package_files/complete" ] || with_lock "$cache_dir/packages.lock" fetch_package_locked download_package "$@"
}

# fetch_closure CODENAME ARCHITECTURE PACKAGE: the same with the files of all packages that it depends on.
fetch_closure() {
	package_files=$cache_dir/packages/$1-$2-$3-closure
	[ -e "$package_files/complete" ] || with_lock "$cache_dir/packages.lock" fetch_package_locked download_closure "$@"
}

# Beside the files: the version, and what the package says it needs.
fetch_package_locked() {
	[ ! -e "$package_files/complete" ] || return 0
	rm -rf "$package_files"
	run_step "fetch Debian package $4 ($2, $3)" "fetch_$4" "$1" "$2" "$3" "$4" "$package_files"
	run_step "unpack $4" "unpack_$4" unpack_package "$4"
	touch "$package_files/complete"
}

unpack_package() {
	for package_file in "$package_files"/*.deb; do
		dpkg-deb -x "$package_file" "$package_files/files" || return 1
	done
	set -- "$package_files/$1"_*.deb
	dpkg-deb -f "$1" Version >"$package_files/version" && dpkg-deb -f "$1" Depends >"$package_files/needs" || return 1
	rm -rf "$package_files"/*.deb "$package_files/partial"
}
