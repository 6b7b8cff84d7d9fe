// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Command lines that nobody would write, from a seed. What has to hold is in command_line_input.hpp; the fuzzer of fuzz_command_line.cpp
// goes on from here.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <random>

#include "command_line_input.hpp"
#include "fixtures.hpp"

namespace {

const std::vector<std::string> words = {"compile",    "check",	    "simulate",	   "map",	 "explain",	   "diff",
					"report",     "-",	    "-o",	   "--output",	 "--mtd",	   "--mtdparts",
					"--json",     "--format",   "json",	   "text",	 "sarif",	   "--strict",
					"--force",    "--bom",	    "1",	   "4294967296", "--help",	   "--version",
					"--",	      "--markdown", "--mtd=",	   "--new-mtd",	 "--new-mtdparts", "--new-mtd=-",
					"f:1M(boot)", "-o-",	    "--output=-",  "--bom=-1",	 "section-wraps",  "-h",
					"--format=x", "a:1M,2M(x",  "section-wrp", "--json=1",	 "--strict=0"};

// Names as they should never be; no file is called so, and each is an absolute path where nothing can be made.
const std::vector<std::string> names = {"/nowhere/$(touch ran)", "/nowhere/`touch ran`", "/nowhere/a b;c",
					"/nowhere/\xff\xfe",	 "/nowhere/\n",		 "/dev/null",
					"/nowhere/../x",	 "/nowhere/%n%s%99999d", std::string(5000, 'x'),
					"/nowhere/\x1b[31m",	 "/nowhere/--strict",	 "/proc/self/mem"};

std::vector<std::string> texts()
{
	std::vector<std::string> all = {"", "\n", std::string(1000, '\0'), fixtures::read(FIXTURES_DIR "/partitions.mtd")};

	for (const auto &one : fixtures::bad())
		all.push_back(fixtures::read(one.xml()));
	for (const auto &one : fixtures::good())
		all.push_back(fixtures::read(one.xml()));
	return all;
}

std::string some_word(std::mt19937 &random)
{
	auto word = random() % 8 ? words[random() % words.size()] : names[random() % names.size()];

	if (random() % 20 == 0)
		word.insert(random() % (word.size() + 1), 1, static_cast<char>(1 + random() % 255));
	if (random() % 40 == 0)
		word.resize(random() % (word.size() + 1));
	return word;
}

TEST(command_lines, of_any_words_end_well)
{
	// Where a name without a folder would be written.
	auto name = (std::filesystem::temp_directory_path() / "flash-board-test-XXXXXX").string();
	const std::filesystem::path before = std::filesystem::current_path(), folder = mkdtemp(name.data());
	const auto inputs = texts();
	std::mt19937 random(3);

	std::filesystem::current_path(folder);
	for (int i = 0; i < 4000; i++) {
		command_line_input given("");
		if (random() % 4)
			given.arguments.push_back(words[random() % 7]);
		if (random() % 3)
			given.arguments.push_back("-");
		if (random() % 2)
			given.arguments.push_back("--json");
		for (auto count = random() % 2 ? random() % 6 : 0; count > 0; count--)
			given.arguments.push_back(some_word(random));
		given.input = inputs[random() % inputs.size()];
		try_command_line(given);
	}
	std::filesystem::current_path(before);
	std::filesystem::remove_all(folder);
}

TEST(command_lines, are_told_apart_from_the_input)
{
	using namespace std::string_literals;
	const command_line_input given("check\0-\0\0<board/>"s), alone("check"s), none(""s);

	EXPECT_EQ(given.arguments, (std::vector<std::string>{"check", "-"}));
	EXPECT_EQ(given.input, "<board/>");
	EXPECT_EQ(alone.arguments, std::vector<std::string>{"check"});
	EXPECT_TRUE(none.arguments.empty());
}

} // namespace
