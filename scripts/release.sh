# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev release: one folder with all of a version, made of a commit and of nothing else, and the comparison of such a folder with what is
# made of its source archive anew. docs/releasing.md says what is in it; tests/release/ has its tests.

release_dir=$build_dir/release

# source_date [FOLDER]: the seconds of the commit, which git archive gives to the files of an archive.
source_date() {
	if [ -e "${1-$root}/.git" ]; then
		git -C "${1-$root}" log -1 --format=%ct
	else
		stat -c %Y "${1-$root}/VERSION"
	fi
}

# changes_of VERSION: its part of the list of changes.
changes_of() {
	awk -v heading="## $1, " '
		/^## / { inside = index($0, heading) == 1 && $0 ~ /, [0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]$/ }
		inside' "$root/CHANGELOG.md"
}

# unready VERSION: what keeps the commit from being that version.
unready() {
	[ -e "$root/.git" ] || {
		echo "a release is made of a commit, and this is no git clone"
		return
	}
	git -C "$root" status --porcelain | sed 's/^/not committed: /'
	[ "$(cat "$root/VERSION")" = "$1" ] || echo "the file VERSION says $(cat "$root/VERSION")"
	latest_changes=$(grep -m 1 '^## ' "$root/CHANGELOG.md")
	case $latest_changes in
	"## $1, "*) ;;
	*) echo "CHANGELOG.md begins with '${latest_changes#\#\# }'; it needs '$1, YEAR-MONTH-DAY'" ;;
	esac
	changes_of "$1" | sed 1d | grep -q . || echo "CHANGELOG.md says nothing of $1"
	released_commit=$(git -C "$root" rev-parse -q --verify "refs/tags/v$1^{commit}" || true)
	[ -z "$released_commit" ] || [ "$released_commit" = "$(git -C "$root" rev-parse HEAD)" ] ||
		echo "the tag v$1 is at another commit, $released_commit"
}

# stable_tar FOLDER NAME DATE: the same bytes for the same files, whoever has them.
stable_tar() {
	tar -C "$1" --sort=name --mtime="@$3" --owner=0 --group=0 --numeric-owner --mode=u+rw,go=rX -cf - "$2" | gzip -9n
}

# archive_sources VERSION FILE [COMMIT]
archive_sources() {
	git -C "$root" -c tar.umask=0022 archive --format=tar --prefix="flash_mng-$1/" "${3-HEAD}" | gzip -9n >"$2"
}

# build_tree_packages TREE: in that tree, as whoever has the archive alone does it.
build_tree_packages() {
	SOURCE_DATE_EPOCH=$(source_date "$1") "$1/dev" package
}

# copy_packages TREE FOLDER: packages and sources; Debian's records of the build name the machine.
copy_packages() {
	find "$1/build/packages" -maxdepth 1 -type f \( -name '*.deb' -o -name '*.dsc' -o -name '*.tar.xz' \) -exec cp {} "$2" \;
}

# what_built: tools and kernel, with their versions, for the bills of materials.
what_built() {
	find_kernel_source
	echo "linux kernel $(make -s -C "$kernel_source" kernelversion)"
	for built_with in gcc g++ gcc-aarch64-linux-gnu g++-aarch64-linux-gnu cmake dpkg-dev debhelper; do
		echo "$built_with tool $(dpkg-query -W -f '${Version}' "$built_with")"
	done
	for built_with in libcli11-dev libfdt-dev libfmt-dev libpugixml-dev nettle-dev nlohmann-json3-dev; do
		echo "$built_with library $(dpkg-query -W -f '${Version}' "$built_with")"
	done
}

