// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "document.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace documents {

namespace {

constexpr std::string_view fence = "```";
constexpr std::size_t code_indentation = 4;

std::size_t indentation_of(std::string_view line)
{
	const std::size_t first = line.find_first_not_of(' ');
	return first == line.npos ? line.size() : first;
}

bool is_blank(std::string_view line)
{
	return indentation_of(line) == line.size();
}

std::string_view trimmed(std::string_view line)
{
	line.remove_prefix(indentation_of(line));
	return line.substr(0, line.find_last_not_of(' ') + 1);
}

// "run" of "<!-- run -->"; nothing of any other line.
std::string mark_in(std::string_view line)
{
	constexpr std::string_view begin = "<!-- ", end = " -->";
	line = trimmed(line);
	if (line.size() < begin.size() + end.size() || !line.starts_with(begin) || !line.ends_with(end))
		return "";
	return std::string(line.substr(begin.size(), line.size() - begin.size() - end.size()));
}

// Where the text of a list item begins that starts in this line; 0 when none does.
std::size_t list_item(std::string_view line)
{
	const std::size_t start = indentation_of(line);
	std::size_t end = start;
	while (end < line.size() && std::isdigit(static_cast<unsigned char>(line[end])))
		++end;
	const bool numbered = end > start && line.substr(end).starts_with(". ");
	const bool dotted = line.substr(start).starts_with("- ") || line.substr(start).starts_with("* ");
	return numbered ? end + 2 : dotted ? start + 2 : 0;
}

class reader {
public:
	explicit reader(const std::string &document) : lines_(document) {}

	std::vector<block> read()
	{
		for (std::string line; next(line);)
			take(line);
		return std::move(found_);
	}

private:
	bool next(std::string &line)
	{
		++number_;
		return static_cast<bool>(std::getline(lines_, line));
	}

	void take(const std::string &line)
	{
		if (is_blank(line)) {
			after_blank_ = true;
			return;
		}
		if (trimmed(line).starts_with(fence))
			take_fenced(line);
		else if (after_blank_ && indentation_of(line) >= item_ + code_indentation)
			found_.push_back({number_, "indented", "", line});
		else if (const std::size_t item = list_item(line); item || indentation_of(line) == 0)
			item_ = item;
		mark_ = mark_in(line);
		after_blank_ = false;
	}

	void take_fenced(const std::string &first)
	{
		const std::size_t indentation = indentation_of(first);
		block one = {number_, std::string(trimmed(first).substr(fence.size())), mark_, ""};
		for (std::string line; next(line) && trimmed(line) != fence;)
			one.text += line.substr(std::min(indentation, indentation_of(line))) + "\n";
		found_.push_back(std::move(one));
	}

	std::istringstream lines_;
	std::vector<block> found_;
	std::string mark_;
	std::size_t item_ = 0; // indentation of the text of the list item
	int number_ = 0;
	bool after_blank_ = true;
};

// troff's escapes for what would otherwise be markup.
std::string without_escapes(std::string_view text)
{
	std::string plain;
	for (std::size_t i = 0; i < text.size(); ++i)
		if (text[i] != '\\' || i + 1 == text.size())
			plain += text[i];
		else if (text[i + 1] == '-')
			plain += text[++i];
	return plain;
}

} // namespace

std::vector<block> blocks_of(const std::string &document)
{
	return reader(document).read();
}

std::string with_texts(const std::string &document, const std::map<int, std::string> &texts)
{
	std::istringstream lines(document);
	std::string changed;
	int number = 0;
	for (std::string line; std::getline(lines, line);) {
		changed += line + "\n";
		const auto text = texts.find(++number);
		if (text == texts.end())
			continue;
		std::istringstream block(text->second);
		for (std::string own; std::getline(block, own);)
			changed += std::string(indentation_of(line), ' ') + own + "\n";
		while (std::getline(lines, line) && ++number && trimmed(line) != fence)
			;
		changed += line + "\n";
	}
	return changed;
}

std::string commands_of_manual(const std::string &page)
{
	constexpr std::string_view mark = ".Dl $ ";
	std::istringstream lines(page);
	std::string commands;
	for (std::string line; std::getline(lines, line);)
		if (line.starts_with(mark))
			commands += line.substr(mark.size()) + "\n";
	return commands;
}

std::string display_of_manual(const std::string &page, std::size_t nth)
{
	constexpr std::string_view begin = "\n.EX\n", end = "\n.EE\n";
	std::size_t at = page.find(begin);
	while (nth-- && at != page.npos)
		at = page.find(begin, at + 1);
	if (at == page.npos)
		return "";
	const std::size_t first = at + begin.size();
	return without_escapes(std::string_view(page).substr(first, page.find(end, first) + 1 - first));
}

} // namespace documents
