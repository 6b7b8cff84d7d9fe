// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the shells offer for words of a command line, and that names of files never run.
#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <regex>

#include "fixtures.hpp"
#include "rules.hpp"
#include "tools_common/shells.hpp"

namespace {

constexpr const char *bash_file = REPOSITORY_DIR "/tools/flash-board/completion/flash-board.bash";
constexpr const char *zsh_file = REPOSITORY_DIR "/tools/flash-board/completion/_flash-board";

const std::vector<std::string> commands = {"compile", "check", "simulate", "map", "diff", "report", "explain"};

using tools_tests::output_of;

// A folder whose files have these names.
class completion : public testing::Test {
protected:
	completion()
	{
		auto name = (std::filesystem::temp_directory_path() / "flash-board-test-XXXXXX").string();
		folder_ = mkdtemp(name.data());
		std::filesystem::create_directories(folder_ / "files");
	}
	~completion() override { std::filesystem::remove_all(folder_); }

	void add(const std::string &name) const { std::ofstream(folder_ / "files" / name) << "x"; }

	// What is offered for the last of the words of the shell, each in "<...>".
	std::string offered(const std::string &words) const
	{
		const std::string program = FLASH_BOARD_PROGRAM;
		const std::string before =
			"cd '" + (folder_ / "files").string() + "'\nPATH='" + program.substr(0, program.rfind('/')) + "':$PATH";
		return tools_tests::joined(
			tools_tests::offered_by_bash({bash_file, "_flash_board", "flash-board"}, folder_ / "script", words, before), "<",
			">");
	}

	std::size_t files() const
	{
		return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_ / "files"), {}));
	}

private:
	std::filesystem::path folder_;
};

TEST_F(completion, of_bash_offers_commands)
{
	EXPECT_EQ(offered("''"), "<compile><check><simulate><map><diff><report><explain>");
	EXPECT_EQ(offered("c"), "<compile><check>");
}

TEST_F(completion, of_bash_offers_options_of_the_command_and_their_values)
{
	EXPECT_EQ(offered("check --s"), "<--strict>");
	EXPECT_EQ(offered("compile --f"), "<--force>");
	EXPECT_EQ(offered("--v"), "<--version>");
	EXPECT_EQ(offered("check --format ''"), "<text><json><sarif>");
	EXPECT_EQ(offered("simulate --format ''"), "<text><json>");
	EXPECT_EQ(offered("map --bom ''"), "");
}

TEST_F(completion, of_bash_offers_rules)
{
	EXPECT_EQ(offered("explain section-w"), "<section-wraps>");
	for (const auto &one : flash_board::all_rules())
		EXPECT_NE(offered("explain " + std::string(one.id)).find("<" + std::string(one.id) + ">"), std::string::npos) << one.id;
}

TEST_F(completion, of_bash_offers_files_as_they_are_called_and_runs_none)
{
	const std::vector<std::string> names = {
		"a$(touch ran).xml", "b`touch ran`.xml", "c ; touch ran.xml", "d \"x' y.xml", "e&&touch ran", "$HOME", "*", "~"};
	for (const auto &name : names)
		add(name);
	const auto count = files();

	for (const auto *words : {"check ''", "compile x -o ''", "map --mtd ''"}) {
		const auto all = offered(words);
		for (const auto &name : names)
			EXPECT_NE(all.find("<" + name + ">"), all.npos) << words << ": " << name << " in " << all;
	}
	for (const auto &name : names)
		EXPECT_NE(offered("check '" + name.substr(0, 1) + "'").find("<"), std::string::npos) << name;
	EXPECT_EQ(offered("check '$(touch ran)'"), "");
	EXPECT_EQ(offered("'$(touch ran)' ''"), "<compile><check><simulate><map><diff><report><explain>");
	EXPECT_EQ(files(), count);
}

// Every option of the help, in both shells.
TEST_F(completion, has_every_command_and_option)
{
	const auto zsh = fixtures::read(zsh_file), bash = fixtures::read(bash_file);
	const std::regex option("--[a-z]+(-[a-z]+)*");

	for (const auto &command : commands) {
		EXPECT_NE(zsh.find("'" + command + ":"), zsh.npos) << command;
		const auto help = output_of(FLASH_BOARD_PROGRAM " " + command + " --help");
		for (auto at = std::sregex_iterator(help.begin(), help.end(), option); at != std::sregex_iterator(); ++at) {
			EXPECT_NE(offered(command + " " + at->str()).find("<" + at->str() + ">"), std::string::npos)
				<< command << " " << at->str();
			EXPECT_NE(zsh.find(at->str()), zsh.npos) << at->str();
		}
	}
}

} // namespace