# write_bills TREE FOLDER VERSION
write_bills() {
	what_built >"$release_dir/built_with" || return 1
	rm -rf "$release_dir/unpacked"
	mkdir "$release_dir/unpacked"
	tar -C "$release_dir/unpacked" --strip-components=1 -xzf "$2/flash_mng-$3.tar.gz" &&
		python3 "$root/scripts/bill.py" source "$2/flash_mng-$3.tar.gz" "$release_dir/unpacked" "$3" "$(source_date "$1")" \
			"$release_dir/built_with" >"$2/flash_mng-$3.tar.gz.spdx.json" || return 1
	for released_package in "$2"/*.deb; do
		rm -rf "$release_dir/unpacked"
		dpkg-deb -x "$released_package" "$release_dir/unpacked" &&
			python3 "$root/scripts/bill.py" package "$released_package" "$release_dir/unpacked" "$3" "$(source_date "$1")" \
				"$release_dir/built_with" >"$released_package.spdx.json" || return 1
	done
}

# write_documents TREE FOLDER VERSION: the documents as a site, and the notes.
write_documents() {
	release_documents=flash_mng-$3-documents
	make_site "$1" "$release_dir/$release_documents" || return 1
	stable_tar "$release_dir" "$release_documents" "$(source_date "$1")" >"$2/$release_documents.tar.gz"
	changes_of "$3" >"$2/NOTES.md"
}

# write_sums FOLDER
write_sums() {
	(cd "$1" && rm -f SHA256SUMS && find . -type f -printf '%P\n' | LC_ALL=C sort | xargs -d '\n' sha256sum >"$release_dir/sums" &&
		cp "$release_dir/sums" SHA256SUMS)
}

# make_release FOLDER VERSION: all that goes with the source archive, which is in the folder.
make_release() {
	release_tree=$release_dir/flash_mng-$2
	rm -rf "$release_tree"
	tar -C "$release_dir" -xzf "$1/flash_mng-$2.tar.gz" || return 1
	run_step "build the packages of the archive" release_packages build_tree_packages "$release_tree"
	copy_packages "$release_tree" "$1" || return 1
	run_step "write the bills of materials" release_bills write_bills "$release_tree" "$1" "$2"
	run_step "collect documents and notes" release_documents write_documents "$release_tree" "$1" "$2"
	write_sums "$1"
}

# new_release VERSION
new_release() {
	unready_text=$(unready "$1")
	[ -z "$unready_text" ] || die "this is not $1:
$unready_text"
	run_step "check" release_check "$root/dev" check
	hold_clone
	need_packages "$build_packages" "$package_packages" "$release_packages"
	release_folder=$release_dir/$1
	rm -rf "$release_dir"
	mkdir -p "$release_folder"
	archive_sources "$1" "$release_folder/flash_mng-$1.tar.gz"
	make_release "$release_folder" "$1"
	say "release $1, of commit $(git -C "$root" rev-parse HEAD): $release_folder"
	(cd "$release_folder" && ls)
	say "To publish it: sign SHA256SUMS, tag the commit v$1."
}

# wrong_sums FOLDER: files that are not what the list says, and those that are in one of both only.
wrong_sums() {
	(cd "$1" && sha256sum --check --strict --quiet SHA256SUMS 2>&1) || true
	(cd "$1" && find . -type f -not -name 'SHA256SUMS*' -printf '%P\n') | LC_ALL=C sort >"$release_dir/there"
	sed 's/^[0-9a-f]*  //' "$1/SHA256SUMS" | LC_ALL=C sort | LC_ALL=C comm -13 - "$release_dir/there" | sed 's/$/ is not in SHA256SUMS/'
}

# foreign_archive ARCHIVE VERSION: where it is not what this clone has of the same commit. Without that commit its bytes are taken as given.
foreign_archive() {
	archived_commit=$(gzip -dc "$1" | git get-tar-commit-id 2>/dev/null) || archived_commit=
	[ -n "$archived_commit" ] || {
		echo "the source archive names no commit"
		return
	}
	if git -C "$root" cat-file -e "$archived_commit^{commit}" 2>/dev/null; then
		archive_sources "$2" "$release_dir/again.tar.gz" "$archived_commit"
		cmp "$1" "$release_dir/again.tar.gz" 2>&1 || true
	else
		say "commit $archived_commit is not in this clone: the source archive is compared with nothing" >&2
	fi
}

# verify_release FOLDER
verify_release() {
	[ -f "$1/SHA256SUMS" ] || die "$1 has no SHA256SUMS, so it is no release"
	verified_folder=$(CDPATH='' cd -- "$1" && pwd)
	verified_version=$(cd "$verified_folder" && for archive in flash_mng-*[0-9].tar.gz; do echo "$archive"; done |
		sed -n 's/^flash_mng-\([0-9.]*\)\.tar\.gz$/\1/p')
	[ -n "$verified_version" ] || die "$1 has no source archive"
	case $verified_folder/ in
	"$release_dir"/*)
		mkdir -p "$build_dir/verified"
		cp -a "$verified_folder" "$build_dir/verified"
		verified_folder=$build_dir/verified/$(basename "$verified_folder")
		;;
	esac
	hold_clone
	need_packages "$build_packages" "$package_packages" "$release_packages"
	rm -rf "$release_dir"
	mkdir -p "$release_dir/$verified_version"
	verified_archive=$verified_folder/flash_mng-$verified_version.tar.gz
	verify_text=$(wrong_sums "$verified_folder" && foreign_archive "$verified_archive" "$verified_version")
	[ -z "$verify_text" ] || die "$1 is not as it was made:
$verify_text"
	cp "$verified_archive" "$release_dir/$verified_version"
	make_release "$release_dir/$verified_version" "$verified_version"
	diff "$verified_folder/SHA256SUMS" "$release_dir/$verified_version/SHA256SUMS" ||
		die "$1 is not what its source archive gives: < as it is, > as built here, in $release_dir/$verified_version"
	say "$1 is what its source archive gives: $(grep -c . "$verified_folder/SHA256SUMS") files with equal bytes"
}

release_command() {
	case ${1-} in
	--verify)
		at_most 2 release "$@"
		[ -n "${2-}" ] || usage_error "release: --verify needs a folder"
		verify_release "$2"
		;;
	'') usage_error "release: which version?" ;;
	*[!0-9.]* | .* | *. | *..* | *.*.*.*) usage_error "release: '$1' is no version" ;;
	*)
		at_most 1 release "$@"
		new_release "$1"
		;;
	esac
}
