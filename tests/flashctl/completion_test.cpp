// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What bash offers for words of a command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>
#include <string_view>
#include <vector>

#include "scratch.hpp"
#include "tools_common/shells.hpp"

using namespace flashctl_tests;

namespace {

constexpr char two_partitions[] =
	"dev:    size   erasesize  name\nmtd0: 00100000 00020000 \"boot\"\nmtd12: 00800000 00020000 \"usrdata\"\n";

// What is offered for the last of the words in a folder with the file "mtd", which lists the partitions.
std::vector<std::string> offers(const scratch &folder, const std::string &words)
{
	return tools_tests::offered_by_bash({SOURCE_DIR "/tools/flashctl/completion/flashctl.bash", "_flashctl", "flashctl"},
					    folder.path("script"), words, "cd '" + folder.path() + "'\nFLASHCTL_MTD_LIST=mtd");
}

std::string offered(const std::string &words)
{
	const scratch folder;
	folder.write("mtd", two_partitions);
	const std::string text = tools_tests::joined(offers(folder, words), " ", "");
	return text.substr(std::min<std::size_t>(text.size(), 1));
}

TEST(bash, offers_commands)
{
	EXPECT_EQ(offered("''"), "list info map read write verify backup restore spi explain");
	EXPECT_EQ(offered("--json ver"), "verify");
}

// A value of an option is no command, however it is called.
TEST(bash, finds_the_command_behind_values_of_options)
{
	EXPECT_EQ(offered("--device list re"), "read restore");
	EXPECT_EQ(offered("--device = list re"), "read restore") << "as bash cuts up --device=list";
	EXPECT_EQ(offered("--device list read u"), "usrdata");
	EXPECT_EQ(offered("write --offset read u"), "usrdata");
	EXPECT_EQ(offered("read --output list --o"), "--offset --output");
}

TEST(bash, offers_partitions_and_then_files)
{
	EXPECT_EQ(offered("read ''"), "boot usrdata");
	EXPECT_EQ(offered("write u"), "usrdata");
	EXPECT_EQ(offered("write --offset 4KiB u"), "usrdata");
	EXPECT_EQ(offered("write usrdata m"), "mtd");
	EXPECT_EQ(offered("read usrdata ''"), "");
	EXPECT_EQ(offered("spi --name b"), "boot");
}

// Names that a shell would run, split, expand or take for an option.
const std::vector<std::string> hostile_names = {"a$(touch ran)b",
						"a`touch ran`b",
						"a;touch ran",
						"a b",
						"a  b",
						" a",
						"a'b",
						"a\\b",
						"a*",
						"*",
						"$HOME",
						"${IFS}",
						"~",
						"~root",
						"-n",
						"--",
						"a&&touch ran",
						"a|b",
						"a>b",
						"a(b",
						"a)b",
						"a#b",
						"#",
						"!!",
						"a:b",
						"a=b",
						"{a,b}",
						"[a-z]",
						"a?",
						"\xc3\xa4",
						"mtd0",
						"a \"b",
						"a\"b"};

std::string listed(const std::vector<std::string> &names)
{
	std::string list = "dev:    size   erasesize  name\n";
	for (std::size_t i = 0; i < names.size(); ++i)
		list += "mtd" + std::to_string(i) + ": 00100000 00020000 \"" + names[i] + "\"\n";
	return list;
}

TEST(bash, offers_hostile_names_as_they_are)
{
	const scratch folder;
	folder.write("mtd", listed(hostile_names));
	EXPECT_EQ(offers(folder, "read ''"), hostile_names);
	EXPECT_FALSE(std::filesystem::exists(folder.path("ran")));
}

TEST(bash, compares_what_was_typed_letter_by_letter)
{
	const scratch folder;
	folder.write("mtd", listed(hostile_names));
	using names = std::vector<std::string>;
	const auto offered_for = [&folder](const std::string &typed) { return offers(folder, "read '" + typed + "'"); };
	EXPECT_EQ(offered_for("*"), names{"*"});
	EXPECT_EQ(offered_for("a$"), names{"a$(touch ran)b"});
	EXPECT_EQ(offered_for("a\\ "), (names{"a b", "a  b", "a \"b"}));
	EXPECT_EQ(offered_for("\"a "), (names{"a b", "a  b", "a \"b"}));
	EXPECT_EQ(offered_for("$("), names{});
	EXPECT_FALSE(std::filesystem::exists(folder.path("ran")));
}

// Names of any bytes: what is offered is what is there, and nothing runs.
TEST(bash, offers_random_names_as_they_are)
{
	constexpr std::string_view letters = "ab $`();|&<>*?[]{}!#~'\\\"=:-,.%^+@/";
	std::mt19937 random(1);
	const scratch folder;
	std::vector<std::string> names;
	for (int i = 0; i < 300; ++i) {
		std::string name;
		for (std::size_t size = 1 + random() % 24; size; --size)
			name += letters[random() % letters.size()];
		names.push_back(name + "$(touch ran)`touch ran`");
	}
	folder.write("mtd", listed(names));
	EXPECT_EQ(offers(folder, "write ''"), names);
	EXPECT_FALSE(std::filesystem::exists(folder.path("ran")));
}

// The shell's own function that takes the names prints them here.
TEST(zsh, offers_hostile_names_as_they_are)
{
	if (std::system("command -v zsh >/dev/null") != 0)
		GTEST_SKIP() << "there is no zsh here";
	const scratch folder;
	folder.write("mtd", listed(hostile_names));
	const std::string script = "compadd() { shift; print -rl -- \"$@\"; }\n_arguments() { :; }\n. " SOURCE_DIR
				   "/tools/flashctl/completion/_flashctl\n_flashctl_partitions\n";
	folder.write("script", "cd '" + folder.path() + "'\nFLASHCTL_MTD_LIST=mtd\n" + script);
	EXPECT_EQ(tools_tests::output_of("zsh -f '" + folder.path("script") + "' 2>&1"), tools_tests::joined(hostile_names, "", "\n"));
	EXPECT_FALSE(std::filesystem::exists(folder.path("ran")));
}

TEST(bash, offers_the_options_of_the_command)
{
	EXPECT_EQ(offered("read --o"), "--offset --output");
	EXPECT_EQ(offered("write --d"), "--device --dry-run");
	EXPECT_EQ(offered("list --o"), "");
	EXPECT_EQ(offered("--vers"), "--version");
}

TEST(bash, offers_values)
{
	EXPECT_EQ(offered("write usrdata f --verify ''"), "all range none");
	EXPECT_EQ(offered("read usrdata --offset ''"), "");
}

} // namespace
