// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The examples of a document: its fenced blocks, each with the mark in the line above it, <!-- mark -->, if there is one.
//
//	run			a shell runs it on the host; all of a document in one folder, in their order
//	run on the board	a shell runs it on the virtual board
//	not run: REASON		it is not run, or not compiled
//	output			what the block before it printed
//	file: NAME		saved under this name for the blocks behind it
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace documents {

struct block {
	int line;	      // of its fence
	std::string language; // "indented" for code that is no fenced block
	std::string mark;     // empty without one
	std::string text;     // without the indentation of its fence
};

std::vector<block> blocks_of(const std::string &document);

// The document with these texts, by the lines of their fences, in the place of what these blocks have.
std::string with_texts(const std::string &document, const std::map<int, std::string> &texts);

// Lines of a manual page that are examples for a shell: ".Dl $ COMMAND".
std::string commands_of_manual(const std::string &page);

// What stands between the n-th ".EX" of a manual page, from 0, and its ".EE", without escapes.
std::string display_of_manual(const std::string &page, std::size_t nth);

} // namespace documents
