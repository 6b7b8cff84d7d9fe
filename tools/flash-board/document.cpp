// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "document.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "files.hpp"
#include "text_scan.hpp"

namespace flash_board {
namespace {

constexpr std::size_t max_xml_size = 0x100000; // 1 MiB

// How many bytes the UTF-8 character at the start of a text has; 0 when there is none.
std::size_t character_length(std::string_view text)
{
	const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
	const auto follows = [&](std::size_t i, unsigned least = 0x80, unsigned most = 0xBF) {
		return byte(i) >= least && byte(i) <= most;
	};
	const auto first = byte(0);

	if (first < 0x80)
		return 1;
	if (first >= 0xC2 && first <= 0xDF)
		return follows(1) ? 2 : 0;
	if (first >= 0xE0 && first <= 0xEF)
		return follows(1, first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF) && follows(2) ? 3 : 0;
	if (first >= 0xF0 && first <= 0xF4)
		return follows(1, first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF) && follows(2) && follows(3) ? 4 : 0;
	return 0;
}

struct foreign_start {
	std::string_view bytes;
	const char *encoding;
};

// What text of wider characters is called: by the mark of its byte order in front, or by its first character, which is "<" in any board
// description. nullptr for other text.
const char *wide_encoding_of(std::string_view text)
{
	using namespace std::string_view_literals;
	constexpr std::array starts = {foreign_start{"\xFF\xFE\0\0"sv, "UTF-32"}, foreign_start{"\0\0\xFE\xFF"sv, "UTF-32"},
				       foreign_start{"<\0\0\0"sv, "UTF-32"},	  foreign_start{"\0\0\0<"sv, "UTF-32"},
				       foreign_start{"\xFF\xFE"sv, "UTF-16"},	  foreign_start{"\xFE\xFF"sv, "UTF-16"},
				       foreign_start{"<\0"sv, "UTF-16"},	  foreign_start{"\0<"sv, "UTF-16"}};
	const auto *const found =
		std::find_if(starts.begin(), starts.end(), [&](const foreign_start &start) { return text.starts_with(start.bytes); });

	return found == starts.end() ? nullptr : found->encoding;
}

bool is_control(char c)
{
	return static_cast<unsigned char>(c) < 0x20 && white_space.find(c) == white_space.npos;
}

// What a message adds about those behind the first.
std::string more_of(std::size_t count)
{
	return count == 1 ? "" : "; " + std::to_string(count - 1) + (count == 2 ? " more follows" : " more follow");
}

std::string path_to(pugi::xml_node element)
{
	if (element.type() != pugi::node_element)
		return element.parent() ? path_to(element.parent()) : "";
	auto step = "/" + std::string(element.name());
	const auto *key = element.attribute("name") ? element.attribute("name").value() : element.attribute("id").value();
	if (*key && element.parent().type() == pugi::node_element)
		step += "[" + std::string(key) + "]";
	return path_to(element.parent()) + step;
}

} // namespace

document::document(const source &from) : from_(from)
{
	check_bytes();
	if (!readable_)
		return;
	check_declaration();
	if (scan_text(*this))
		parse();
}

std::size_t document::offset_of(pugi::xml_node node) const
{
	return node.offset_debug() < 0 ? 0 : static_cast<std::size_t>(node.offset_debug());
}

std::size_t document::offset_of(pugi::xml_node element, std::string_view attribute) const
{
	const auto wanted = std::pair(offset_of(element), attribute);
	const auto behind =
		std::upper_bound(attributes_.begin(), attributes_.end(), wanted,
				 [](const auto &key, const attribute_place &one) { return key < std::pair(one.element, one.name); });

	// The last one: of a name given twice the second is the one too many.
	if (behind == attributes_.begin() || std::pair(behind[-1].element, behind[-1].name) != wanted)
		return wanted.first;
	return behind[-1].offset;
}

std::optional<located_text> document::attribute(pugi::xml_node entry, const char *name) const
{
	const auto found = entry.attribute(name);

	return found ? std::optional(located_text{found.value(), offset_of(entry, name)}) : std::nullopt;
}

std::optional<located_text> document::element(pugi::xml_node entry, const char *name) const
{
	const auto found = entry.child(name);

	return found ? std::optional(located_text{text_of(found), offset_of(found)}) : std::nullopt;
}

void document::add(std::string_view rule_id, pugi::xml_node element, std::size_t offset, std::string message, std::string hint)
{
	const auto *broken = find_rule(rule_id);

	if (!broken)
		throw std::logic_error("there is no rule " + std::string(rule_id));
	found_.push_back({broken, offset, element ? offset_of(element) : offset, element ? path_to(element) : "", std::move(message),
			  hint.empty() ? std::string(broken->hint) : std::move(hint)});
}

void document::add(std::string_view rule_id, pugi::xml_node element, std::string message, std::string hint)
{
	add(rule_id, element, offset_of(element), std::move(message), std::move(hint));
}

void document::check_bytes()
{
	const auto text = from_.text();
	std::size_t first_foreign = text.size(), foreign = 0, first_control = text.size(), controls = 0;

	if (text.size() > max_xml_size)
		add("file-too-long", {}, 0, "the file is longer than 1 MiB");
	if (text.size() > max_file_size) {
		readable_ = false;
		return;
	}
	if (const auto *encoding = wide_encoding_of(text)) {
		readable_ = false;
		add("encoding", {}, 0, std::string("the text is ") + encoding);
		return;
	}
	for (std::size_t at = 0; at < text.size();) {
		const auto length = character_length(text.substr(at));
		if (length == 0 && !foreign++)
			first_foreign = at;
		else if (is_control(text[at]) && !controls++)
			first_control = at;
		at += std::max<std::size_t>(length, 1);
	}
	if (foreign)
		add("encoding", {}, first_foreign, "this is not UTF-8" + more_of(foreign));
	if (controls)
		add("control-character", {}, first_control, "a control character is no part of XML" + more_of(controls));
	readable_ = !foreign && !controls;
}

void document::check_declaration()
{
	const auto text = from_.text();

	if (!text.starts_with("<?xml "))
		return;
	const auto declaration = text.substr(0, text.find("?>"));
	const auto at = declaration.find("encoding");
	const auto opening = declaration.find_first_of("\"'", at);
	if (at == declaration.npos || opening == declaration.npos)
		return;
	auto encoding = std::string(declaration.substr(opening + 1, declaration.find(declaration[opening], opening + 1) - opening - 1));
	std::transform(encoding.begin(), encoding.end(), encoding.begin(),
		       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
	if (encoding != "UTF-8")
		add("encoding", {}, at, "the declared encoding is " + quoted(encoding));
}

void document::parse()
{
	constexpr unsigned options = pugi::parse_default | pugi::parse_doctype | pugi::parse_pi | pugi::parse_fragment;
	const auto result = tree_.load_buffer(from_.text().data(), from_.text().size(), options, pugi::encoding_utf8);

	if (!result)
		add("malformed", {}, std::min(static_cast<std::size_t>(result.offset), from_.text().size()), result.description());
	whole_ = result;
}

std::string text_of(pugi::xml_node element)
{
	std::string text;

	for (const auto child : element.children())
		if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
			text += child.value();
	return std::string(trimmed(text));
}

} // namespace flash_board
