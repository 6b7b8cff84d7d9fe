// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "module_sources.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

#include "answers.hpp"

namespace completeness {

namespace {

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

// Functions stand at the left margin, their braces alone on a line.
std::vector<function> functions_of(const std::string &text)
{
	static const std::regex definition("\n(\\S[^\n;]*(?:\n[ \t]+[^\n;]+)?)\n\\{\n((?:[^}\n][^\n]*\n|\n)*)\\}");
	static const std::regex typed_name(
		"^(?:constexpr |inline |static |const |[A-Z_]+ )*([\\w:<>]+(?: ?[*&]+)?(?: const)?)\\s*\\b(\\w+)\\(");
	std::vector<function> functions;

	for (const std::smatch &match : matches(text, definition)) {
		const std::string head = match[1];
		std::smatch found;
		if (std::regex_search(head, found, typed_name))
			functions.push_back({found[1], found[2], match[2]});
	}
	return functions;
}

const std::map<std::string, std::string> message_words = {
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
		if (!message_words.contains(match[1]) || !message_words.contains(match[2]))
			sources.puzzles.insert(file + ": " + match.str());
		else
			sources.messages.insert("log " + message_words.at(match[1]) + " " + message_words.at(match[2]) + " " +
						joined_literals(match[3]));
	}
	for (const std::smatch &match : matches(text, failure))
		sources.messages.insert("end " + match[1].str());
}

// Texts that the end of a load shows are returned as they stand.
void look_for_other_ends(module_sources &sources, const std::string &file, const std::vector<function> &functions)
{
	static const std::regex literal("\"(?:[^\"\\\\]|\\\\.)*\""), end("return \\{[^\"{}]*, \"([^\"]*)\"\\}");
	for (const function &one : functions)
		if (one.type == "load_result" && matches(one.body, literal).size() != matches(one.body, end).size())
			sources.puzzles.insert(file + ": " + one.name + " has a text that it does not return");
}

// A code outside of the functions that were found, in a constant or in a function of another form.
void look_outside(module_sources &sources, const known_names &known, const std::string &file, const std::string &text,
		  const std::vector<function> &functions)
{
	static const std::regex word("\\bFLASH_MNG_\\w+");
	const auto count = [&](const std::string &part) {
		const std::string code = without_texts(part);
		const auto words = matches(code, word);
		return std::ranges::count_if(words, [&](const std::smatch &match) { return known.codes.contains(match.str()); });
	};
	auto outside = count(text);
	for (const function &one : functions)
		outside -= count(one.body);
	if (outside != 0)
		sources.puzzles.insert(file + ": a code outside of the functions");
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

// Functions of Linux and of the platform, declared in C headers, and those of the compiler; what a header of C++ makes of them.
std::set<std::string> imports_of(const std::filesystem::path &module)
{
	static const std::regex declared("\\b(\\w+)\\(");
	std::set<std::string> names = {"__builtin_strlen"};
	for (const char *folder : {"kernel", "platform"})
		for (const auto &entry : std::filesystem::directory_iterator(module / folder))
			if (entry.path().extension() == ".h") {
				const std::string text = content_of(entry.path());
				for (const std::smatch &match : matches(text, declared))
					names.insert(match[1]);
			}
	return names;
}

bool is_source(const std::filesystem::path &path)
{
	const std::string extension = path.extension();
	return extension == ".cpp" || extension == ".hpp" || extension == ".c";
}

// The functions whose answers reach a caller of the module.
std::set<std::string> reached(const std::map<std::string, answers> &all, const std::set<std::string> &callable)
{
	std::set<std::string> found;
	std::vector<std::string> open(callable.begin(), callable.end());
	while (!open.empty()) {
		const std::string name = open.back();
		open.pop_back();
		if (const auto one = all.find(name); one != all.end() && found.insert(name).second)
			open.insert(open.end(), one->second.callees.begin(), one->second.callees.end());
	}
	return found;
}

void read_answers(module_sources &sources, const std::vector<function> &functions, const known_names &known,
		  const std::set<std::string> &callable)
{
	std::map<std::string, answers> all;
	for (const function &one : functions) {
		answers found = answers_of(one, known), &merged = all[one.name];
		merged.codes.merge(found.codes);
		merged.callees.merge(found.callees);
		merged.puzzles.merge(found.puzzles);
		sources.puzzles.merge(found.strays);
	}
	for (const std::string &name : reached(all, callable))
		sources.puzzles.insert(all[name].puzzles.begin(), all[name].puzzles.end());

	std::map<std::string, std::set<std::string>> answering;
	for (const auto &[name, one] : all) {
		sources.codes_of_functions[name] = one.codes;
		answering[name] = one.callees;
	}
	hand_on(sources.codes_of_functions, answering);
}

} // namespace

module_sources read_module_sources(const std::string &project_dir)
{
	const std::filesystem::path module = std::filesystem::path(project_dir) / "flash_mng_kernel";
	const std::set<std::string> callable = callable_functions(project_dir);
	std::vector<function> functions;
	module_sources sources;

	read_codes(sources, content_of(module / "include/uapi/flash_mng.h"), content_of(module / "frame/control_device.cpp"));
	known_names known = {{}, {}, imports_of(module)};
	for (const auto &[code, number] : sources.codes)
		known.codes.insert(code);
	for (const auto &entry : std::filesystem::recursive_directory_iterator(module)) {
		if (!is_source(entry.path()))
			continue;
		const std::string file = entry.path().filename(), text = content_of(entry.path());
		std::vector<function> found;
		if (entry.path().extension() == ".cpp") {
			read_messages(sources, file, text);
			found = functions_of(text);
			look_for_other_ends(sources, file, found);
		}
		look_outside(sources, known, file, text, found);
		functions.insert(functions.end(), found.begin(), found.end());
	}
	for (const function &one : functions)
		known.functions.insert(one.name);
	for (const std::string &name : callable)
		if (!known.functions.contains(name))
			sources.puzzles.insert(name + ": not found");
	read_answers(sources, functions, known, callable);
	return sources;
}

platform_sources read_platform_messages(const std::string &project_dir)
{
	static const std::regex any("\\b(?:pr_(?:emerg|alert|crit|err|warn|notice|info|debug|devel|cont)\\w*|printk\\w*|dev_[a-z]+|"
				    "drv_log_record)\\((?!u32 )");
	static const std::regex printed("\\bpr_err\\(((?:\\s*\"(?:[^\"\\\\]|\\\\.)*\")+)");
	static const std::regex record(
		"\\bdrv_log_record\\(LOG_COMMON_ID, LOG_LEVEL_ORDINARY, LOG_FLAG_PLATFORM,((?:\\s*\"(?:[^\"\\\\]|\\\\.)*\")+)");
	static const std::regex passed_on("\\bpr_(?:warn|info|debug)\\(\"%u: %pV");
	const std::filesystem::path platform = std::filesystem::path(project_dir) / "reference_platform";
	platform_sources sources;

	for (const auto &entry : std::filesystem::recursive_directory_iterator(platform)) {
		if (entry.path().extension() != ".c" && entry.path().extension() != ".h")
			continue;
		const std::string text = content_of(entry.path());
		const auto messages = matches(text, printed), records = matches(text, record);
		if (messages.size() + records.size() + matches(text, passed_on).size() != matches(text, any).size())
			sources.puzzles.insert(entry.path().filename().string() + ": a message that is not understood");
		const bool shared = entry.path().parent_path() == platform;
		const std::string module = shared ? "%s" : entry.path().parent_path().filename().string();
		for (const std::smatch &match : messages)
			sources.messages.insert(module + ": " + joined_literals(match[1]));
		for (const std::smatch &match : records)
			sources.messages.insert("log: 0: " + joined_literals(match[1]));
	}
	return sources;
}

std::set<std::string> callable_functions(const std::string &project_dir)
{
	static const std::regex row("\tFUNCTION\\((\\w+)\\)");
	const std::string text = content_of(std::filesystem::path(project_dir) / "simulation/functions.cpp");
	std::set<std::string> names = {"flash_mng_load", "flash_ioctl"};

	for (const std::smatch &match : matches(text, row))
		names.insert(match[1]);
	return names;
}

} // namespace completeness
