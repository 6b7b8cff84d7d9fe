#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Tests of ./dev release: what it refuses, that it makes the same bytes in another folder, what --verify finds, and the bills of materials.
# Small clones with stand-ins for the check, for the packages and for what was built with; the bills are also made of the real clone.

set -u
release_source=$(CDPATH='' cd -- "$(dirname -- "$0")/../.." && pwd)
release_scratch=$(mktemp -d "${TMPDIR:-/tmp}/flash_mng_release.XXXXXX")
trap 'rm -rf "$release_scratch"' EXIT
trap 'exit 1' HUP INT TERM
export XDG_CACHE_HOME="$release_scratch/cache" GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null
export GIT_AUTHOR_NAME=test GIT_AUTHOR_EMAIL=test@localhost GIT_COMMITTER_NAME=test GIT_COMMITTER_EMAIL=test@localhost
export GIT_COMMITTER_DATE='1700000000 +0000' GIT_AUTHOR_DATE='1700000000 +0000'

release_wrong() {
	echo "$*"
	sed 's/^/        | /' "$release_scratch/output" 2>/dev/null | tail -n 12
	touch "$release_scratch/failed"
}

# in_clone NAME COMMAND...: a function of ./dev of that clone, with stand-ins.
in_clone() {
	in_folder=$release_scratch/$1
	shift
	"$release_source/tests/release/in_clone" "$in_folder" "$@" >"$release_scratch/output" 2>&1
}

# declines TEXT NAME COMMAND...: fails, and says that.
declines() {
	refused_text=$1
	shift
	! in_clone "$@" || release_wrong "passes: $*"
	grep -qF -- "$refused_text" "$release_scratch/output" || release_wrong "does not say '$refused_text': $*"
}

succeeds() {
	in_clone "$@" || release_wrong "fails: $*"
}

commit() {
	git -C "$release_scratch/$1" add -A
	git -C "$release_scratch/$1" commit -qm test
}

# make_clone NAME: what a release is made with, as version 1.2, and a check that passes.
make_clone() {
	mkdir -p "$release_scratch/$1"
	cp -a "$release_source/scripts" "$release_source/LICENSES" "$release_source/.reuse" "$release_scratch/$1"
	echo 1.2 >"$release_scratch/$1/VERSION"
	printf '# Changes\n\n## 1.2, 2026-11-22\n\nNews of 1.2.\n\n## 1.1, 2026-11-21\n\nNews of 1.1.\n' >"$release_scratch/$1/CHANGELOG.md"
	cat >"$release_scratch/$1/dev" <<SCRIPT
#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
[ "\$1" != check ] || [ ! -e "$release_scratch/red" ]
SCRIPT
	chmod +x "$release_scratch/$1/dev"
	echo /build/ >"$release_scratch/$1/.gitignore"
	mkdir -p "$release_scratch/$1/docs"
	echo '# A page' >"$release_scratch/$1/docs/page.md"
	git -C "$release_scratch/$1" init -q
	commit "$1"
}

# altered_clone NAME COMMAND...: a clone in which the command, run in its folder, changed something that is committed.
altered_clone() {
	changed_clone=$1
	shift
	make_clone "$changed_clone"
	(cd "$release_scratch/$changed_clone" && "$@")
	commit "$changed_clone"
}

test_refusals() {
	make_clone first
	declines 'which version?' first release_command
	for no_version in v1.2 1.2- .2 1. 1..2 1.2.3.4 ''; do
		declines usage first release_command "$no_version"
	done
	declines 'unknown word' first release_command 1.2 more
	declines 'needs a folder' first release_command --verify
	declines 'the file VERSION says 1.2' first release_command 1.3
	echo more >"$release_scratch/first/new"
	declines 'not committed: ?? new' first release_command 1.2
	rm "$release_scratch/first/new"
	echo changed >>"$release_scratch/first/docs/page.md"
	declines 'not committed:  M docs/page.md' first release_command 1.2
	git -C "$release_scratch/first" checkout -q .
	touch "$release_scratch/red"
	declines 'check: failed with status 1' first release_command 1.2
	rm "$release_scratch/red"
	altered_clone unreleased sed -i '2a## Unreleased\n\nMore.\n' CHANGELOG.md
	declines "CHANGELOG.md begins with 'Unreleased'" unreleased release_command 1.2
	altered_clone undated sed -i 's/## 1.2, .*/## 1.2, soon/' CHANGELOG.md
	declines 'CHANGELOG.md says nothing of 1.2' undated release_command 1.2
	altered_clone silent sed -i '/News of 1.2/d' CHANGELOG.md
	git -C "$release_scratch/first" tag v1.2
	echo later >>"$release_scratch/first/docs/page.md"
	commit first
	declines 'the tag v1.2 is at another commit' first release_command 1.2
	rm -rf "$release_scratch/first/.git"
	declines 'no git clone' first release_command 1.2
}

