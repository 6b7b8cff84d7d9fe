// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Numbers that documents and comments repeat, against the places that decide them.
#include <gtest/gtest.h>

#include <ostream>
#include <regex>
#include <set>

#include "scratch.hpp"

namespace {

using flashctl_tests::scratch;

struct fact {
	const char *document;
	const char *said; // with groups around what is compared
	const char *source;
	const char *decided;
};

std::ostream &operator<<(std::ostream &out, const fact &one)
{
	return out << one.document << ": " << one.said;
}

constexpr fact facts[] = {
	{"docs/testing.md", "stack frames over (\\d+) bytes", "scripts/check.sh", "\nframe_limit=(\\d+)\n"},
	{"docs/testing.md", "calls that nobody would make, (\\d+) s", "scripts/test.sh", "\nshort_fuzz_seconds=(\\d+)\n"},
	{"docs/testing.md", "takes over (\\d+) % more", "bench/report/gate.cpp", "growth_allowed = 0\\.0(\\d+);"},
	{"bench/figures.txt", "grows by more than (\\d+) %", "bench/report/gate.cpp", "growth_allowed = 0\\.0(\\d+);"},
	{"docs/testing.md", "\\| (\\d+) load cycles", "board/initramfs/tasks/cycles", "echo \"(\\d+) load cycles"},
	{"dev", "powercut \\[[^(]*\\(default (\\d+)\\)", "scripts/powercut.sh", "minutes=\\$\\{1-(\\d+)\\}"},
	{"dev", "torture \\[[^(]*\\(default (\\d+)\\)", "scripts/torture.sh", "minutes=\\$\\{1-(\\d+)\\}"},
	{"dev", "fuzz \\[[^(]*\\(default (\\d+)\\)", "scripts/fuzz.sh", "minutes=\\$\\{1-(\\d+)\\}"},
	{"dev", "twin \\[[^(]*\\(default (\\d+)\\)", "scripts/twin.sh", "minutes twin \"\\$\\{1-(\\d+)\\}\""},
	{"docs/board-xml.md", "`mtd_name` \\(at most (\\d+) characters\\), `offset`", "tools/flash-board/check_sections.cpp",
	 "longest_name = (\\d+);"},
	{"docs/board-xml.md", "`mtd_name` \\(at most (\\d+) characters\\), `avail_size`", "tools/flash-board/check_mtd_info.cpp",
	 "longest_kept_name = (\\d+);"},
	{"docs/board-xml.md", "elements `mtd_name` \\(at most (\\d+) characters\\)", "tools/flash-board/check_spi.cpp",
	 "longest_map_name = (\\d+);"},
	{"docs/man/flash_mng-board.5", "\\(at most (\\d+) characters\\)", "docs/board-xml.md", "\\(at most (\\d+) characters\\)"},
	{"board/README.md", "`boot` (\\d+) MiB, `config` (\\d+) MiB, `usrdata` (\\d+) MiB", "board/run",
	 ":(\\d+)M\\(boot\\),(\\d+)M\\(config\\),(\\d+)M\\(usrdata\\)"},
	{"board/README.md", "CFI NOR, (\\d+) MiB", "board/run", "flash:(\\d+)M@\\d+M\\(nor\\)"},
	{"flash_mng_kernel/include/uapi/flash_mng.h", "struct (\\w+) - [^;*]*; (\\d+) bytes", "flash_mng_kernel/interface.h",
	 "AGREED_RECORD\\((\\w+), (\\d+)"},
};

// Each match of the pattern in the file, its groups with a blank between them.
std::set<std::string> found_in(const char *file, const char *pattern)
{
	const std::string text = scratch::content_of(std::string(REPOSITORY_DIR "/") + file);
	const std::regex expression(pattern);
	std::set<std::string> found;
	for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
		std::string groups;
		for (std::size_t i = 1; i < match->size(); ++i)
			groups += (*match)[i].str() + " ";
		found.insert(groups);
	}
	return found;
}

class fact_test : public testing::TestWithParam<fact> {};

TEST_P(fact_test, is_as_the_source_decides)
{
	const auto said = found_in(GetParam().document, GetParam().said), decided = found_in(GetParam().source, GetParam().decided);
	EXPECT_FALSE(said.empty()) << "nothing in " << GetParam().document;
	EXPECT_FALSE(decided.empty()) << "nothing in " << GetParam().source << ": " << GetParam().decided;
	for (const std::string &one : said)
		EXPECT_TRUE(decided.contains(one)) << GetParam().document << " says " << one << "; " << GetParam().source << " says "
						   << (decided.empty() ? "nothing" : *decided.begin());
}

INSTANTIATE_TEST_SUITE_P(each, fact_test, testing::ValuesIn(facts));

} // namespace
