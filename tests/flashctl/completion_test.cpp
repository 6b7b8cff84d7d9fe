// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What bash offers for words of a command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>
#include <string_view>
#include <vector>

#include "scratch.hpp"

using namespace flashctl_tests;

namespace {

// The last of the words is the one to be completed.
std::string offered(const std::string &words)
{
	const scratch folder;
	folder.write("mtd", "dev:    size   erasesize  name\nmtd0: 00100000 00020000 \"boot\"\nmtd12: 00800000 00020000 \"usrdata\"\n");
	const std::string script = "cd " + folder.path() +
				   "; . " SOURCE_DIR "/tools/flashctl/completion/flashctl.bash; COMP_WORDS=(flashctl " + words +
				   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _flashctl; echo \"${COMPREPLY[*]}\"";
	folder.write("script", script);
	std::FILE *const pipe =
		popen(("FLASHCTL_MTD_LIST=" + folder.path("mtd") + " bash " + folder.path("script") + " 2>&1").c_str(), "r");
	std::string output;
	for (int letter; (letter = std::fgetc(pipe)) != EOF;)
		output += static_cast<char>(letter);
	EXPECT_EQ(pclose(pipe), 0);
	return output.substr(0, output.find('\n'));
}

TEST(bash, offers_commands)
{
	EXPECT_EQ(offered("''"), "list info read write verify backup restore spi explain");
	EXPECT_EQ(offered("--json ver"), "verify");
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

std::string lines_of(const std::string &shell, const scratch &folder, const std::string &script)
{
	folder.write("script", script);
	const std::string line = "cd " + folder.path() + " && FLASHCTL_MTD_LIST=mtd " + shell + " script 2>&1";
	std::FILE *const pipe = popen(line.c_str(), "r");
	std::string output;
	for (int letter; (letter = std::fgetc(pipe)) != EOF;)
		output += static_cast<char>(letter);
	EXPECT_EQ(pclose(pipe), 0) << output;
	return output;
}

std::string joined(const std::vector<std::string> &names)
{
	std::string lines;
	for (const std::string &name : names)
		lines += name + "\n";
	return lines;
}

constexpr char bash_script[] = ". " SOURCE_DIR "/tools/flashctl/completion/flashctl.bash; COMP_CWORD=2\n";

TEST(bash, offers_hostile_names_as_they_are)
{
	const scratch folder;
	folder.write("mtd", listed(hostile_names));
	const std::string script =
		std::string(bash_script) + "COMP_WORDS=(flashctl read '')\n_flashctl; printf '%s\\n' \"${COMPREPLY[@]}\"";
	EXPECT_EQ(lines_of("bash", folder, script), joined(hostile_names));
	EXPECT_FALSE(std::filesystem::exists(folder.path("ran")));
}

TEST(bash, compares_what_was_typed_letter_by_letter)
{
	const scratch folder;
	folder.write("mtd", listed(hostile_names));
	const auto offered_for = [&](const std::string &typed) {
		return lines_of("bash", folder,
				std::string(bash_script) + "COMP_WORDS=(flashctl read '" + typed +
					"')\n_flashctl; printf '%s\\n' \"${COMPREPLY[@]}\"");
	};
	EXPECT_EQ(offered_for("*"), "*\n");
	EXPECT_EQ(offered_for("a$"), "a$(touch ran)b\n");
	EXPECT_EQ(offered_for("a\\ "), "a b\na  b\na \"b\n");
	EXPECT_EQ(offered_for("\"a "), "a b\na  b\na \"b\n");
	EXPECT_EQ(offered_for("$("), "\n");
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
	const std::string script =
		std::string(bash_script) + "COMP_WORDS=(flashctl write '')\n_flashctl; printf '%s\\n' \"${COMPREPLY[@]}\"";
	EXPECT_EQ(lines_of("bash", folder, script), joined(names));
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
	EXPECT_EQ(lines_of("zsh -f", folder, script), joined(hostile_names));
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
