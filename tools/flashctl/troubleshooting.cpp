// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "troubleshooting.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "troubleshooting_page.hpp"

namespace flashctl {

namespace {

constexpr std::size_t longest_line = 2048; // no kernel prints a longer one
constexpr std::size_t shortest_word = 3;   // that is looked for in messages
constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
	const auto first = text.find_first_not_of(blanks);
	return first == text.npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view line_of(std::string_view &rest)
{
	const auto end = std::min(rest.find('\n'), rest.size());
	const std::string_view line = rest.substr(0, end);
	rest.remove_prefix(std::min(end + 1, rest.size()));
	return line;
}

// ---- the page

// Without the marks of Markdown that the page uses: code, emphasis, links. What is code stands as it is.
std::string plain(std::string_view text)
{
	std::string result;
	bool code = false;
	for (std::size_t at = 0; at < text.size(); ++at) {
		if (text[at] == '`') {
			code = !code;
		} else if (!code && text.substr(at).starts_with("](")) {
			at = std::min(text.find(')', at), text.size());
		} else if (code || (text[at] != '*' && text[at] != '[')) {
			result += text[at];
		}
	}
	return result;
}

std::vector<std::string> names_in(std::string_view list)
{
	std::vector<std::string> names;
	while (!list.empty()) {
		const auto end = std::min(list.find(','), list.size());
		names.emplace_back(trimmed(list.substr(0, end)));
		list.remove_prefix(std::min(end + 1, list.size()));
	}
	return names;
}

// "- `TEXT` (LEVEL): VALUE, VALUE"
std::optional<known_message> message_in(std::string_view line)
{
	const auto end = line.rfind("` (");
	const auto close = line.find(')', std::min(end, line.size()));
	if (!line.starts_with("- `") || close == line.npos)
		return std::nullopt;
	const std::string_view rest = line.substr(close + 1);
	return known_message{std::string(trimmed(line.substr(3, end - 3))), std::string(line.substr(end + 3, close - end - 3)),
			     names_in(rest.starts_with(":") ? rest.substr(1) : "")};
}

// A paragraph, to what it is about.
void add_paragraph(trouble &section, std::string_view text)
{
	const auto add = [](std::string &to, std::string_view more) { to += (to.empty() ? "" : "\n") + plain(trimmed(more)); };
	constexpr std::string_view look = "**Look at**", advice = "**Do**";
	if (text.starts_with(look))
		add(section.look, text.substr(look.size()));
	else if (text.starts_with(advice))
		add(section.advice, text.substr(advice.size()));
	else
		add(section.meaning, text);
}

// ---- lines

// A format, cut up: a text, then a conversion, which the last piece has none of.
struct piece {
	std::string_view text;
	char conversion = '\0'; // 's', 'x', or 'd' for any decimal number
	bool prefixed = false;	// "%#x" prints its own 0x
	bool is_first = false;	// nothing stands before it
};

std::vector<piece> pieces_of(std::string_view format)
{
	std::vector<piece> pieces;
	for (;;) {
		const auto at = format.find('%');
		if (at == format.npos) {
			pieces.push_back({format});
			return pieces;
		}
		const auto letter = format.find_first_of("sduxX", at);
		const char kind = letter == format.npos ? '\0' : format[letter];
		pieces.push_back({format.substr(0, at), kind == 'u' ? 'd' : kind, format.substr(at, 2) == "%#", pieces.empty() && at == 0});
		format.remove_prefix(letter == format.npos ? format.size() : letter + 1);
	}
}

// How many letters of a text the number at its beginning has.
std::size_t length_of_number(const piece &piece, std::string_view text)
{
	std::size_t length = 0;
	if (piece.conversion == 'd' && text.starts_with("-"))
		length = 1;
	if (piece.prefixed && text.starts_with("0x"))
		length = 2;
	const std::size_t begin = length;
	const auto is_digit = [&](unsigned char c) { return piece.conversion == 'x' ? std::isxdigit(c) : std::isdigit(c); };
	while (length < text.size() && is_digit(static_cast<unsigned char>(text[length])))
		++length;
	return length == begin ? 0 : length;
}

using values = std::vector<std::string_view>;

// Whether a text begins as the pieces say and, where it has to be whole, ends with them.
bool fits(const piece *next, const piece *end, std::string_view text, bool whole, values &found)
{
	if (!text.starts_with(next->text))
		return false;
	text.remove_prefix(next->text.size());
	if (next + 1 == end)
		return !whole || text.empty();
	const bool is_number = next->conversion != 's';
	const bool to_the_end = whole && next + 2 == end && (next + 1)->text.empty();
	std::size_t shortest = 0, longest = text.size();
	if (is_number)
		shortest = longest = length_of_number(*next, text);
	else if (to_the_end)
		shortest = longest;
	else if (!whole || next->is_first) // of a part of a line, and where a line begins with it: a word
		shortest = longest = std::min(text.find_first_of(" '\",):"), text.size());
	if (longest == 0 && is_number)
		return false;
	for (std::size_t length = shortest; length <= longest; ++length) {
		found.push_back(text.substr(0, length));
		if (fits(next + 1, end, text.substr(length), whole, found))
			return true;
		found.pop_back();
	}
	return false;
}

// Without what the reference platform prints in front of a record.
std::string_view without_prefix(std::string_view text)
{
	constexpr std::string_view prefix = "log: ";
	const auto end = text.find(": ", prefix.size());
	const bool is_record = text.starts_with(prefix) && text.size() > prefix.size() && std::isdigit(text[prefix.size()]);
	return is_record && end != text.npos ? text.substr(end + 2) : text;
}

// A place in a line where a message may begin.
bool is_begin(std::string_view line, std::size_t at)
{
	return at == 0 || blanks.find(line[at - 1]) != blanks.npos || line[at - 1] == ']' || line[at - 1] == '>';
}

std::optional<values> found_in(std::string_view line, const std::vector<piece> &pieces, bool whole)
{
	for (std::size_t at = 0; at < line.size(); ++at) {
		values found;
		if (is_begin(line, at) && fits(pieces.data(), pieces.data() + pieces.size(), line.substr(at), whole, found))
			return found;
	}
	return std::nullopt;
}

std::optional<code_words> code_in(const std::string &name, const std::string &text)
{
	if (name != "code" && name != "error" && name != "result")
		return std::nullopt;
	const bool negative = text.starts_with("-");
	const auto number = static_cast<std::uint32_t>(std::strtoull(text.c_str() + negative, nullptr, 0));
	const std::uint32_t code = negative ? 0 - number : number;
	const code_words words = explain_code(code);
	if (code == 0 || (name != "code" && words.source != "kernel"))
		return std::nullopt; // a count of bytes
	return words;
}

// A message, cut up.
struct pattern {
	const trouble *section;
	const known_message *message;
	std::vector<piece> pieces;
	std::size_t letters;	  // of its own
	std::string_view longest; // of its texts
};

pattern pattern_of(const trouble &section, const known_message &message, std::string_view text)
{
	pattern made = {&section, &message, pieces_of(text), 0, ""};
	for (const piece &one : made.pieces) {
		made.letters += one.text.size();
		if (one.text.size() > made.longest.size())
			made.longest = one.text;
	}
	return made;
}

// All messages, those with most letters first; with what the platform prints in front, or without.
std::vector<pattern> make_patterns(bool with_prefix)
{
	std::vector<pattern> patterns;
	for (const trouble &section : all_troubles())
		for (const known_message &message : section.messages)
			patterns.push_back(pattern_of(section, message, with_prefix ? message.text : without_prefix(message.text)));
	std::ranges::stable_sort(patterns, std::ranges::greater(), &pattern::letters);
	return patterns;
}

explained_message explained(const pattern &pattern, const values &found)
{
	const known_message &message = *pattern.message;
	explained_message result = {pattern.section, &message, {}};
	for (std::size_t i = 0; i < found.size() && i < message.values.size(); ++i) {
		const bool is_hex = pattern.pieces[i].conversion == 'x' && !found[i].starts_with("0x");
		const std::string &name = message.values[i], text = (is_hex ? "0x" : "") + std::string(found[i]);
		if (name != "-")
			result.values.push_back({name, text, code_in(name, text)});
	}
	return result;
}

// The messages that a line fits; of several those with most letters.
std::vector<explained_message> messages_of(std::string_view line, const std::vector<pattern> &patterns)
{
	std::vector<explained_message> best;
	std::size_t most = 0;
	for (const pattern &one : patterns) {
		if (one.letters < most)
			break;
		if (line.find(one.longest) == line.npos)
			continue;
		if (const auto found = found_in(line, one.pieces, !one.message->is_of_linux())) {
			most = one.letters;
			best.push_back(explained(one, *found));
		}
	}
	return best;
}

std::string lower(std::string_view text)
{
	std::string result(text);
	std::ranges::transform(result, result.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
	return result;
}

} // namespace

std::vector<trouble> troubles_of(std::string_view page)
{
	std::vector<trouble> found;
	std::string group, paragraph;
	const auto end_paragraph = [&] {
		if (!found.empty() && !paragraph.empty())
			add_paragraph(found.back(), paragraph);
		paragraph.clear();
	};
	bool inside = false;
	while (!page.empty()) {
		const std::string_view line = line_of(page);
		if (line.starts_with("#") || line.empty())
			end_paragraph();
		if (line.starts_with("#")) {
			inside = line.starts_with("### ");
			if (line.starts_with("## "))
				group = line.substr(3);
			if (inside)
				found.push_back({group, std::string(line.substr(4)), {}, "", "", ""});
		} else if (inside) {
			if (auto message = message_in(line))
				found.back().messages.push_back(*std::move(message));
			else if (!line.empty())
				paragraph += (paragraph.empty() ? "" : " ") + std::string(line);
		}
	}
	end_paragraph();
	return found;
}

const std::vector<trouble> &all_troubles()
{
	static const std::vector<trouble> troubles = troubles_of(troubleshooting_page);
	return troubles;
}

std::vector<explained_message> messages_of_line(std::string_view line)
{
	line = trimmed(line);
	if (line.size() > longest_line)
		return {};
	static const std::vector<pattern> whole = make_patterns(true), bare = make_patterns(false);
	auto found = messages_of(line, whole);
	return found.empty() ? messages_of(line, bare) : found;
}

std::vector<explained_message> messages_with(std::string_view words)
{
	std::vector<explained_message> found;
	const std::string wanted = lower(trimmed(words));
	if (wanted.size() < shortest_word)
		return found;
	for (const trouble &section : all_troubles())
		for (const known_message &message : section.messages)
			if (lower(message.text).find(wanted) != std::string::npos)
				found.push_back({&section, &message, {}});
	return found;
}

std::size_t conversions_in(std::string_view text)
{
	return pieces_of(text).size() - 1;
}

} // namespace flashctl
