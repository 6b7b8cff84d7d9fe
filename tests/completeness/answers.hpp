// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Which codes a function may answer with, as its source says: followed from its return statements through its own variables.
#pragma once

#include <set>
#include <string>

namespace completeness {

struct function {
	std::string type;
	std::string name;
	std::string body;
};

// Names that may stand in a function.
struct known_names {
	std::set<std::string> codes;
	std::set<std::string> functions; // of the module
	std::set<std::string> imports;	 // of Linux and of the platform, whose codes are their own
};

struct answers {
	std::set<std::string> codes;
	std::set<std::string> callees; // functions of the module whose answers are handed on
	std::set<std::string> puzzles; // what could not be followed; of no matter where nobody hands the answer on
	std::set<std::string> strays;  // codes elsewhere, and a type that may be one for codes or not
};

// Follows the answers of a function whose type is one for codes; others must be of a type that is known to be none. A code may stand in
// an answer and behind == and !=; anywhere else it is a stray.
answers answers_of(const function &function, const known_names &known);

// The text with nothing but blanks in its literals and comments.
std::string without_texts(std::string text);

} // namespace completeness
