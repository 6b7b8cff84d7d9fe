// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What bash offers for words of a command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

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
	EXPECT_EQ(offered("''"), "list info read write verify spi explain");
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
