// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Help texts against their golden files, against the manual, and against the completions. With FLASHCTL_WRITE_GOLDEN set, the golden
// files are written instead.
#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <set>

#include "command_line.hpp"
#include "failure.hpp"
#include "scratch.hpp"

using namespace flashctl_tests;

namespace {

const std::vector<std::string> commands = {"list", "info", "read", "write", "verify", "spi", "explain"};

std::string help_of(const std::string &command)
{
	return command.empty() ? flashctl::parse_command_line({"--help"}).text : flashctl::parse_command_line({command, "--help"}).text;
}

class help : public testing::TestWithParam<std::string> {};

TEST_P(help, is_the_golden_one)
{
	const std::string name = GetParam().empty() ? "flashctl" : GetParam();
	const std::string golden = SOURCE_DIR "/tests/flashctl/golden/" + name + ".txt";
	if (std::getenv("FLASHCTL_WRITE_GOLDEN"))
		std::ofstream(golden) << help_of(GetParam());
	EXPECT_EQ(help_of(GetParam()), scratch::content_of(golden));
}

TEST_P(help, fits_a_terminal)
{
	std::istringstream text(help_of(GetParam()));
	for (std::string line; std::getline(text, line);)
		EXPECT_LE(line.size(), 132u) << line;
}

INSTANTIATE_TEST_SUITE_P(all, help, testing::Values("", "list", "info", "read", "write", "verify", "spi", "explain"));

using word_set = std::set<std::string>;

// Long options in a text.
word_set options_in(const std::string &text)
{
	static const std::regex option("--[a-z][a-z0-9-]+");
	return {std::sregex_token_iterator(text.begin(), text.end(), option), {}};
}

// What the parser itself knows.
word_set all_options()
{
	word_set options = options_in(help_of(""));
	for (const std::string &command : commands)
		options.merge(options_in(help_of(command)));
	return options;
}

// Options that the manual describes in a list: ".It Fl -offset Ar SIZE", ".It Fl o , Fl -output Ar FILE".
word_set options_of_manual(const std::string &manual)
{
	static const std::regex item("\\.It Fl (?:[a-z] , Fl )?-([a-z0-9-]+)[^\n]*");
	word_set options;
	for (std::sregex_iterator found(manual.begin(), manual.end(), item), end; found != end; ++found)
		options.insert("--" + (*found)[1].str());
	return options;
}

const std::string manual = scratch::content_of(SOURCE_DIR "/docs/man/flashctl.1");

TEST(manual, has_every_option_and_no_other)
{
	EXPECT_GE(all_options().size(), 13u);
	EXPECT_EQ(options_of_manual(manual), all_options());
}

TEST(manual, has_every_command)
{
	for (const std::string &command : commands)
		EXPECT_NE(manual.find(".It Cm " + command), std::string::npos) << command;
}

TEST(manual, has_every_exit_status_with_its_kind)
{
	for (int exit = 0; exit <= 11; ++exit) {
		const std::string item =
			".It " + std::to_string(exit) + " " + flashctl::kind_of(static_cast<flashctl::exit_status>(exit)) + "\n";
		EXPECT_NE(manual.find(item), std::string::npos) << item;
	}
	EXPECT_EQ(manual.find(".It 12"), std::string::npos);
}

TEST(manual, of_the_device_has_every_command_and_code)
{
	const std::string device = scratch::content_of(SOURCE_DIR "/docs/man/flash_mng.4");
	std::istringstream header(scratch::content_of(SOURCE_DIR "/flash_mng_kernel/include/uapi/flash_mng.h"));
	static const std::regex macro("#define (FLASH_MNG_[A-Z_]+)[ \\t]+(0x[0-9A-F]+|[0-9]+)u.*");
	std::size_t found = 0;
	std::smatch match;
	for (std::string line; std::getline(header, line);)
		if (std::regex_match(line, match, macro)) {
			EXPECT_TRUE(std::regex_search(device, std::regex(match[1].str() + "\\b"))) << line;
			++found;
		}
	EXPECT_GE(found, 38u);
}

TEST(completion, of_bash_has_every_option_and_command)
{
	const std::string script = scratch::content_of(SOURCE_DIR "/tools/flashctl/completion/flashctl.bash");
	EXPECT_EQ(options_in(script), all_options());
	for (const std::string &command : commands)
		EXPECT_TRUE(std::regex_search(script, std::regex("\\b" + command + "\\b"))) << command;
}

TEST(completion, of_zsh_has_every_option_and_command)
{
	const std::string script = scratch::content_of(SOURCE_DIR "/tools/flashctl/completion/_flashctl");
	EXPECT_EQ(options_in(script), all_options());
	for (const std::string &command : commands)
		EXPECT_TRUE(std::regex_search(script, std::regex("\\b" + command + ":"))) << command;
}

} // namespace
