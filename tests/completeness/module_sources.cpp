// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "module_sources.hpp"

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

namespace completeness {

namespace {

struct function {
	std::string name;
	std::string body;
};

std::string content_of(const std::filesystem::path &path)
{
	std::ostringstream text;
	text << std::ifstream(path).rdbuf();
	return text.str();
}

std::vector<std::smatch> matches(const std::string &text, const std::regex &pattern)
{
	return {std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()};
}

// The texts of neighbouring literals put together, escapes as they are.
std::string joined_literals(const std::string &literals)
{
	static const std::regex one("\"((?:[^\"\\\\]|\\\\.)*)\"");
	std::string text;
	for (const std::smatch &match : matches(literals, one))
		text += match[1];
	return text;
}

const std::map<std::string, std::string> g_message_words = {
	{"common_log", "0"}, {"module_log", "27"}, {"serious", "1"}, {"ordinary", "2"}, {"trace", "3"}};

void read_messages(module_sources &sources, const std::string &file, const std::string &text)
{
	static const std::regex any("drv_log_record\\(");
	static const std::regex whole("drv_log_record\\(\\s*(\\w+),\\s*(\\w+),\\s*0,\\s*((?:\"(?:[^\"\\\\]|\\\\.)*\"\\s*)+)");
	static const std::regex failure("return \\{[^\"{}]*, \"([^\"]*)\"\\}");
	const auto understood = matches(text, whole);

	if (understood.size() != matches(text, any).size())
		sources.puzzles.insert(file + ": a message without a literal text");
	for (const std::smatch &match : understood) {
		if (!g_message_words.contains(match[1]) || !g_message_words.contains(match[2]))
			sources.puzzles.insert(file + ": " + match.str());
		else
			sources.messages.insert("log " + g_message_words.at(match[1]) + " " + g_message_words.at(match[2]) + " " +
						joined_literals(match[3]));
	}
	for (const std::smatch &match : matches(text, failure))
		sources.messages.insert("end " + match[1].str());
}

// Functions stand at the left margin, their braces alone on a line.
std::vector<function> functions_of(const std::string &text)
{
	static const std::regex definition("\n(\\S[^\n;]*(?:\n\\s+[^\n;]+)?)\n\\{\n((?:[^}\n][^\n]*\n|\n)*)\\}");
	static const std::regex name("(\\w+)\\(");
	std::vector<function> functions;

	for (const std::smatch &match : matches(text, definition)) {
		const std::string head = match[1];
		std::smatch found;
		if (std::regex_search(head, found, name))
			functions.push_back({found[1], match[2]});
	}
	return functions;
}

std::set<std::string> returned_codes(const module_sources &sources, const std::string &body)
{
	static const std::regex statement("\\breturn\\b[^;]*;"), word("FLASH_MNG_\\w+");
	std::set<std::string> codes;

	for (const std::smatch &match : matches(body, statement)) {
		const std::string text = match.str();
		for (const std::smatch &code : matches(text, word))
			if (sources.codes.contains(code.str()))
				codes.insert(code.str());
	}
	return codes;
}

// The functions whose answer is returned, or kept as a code to be returned.
std::set<std::string> answering_functions(const std::string &body)
{
	static const std::regex call("(?:\\breturn|[?:]|\\b(?:code|status|result) =)\\s*(\\w+)\\(");
	std::set<std::string> names;

	for (const std::smatch &match : matches(body, call))
		names.insert(match[1]);
	return names;
}

void hand_on(std::map<std::string, std::set<std::string>> &codes, const std::map<std::string, std::set<std::string>> &answering)
{
	for (bool grown = true; grown;) {
		grown = false;
		for (const auto &[name, callees] : answering)
			for (const std::string &callee : callees)
				if (const auto found = codes.find(callee); found != codes.end() && callee != name) {
					const auto before = codes[name].size();
					codes[name].insert(found->second.begin(), found->second.end());
					grown |= codes[name].size() != before;
				}
	}
}

void read_codes(module_sources &sources, const std::string &header, const std::string &device)
{
	static const std::regex definition("#define (FLASH_MNG_\\w+) (0x[0-9A-F]+|[0-9]+)u\\b"), row("\\{(FLASH_MNG_\\w+), (\\w+)\\}");

	for (const std::smatch &match : matches(header, definition))
		sources.codes[match[1]] = static_cast<uint32_t>(std::stoul(match[2], nullptr, 0));
	for (const std::smatch &match : matches(device, row)) {
		sources.commands[match[2]] = sources.codes[match[1]];
		sources.codes.erase(match[1]);
	}
}

} // namespace

module_sources read_module_sources(const std::string &project_dir)
{
	const std::filesystem::path module = std::filesystem::path(project_dir) / "flash_mng_kernel";
	std::map<std::string, std::set<std::string>> answering;
	module_sources sources;

	read_codes(sources, content_of(module / "include/uapi/flash_mng.h"), content_of(module / "frame/control_device.cpp"));
	for (const auto &entry : std::filesystem::recursive_directory_iterator(module)) {
		if (entry.path().extension() != ".cpp")
			continue;
		const std::string text = content_of(entry.path());
		read_messages(sources, entry.path().filename().string(), text);
		for (const function &function : functions_of(text)) {
			sources.codes_of_functions[function.name].merge(returned_codes(sources, function.body));
			answering[function.name].merge(answering_functions(function.body));
		}
	}
	hand_on(sources.codes_of_functions, answering);
	return sources;
}

std::set<std::string> callable_functions(const std::string &project_dir)
{
	static const std::regex row("\tFUNCTION\\((\\w+)\\)");
	const std::string text = content_of(std::filesystem::path(project_dir) / "tests/host/functions.cpp");
	std::set<std::string> names = {"flash_mng_load", "flash_ioctl"};

	for (const std::smatch &match : matches(text, row))
		names.insert(match[1]);
	return names;
}

} // namespace completeness
