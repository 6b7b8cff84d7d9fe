// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// docs/troubleshooting.md, which is part of this program: what each message means, by the line of a log that it became.
//
// A section of the page is a heading of the third level; a list of the messages that it explains, each "`TEXT` (LEVEL): VALUE, VALUE";
// what they mean; a paragraph that begins with "**Look at**"; and one that begins with "**Do**". TEXT is a format of printf with what the
// reference platform prints in front. A value without a name is "-". Messages of the level "Linux" are parts of lines.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "code_words.hpp"

namespace flashctl {

struct known_message {
	std::string text;		 // "log: 27: mtd total read: total_len %u fail 0x%x"
	std::string level;		 // "serious", "ordinary", "trace", "ordinary or serious", "Linux"
	std::vector<std::string> values; // names, one for each conversion

	bool is_of_linux() const { return level == "Linux"; }
};

// All texts are without marks of Markdown; paragraphs are lines.
struct trouble {
	std::string group; // heading of the second level
	std::string title;
	std::vector<known_message> messages;
	std::string meaning, look, advice;
};

// The sections of a page with messages.
std::vector<trouble> troubles_of(std::string_view page);

// Those of docs/troubleshooting.md.
const std::vector<trouble> &all_troubles();

struct message_value {
	std::string name;
	std::string text;		// "0x22"
	std::optional<code_words> code; // where the value is a code or an error
};

struct explained_message {
	const trouble *section;
	const known_message *message;
	std::vector<message_value> values; // those with a name; none where only words were given
};

// What a line of a log may be: a whole one, with what dmesg, journalctl or the platform put in front, or the message alone. Several where
// it fits several equally well, none where it is no message.
std::vector<explained_message> messages_of_line(std::string_view line);

// The messages that have these words, in upper or lower case; none for fewer than three letters.
std::vector<explained_message> messages_with(std::string_view words);

// How many values a message has.
std::size_t conversions_in(std::string_view text);

} // namespace flashctl
