// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What has to hold for any command line: the program ends with one of its statuses, says something where it fails, writes nothing but what
// it is told to write, and prints JSON where it is asked for it. Ends the process where it does not.
#pragma once

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "command_line.hpp"

// A line of words, each ended by a NUL, and standard input behind the first empty word.
struct command_line_input {
	explicit command_line_input(std::string_view from)
	{
		for (; !from.empty(); from.remove_prefix(std::min(from.size(), arguments.back().size() + 1))) {
			arguments.emplace_back(from.substr(0, from.find('\0')));
			if (arguments.back().empty())
				break;
		}
		if (!arguments.empty() && arguments.back().empty()) {
			arguments.pop_back();
			input = from.substr(std::min<std::size_t>(1, from.size()));
		}
	}

	std::vector<std::string> arguments;
	std::string input;
};

inline void require(bool holds, const char *what, const command_line_input &given)
{
	if (holds)
		return;
	std::fprintf(stderr, "%s:", what);
	for (const auto &word : given.arguments)
		std::fprintf(stderr, " <%s>", word.c_str());
	std::fputs("\n", stderr);
	std::abort();
}

// Names of files are left out of the words, so that nothing is written: output goes to the stream.
inline void try_command_line(const command_line_input &given)
{
	std::istringstream in(given.input);
	std::ostringstream out, err;
	const int status = flash_board::run(given.arguments, {in, out, err});
	const auto has = [&](std::string_view word) {
		return std::find(given.arguments.begin(), given.arguments.end(), word) != given.arguments.end();
	};
	// Short flags may stand in one word: -h5 is -h first.
	const bool asks_for_help =
		has("--help") || has("--version") ||
		std::any_of(given.arguments.begin(), given.arguments.end(), [](const std::string &word) { return word.starts_with("-h"); });
	const auto text = out.str();

	require(status >= 0 && status <= 3, "a status that is not described", given);
	require(status == 0 || status == 1 || !err.str().empty(), "a failure without a word", given);
	require(status != 1 || !text.empty() || !err.str().empty(), "a refusal without a word", given);
	require(status < 2 || text.empty(), "output beside a failure", given);
	if (has("--json") && !asks_for_help && status < 2)
		require(nlohmann::json::accept(text), "JSON that is none", given);
}