test_same_bytes() {
	make_clone one
	git clone -q "$release_scratch/one" "$release_scratch/another"
	succeeds one release_command 1.2
	succeeds another release_command 1.2
	made=$release_scratch/one/build/release/1.2
	diff -r "$made" "$release_scratch/another/build/release/1.2" >"$release_scratch/output" ||
		release_wrong "another folder, other bytes"
	for made_file in flash_mng-1.2.tar.gz flash_mng-1.2.tar.gz.spdx.json flash_mng-1.2-documents.tar.gz stand-in.deb \
		stand-in.deb.spdx.json NOTES.md SHA256SUMS; do
		[ -s "$made/$made_file" ] || release_wrong "no $made_file"
	done
	[ "$(cat "$made/NOTES.md")" = "$(printf '## 1.2, 2026-11-22\n\nNews of 1.2.')" ] || release_wrong "the notes are not those of 1.2"
	tar -C "$release_scratch" -xzf "$made/flash_mng-1.2.tar.gz"
	"$release_source/tests/release/bill_check.py" "$made/flash_mng-1.2.tar.gz.spdx.json" "$made/flash_mng-1.2.tar.gz" \
		"$release_scratch/flash_mng-1.2" >"$release_scratch/output" || release_wrong "the bill is not that of the archive"
	cp -a "$made" "$release_scratch/given"
}

# Two builds by two people: equal, and different for each thing that tells one from the other.
test_reproduce() {
	make_clone again
	succeeds again reproduce_packages
	for twice_made in flash_mng-1.2.tar.gz stand-in.deb board.ko board-debug.ko; do
		grep -q "  $twice_made\$" "$release_scratch/output" || release_wrong "$twice_made is not built twice"
	done
	# shellcheck disable=SC2016 # commands of the build
	for left in pwd umask 'echo "$HOME"' 'echo "$USER"' 'echo "$LC_ALL"' 'date +%Z'; do
		rm -rf "$release_scratch/telling"
		make_clone telling
		echo "$left" >"$release_scratch/telling/left"
		commit telling
		declines 'the two are not the same' telling reproduce_packages
		grep -q 'stand-in.deb' "$release_scratch/output" || release_wrong "it does not say that stand-in.deb differs"
	done
}

# spoil COMMAND...: a copy of the release in which the command, run in its folder, changed something.
spoil() {
	rm -rf "$release_scratch/spoiled"
	cp -a "$release_scratch/given" "$release_scratch/spoiled"
	(cd "$release_scratch/spoiled" && "$@")
}

# sums_anew: as whoever changed a file would.
sums_anew() {
	"$@"
	find . -type f -not -name 'SHA256SUMS*' -printf '%P\n' | LC_ALL=C sort | xargs sha256sum >SHA256SUMS.new
	mv SHA256SUMS.new SHA256SUMS
}

# pack_other: the archive with another line in it, under the same commit's name.
pack_other() {
	mkdir "$release_scratch/other"
	tar -C "$release_scratch/other" -xzf flash_mng-1.2.tar.gz
	echo planted >>"$release_scratch/other/flash_mng-1.2/docs/page.md"
	{
		gzip -dc flash_mng-1.2.tar.gz | head -c 1024
		tar -C "$release_scratch/other" -cf - flash_mng-1.2
	} | gzip -9n >other.tar.gz
	mv other.tar.gz flash_mng-1.2.tar.gz
}

append() {
	echo planted >>"$1"
}

test_verify() {
	succeeds another release_command --verify "$release_scratch/given"
	grep -q 'files with equal bytes' "$release_scratch/output" || release_wrong "a release that is right is not said to be"
	succeeds one release_command --verify "$release_scratch/one/build/release/1.2"
	declines 'has no SHA256SUMS' another release_command --verify "$release_scratch"
	spoil append stand-in.deb
	declines 'stand-in.deb: FAILED' another release_command --verify "$release_scratch/spoiled"
	spoil rm NOTES.md
	declines 'NOTES.md' another release_command --verify "$release_scratch/spoiled"
	spoil touch more.deb
	declines 'more.deb is not in SHA256SUMS' another release_command --verify "$release_scratch/spoiled"
	spoil sums_anew append stand-in.deb
	declines 'is not what its source archive gives' another release_command --verify "$release_scratch/spoiled"
	spoil sums_anew pack_other
	declines 'differ' another release_command --verify "$release_scratch/spoiled"
	altered_clone stranger touch else
	rm -rf "$release_scratch/stranger/.git"
	git -C "$release_scratch/stranger" init -q
	commit stranger
	declines 'is not in this clone' stranger release_command --verify "$release_scratch/spoiled"
}

