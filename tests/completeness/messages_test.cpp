// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// docs/troubleshooting.md against the messages of the module's and the reference platform's sources, in both directions.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "module_sources.hpp"
#include "troubleshooting.hpp"

namespace completeness {
namespace {

using names = std::set<std::string>;

// As the page spells them: "log: 27: mtd read: read over mtd area", and the level behind it.
names messages_of_page()
{
	names found;
	for (const flashctl::trouble &section : flashctl::all_troubles())
		for (const flashctl::known_message &message : section.messages) {
			if (message.is_of_linux())
				continue;
			const auto either = message.level.find(" or ");
			found.insert(message.text + " | " + message.level.substr(0, either));
			if (either != std::string::npos)
				found.insert(message.text + " | " + message.level.substr(either + 4));
		}
	return found;
}

// A line feed at the end is none of the line, nor are blanks.
std::string as_printed(std::string text)
{
	text = std::regex_replace(text, std::regex(R"(\\")"), "\"");
	return std::regex_replace(text, std::regex(R"((?:\\n|\s)+$)"), "");
}

// "log 27 2 TEXT" of the module's sources
names messages_of_module(const module_sources &sources)
{
	static const std::regex record("log (\\d+) (\\d) ([^]*)");
	static const std::string levels[] = {"", "serious", "ordinary", "trace"};
	const std::string end = "log: 0: %s MODULE INIT END result 0x%x in %llu ms: ";
	names found;
	for (const std::string &message : sources.messages) {
		std::smatch parts;
		if (std::regex_match(message, parts, record))
			found.insert("log: " + parts[1].str() + ": " + as_printed(parts[3]) + " | " + levels[std::stoul(parts[2])]);
		else
			found.insert(end + message.substr(4) + " | ordinary");
	}
	return found;
}

names read_messages()
{
	names found = messages_of_module(read_module_sources(PROJECT_DIR));
	for (const std::string &message : read_platform_messages(PROJECT_DIR).messages)
		found.insert(as_printed(message) + " | " + (message.starts_with("log: 0: ") ? "ordinary" : "serious"));
	return found;
}

const names &messages_of_sources()
{
	static const names messages = read_messages();
	return messages;
}

std::string without(const names &all, const names &others)
{
	std::string left;
	for (const std::string &one : all)
		if (!others.contains(one))
			left += one + "\n";
	return left;
}

TEST(troubleshooting, the_platform_is_understood)
{
	const platform_sources platform = read_platform_messages(PROJECT_DIR);
	EXPECT_EQ(platform.puzzles, names());
	EXPECT_GT(platform.messages.size(), 20u);
}

TEST(troubleshooting, has_every_message_with_its_level)
{
	EXPECT_EQ(without(messages_of_sources(), messages_of_page()), "") << "docs/troubleshooting.md lacks them";
}

TEST(troubleshooting, has_no_message_that_nothing_writes)
{
	EXPECT_EQ(without(messages_of_page(), messages_of_sources()), "") << "of docs/troubleshooting.md";
}

} // namespace
} // namespace completeness
