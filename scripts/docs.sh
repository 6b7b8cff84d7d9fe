# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
# shellcheck shell=sh
#
# ./dev docs: the documents as a site, build/site. docs/site/ has its template, its looks and its search.

# make_site [FOLDER [OUTPUT]]: fails, and says which, where a link leads nowhere.
make_site() {
	/usr/bin/python3 "$root/scripts/site.py" "${1-$root}" "${2-$build_dir/site}"
}

docs_command() {
	at_most 0 docs "$@"
	hold_clone
	need_packages "$docs_packages"
	run_step "make the site" site make_site
	say "$(tail -n 1 "$log_dir/site.log"): $build_dir/site/index.html"
}
