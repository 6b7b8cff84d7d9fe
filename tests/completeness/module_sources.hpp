// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the module's sources say: messages, codes, commands, and which function answers with which code.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace completeness {

struct module_sources {
	// As the record of the suite spells them: "log MODULE_ID LEVEL FORMAT" and "end TEXT".
	std::set<std::string> messages;
	// Where a message or a function could not be understood.
	std::set<std::string> puzzles;
	std::map<std::string, uint32_t> codes;				 // by name
	std::map<std::string, uint32_t> commands;			 // number of a command, by the function that serves it
	std::map<std::string, std::set<std::string>> codes_of_functions; // names of the codes that a function may answer with
};

// Reads flash_mng_kernel of a source tree. A function answers with the codes that its return statements lead to, through its own variables
// and the functions whose answers it hands on; where they lead to something else, that is a puzzle.
module_sources read_module_sources(const std::string &project_dir);

struct platform_sources {
	// As the kernel log has them: "xml_parser: %s is refused: %s". "%s: " stands for what several modules share.
	std::set<std::string> messages;
	std::set<std::string> puzzles;
};

// Reads the C files of reference_platform. Its log prints the records of others; those are not messages of its own.
platform_sources read_platform_messages(const std::string &project_dir);

// The functions that the suite can call by name.
std::set<std::string> callable_functions(const std::string &project_dir);

} // namespace completeness
