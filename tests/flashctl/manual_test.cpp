// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Help texts against their golden files, against the manual, and against the completions.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "command_line.hpp"
#include "failure.hpp"
#include "golden.hpp"
#include "scratch.hpp"

using namespace flashctl_tests;

namespace {

const std::vector<std::string> commands = {"list", "info", "map", "read", "write", "verify", "backup", "restore", "spi", "explain"};

std::string help_of(const std::string &command)
{
	return command.empty() ? flashctl::parse_command_line({"--help"}).text : flashctl::parse_command_line({command, "--help"}).text;
}

class help : public testing::TestWithParam<std::string> {};

TEST_P(help, is_the_golden_one)
{
	const std::string name = GetParam().empty() ? "flashctl" : GetParam();
	expect_golden(help_of(GetParam()), SOURCE_DIR "/tests/flashctl/golden/" + name + ".txt", "help");
}

TEST_P(help, fits_a_terminal)
{
	std::istringstream text(help_of(GetParam()));
	for (std::string line; std::getline(text, line);)
		EXPECT_LE(line.size(), 132u) << line;
}

INSTANTIATE_TEST_SUITE_P(all, help, testing::Values(""));
INSTANTIATE_TEST_SUITE_P(of, help, testing::ValuesIn(commands));

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
	for (int exit = 0; exit <= 12; ++exit) {
		const std::string item =
			".It " + std::to_string(exit) + " " + flashctl::kind_of(static_cast<flashctl::exit_status>(exit)) + "\n";
		EXPECT_NE(manual.find(item), std::string::npos) << item;
	}
	EXPECT_EQ(manual.find(".It 13"), std::string::npos);
}

using texts = std::vector<std::string>;

const std::string device_manual = scratch::content_of(SOURCE_DIR "/docs/man/flash_mng.4");
const std::string device_header = scratch::content_of(SOURCE_DIR "/flash_mng_kernel/include/uapi/flash_mng.h");

// "NAME NUMBER MEANING" of each match of a pattern with these three groups.
texts rows_of(const std::string &text, const std::regex &pattern)
{
	texts rows;
	for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found)
		rows.push_back((*found)[1].str() + " " + (*found)[2].str() + " " + (*found)[3].str());
	return rows;
}

texts codes_of_manual(const std::string &page)
{
	static const std::regex row("\\.It Dv (\\w+) Ta (\\w+) Ta ([^\n]*)\n");
	return rows_of(std::regex_replace(page, std::regex("\\\\-"), "-"), row);
}

texts codes_of_header(const std::string &header)
{
	static const std::regex row("#define (FLASH_MNG_\\w+)[ \t]+(\\w+)u[ \t]+/\\* ([^\n]*) \\*/\n");
	return rows_of(header, row);
}

// With the record that is exchanged; "The same" is that of the command before.
texts commands_of_manual(const std::string &page)
{
	static const std::regex row("\\.It Dv (\\w+) Pq (\\w+)\n(?:[^.\n][^\n]*\n)*?(?:[^\n]*\n\\.Vt ((?:struct )?\\w+)|The same)");
	texts rows = rows_of(page, row);
	for (std::size_t i = 1; i < rows.size(); ++i)
		if (rows[i].ends_with(' '))
			rows[i] += rows[i - 1].substr(rows[i - 1].find(' ', rows[i - 1].find(' ') + 1) + 1);
	return rows;
}

// The comment above a command tells its argument and comes before the number.
texts commands_of_header(const std::string &header)
{
	static const std::regex row(
		" \\* (FLASH_MNG_\\w+) - [^\n]*\n \\* Argument: ((?:struct )?\\w+)(?:[^/]|[^*]/)*\\*/\n#define \\1 (\\w+)u\n");
	texts rows;
	for (std::sregex_iterator found(header.begin(), header.end(), row), end; found != end; ++found)
		rows.push_back((*found)[1].str() + " " + (*found)[3].str() + " " + (*found)[2].str());
	return rows;
}

// As lines, of which gtest shows those that differ.
std::string lines(const texts &rows)
{
	std::string text;
	for (const std::string &row : rows)
		text += row + "\n";
	return text;
}

// The page with a table made of the header's codes in the place of its own.
std::string with_codes_of(const std::string &header, const std::string &page)
{
	static const std::regex row("\\.It Dv \\w+ Ta \\w+ Ta [^\n]*\n"),
		code("#define (FLASH_MNG_\\w+)[ \t]+(\\w+)u[ \t]+/\\* ([^\n]*) \\*/\n");
	std::smatch first;
	if (!std::regex_search(page, first, row))
		return page;
	std::string table;
	for (std::sregex_iterator found(header.begin(), header.end(), code), end; found != end; ++found)
		table += ".It Dv " + (*found)[1].str() + " Ta " + (*found)[2].str() + " Ta " +
			 std::regex_replace((*found)[3].str(), std::regex("-(?=\\d)"), "\\-") + "\n";
	return std::string(first.prefix()) + table + std::regex_replace(std::string(first.suffix()), row, "");
}

TEST(manual, of_the_device_has_the_codes_of_the_header_and_their_meanings)
{
	EXPECT_GE(codes_of_manual(device_manual).size(), 30u);
	expect_golden(with_codes_of(device_header, device_manual), SOURCE_DIR "/docs/man/flash_mng.4", "manual");
}

TEST(manual, of_the_device_has_the_commands_of_the_header_and_their_records)
{
	EXPECT_EQ(lines(commands_of_manual(device_manual)), lines(commands_of_header(device_header)));
}

// No number of the header in another form than the two above.
TEST(manual, of_the_device_is_compared_with_all_of_the_header)
{
	static const std::regex number("#define FLASH_MNG_\\w+[ \t]+\\w+u\\b");
	const auto all = std::distance(std::sregex_iterator(device_header.begin(), device_header.end(), number), {});
	EXPECT_EQ(codes_of_header(device_header).size() + commands_of_header(device_header).size(), static_cast<std::size_t>(all));
	EXPECT_GE(all, 38);
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