# The sources as whoever has the archive alone sees them: the same files, and the same date.
test_without_git() {
	make_clone with_git
	mkdir "$release_scratch/unpacked"
	succeeds with_git archive_sources 1.2 "$release_scratch/sources.tar.gz"
	tar -C "$release_scratch/unpacked" -xzf "$release_scratch/sources.tar.gz"
	mv "$release_scratch/unpacked/flash_mng-1.2" "$release_scratch/without_git"
	mkdir "$release_scratch/without_git/build"
	touch "$release_scratch/without_git/build/built.sh"
	for asked in '*' '*.sh' 'scripts/*.sh' dev 'docs/*' .reuse/dep5; do
		succeeds with_git our_files "$asked"
		sort "$release_scratch/output" >"$release_scratch/known"
		succeeds without_git our_files "$asked"
		sort "$release_scratch/output" | cmp -s - "$release_scratch/known" || release_wrong "other files for $asked without git"
		[ -s "$release_scratch/known" ] || release_wrong "no files for $asked"
	done
	for dated in with_git without_git; do
		succeeds "$dated" source_date
		[ "$(cat "$release_scratch/output")" = 1700000000 ] || release_wrong "$dated has another date"
	done
}

# bill_is TEXT [COMMAND...]: what is said of the bill after the command changed it.
bill_is() {
	bill_text=$1
	shift
	cp "$release_scratch/real.spdx.json" "$release_scratch/changed.spdx.json"
	[ $# -eq 0 ] || "$@" "$release_scratch/changed.spdx.json"
	"$release_source/tests/release/bill_check.py" "$release_scratch/changed.spdx.json" "$release_scratch/real.tar.gz" \
		"$release_scratch/real" "$release_scratch/reuse.spdx" >"$release_scratch/output" 2>&1 || true
	grep -qE -- "$bill_text" "$release_scratch/output" || release_wrong "the check of the bill does not say '$bill_text'"
}

# The bill of the real clone, against its files, the rules of SPDX and what reuse says; then with something wrong in it.
test_bill() {
	mkdir "$release_scratch/real"
	"$release_source/tests/release/in_clone" "$release_source" our_files '*' |
		rsync -a --files-from=- "$release_source" "$release_scratch/real"
	tar -C "$release_scratch/real" -czf "$release_scratch/real.tar.gz" .
	printf 'linux kernel 5.10.1\ng++ tool 12\nlibfmt-dev library 9\n' >"$release_scratch/built_with"
	"$release_source/scripts/bill.py" source "$release_scratch/real.tar.gz" "$release_scratch/real" 1.2 1700000000 \
		"$release_scratch/built_with" >"$release_scratch/real.spdx.json" || release_wrong "no bill"
	(cd "$release_scratch/real" && reuse --root . spdx) >"$release_scratch/reuse.spdx" 2>/dev/null
	bill_is '^[0-9]+ files$'
	cp "$release_scratch/output" "$release_scratch/figure"
	bill_is 'SPDX 2.3' sed -i 's/"SPDX-2.3"/"SPDX-2.2"/'
	bill_is 'Unknown license' sed -i 's/"licenseConcluded": "BSD-3-Clause OR GPL-2.0-only"/"licenseConcluded": "BSD-3-Claus"/'
	bill_is 'has another SHA256' sed -i 's/"checksumValue": "\([0-9a-f]\{63\}\)[0-9a-f]"/"checksumValue": "\1x"/'
	bill_is 'which is not there' sed -i '0,/SPDXRef-File-7"/s//SPDXRef-File-77777"/'
	bill_is 'no compiler' sed -i 's/"g++"/"none"/'
	bill_is 'no kernel' sed -i 's/"linux"/"none"/'
	bill_is 'is not in the bill' sed -i 's,"./CHANGELOG.md","./NOCHANGELOG.md",'
	bill_is 'reuse says of' sed -i '0,/"GPL-2.0-only"$/s//"MIT"/'
	bill_is 'time of creation' sed -i 's/"created": ".*"/"created": "today"/'
	bill_is 'absolute address' sed -i 's,"documentNamespace": "https,"documentNamespace": "#,'
	bill_is 'verification code' sed -i 's/"packageVerificationCodeValue": "./&0/'
}

for release_test in test_refusals test_same_bytes test_reproduce test_verify test_without_git test_bill; do
	"$release_test"
done
[ ! -e "$release_scratch/failed" ] && echo "what is refused, what is made, what is found; a bill of $(cat "$release_scratch/figure")"
