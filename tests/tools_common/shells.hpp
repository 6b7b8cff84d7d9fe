// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands of a shell, and what bash offers for a command line, asked as bash itself asks.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace tools_tests {

// What a command writes; a status other than 0 is a failure of the case.
inline std::string output_of(const std::string &command)
{
	std::FILE *const pipe = popen(command.c_str(), "r");
	std::string output;

	for (int letter; (letter = std::fgetc(pipe)) != EOF;)
		output += static_cast<char>(letter);
	EXPECT_EQ(pclose(pipe), 0) << command << ": " << output;
	return output;
}

// The completion of one program.
struct completed_program {
	std::string file;     // that is sourced
	std::string function; // that completes
	std::string program;  // the first word
};

// What is offered for the last of the words, which are those of a shell, in a folder of its own: that of `script`, which is written. Lines
// of the shell in `before` come first.
inline std::vector<std::string> offered_by_bash(const completed_program &of, const std::string &script, const std::string &words,
						const std::string &before)
{
	std::ofstream(script) << before << "\n. '" << of.file << "'\nCOMP_WORDS=(" << of.program << " " << words
			      << ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
			      << of.function << "\n"
			      << "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\0' \"${COMPREPLY[@]}\"\n";
	const std::string output = output_of("bash '" + script + "' 2>&1");
	std::vector<std::string> offers;
	for (std::size_t at = 0, end; at < output.size(); at = end + 1) {
		end = std::min(output.find('\0', at), output.size());
		offers.push_back(output.substr(at, end - at));
	}
	return offers;
}

// Each between a text before and one behind it.
inline std::string joined(const std::vector<std::string> &offers, const std::string &before, const std::string &behind)
{
	std::string text;
	for (const std::string &offer : offers)
		text += before + offer + behind;
	return text;
}

} // namespace tools_tests
