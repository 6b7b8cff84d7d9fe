// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "board_reader.hpp"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <set>

namespace flash_board {
namespace {

constexpr std::size_t max_xml_size = 0x100000; // 1 MiB
constexpr std::size_t max_name_length = 63;
constexpr std::string_view white_space = " \t\r\n";

class source {
public:
	source(std::string_view text, std::string_view file_name) : m_text(text), m_file_name(file_name) {}

	[[noreturn]] void fail(std::size_t offset, const std::string &message) const
	{
		const auto before = m_text.substr(0, std::min(offset, m_text.size()));
		const auto line = 1 + std::count(before.begin(), before.end(), '\n');
		const auto column = before.size() - (before.rfind('\n') + 1) + 1;
		throw input_error(m_file_name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + message);
	}

	[[noreturn]] void fail(pugi::xml_node at, const std::string &message) const
	{
		fail(at.offset_debug() < 0 ? 0 : static_cast<std::size_t>(at.offset_debug()), message);
	}

	std::string_view text() const { return m_text; }

private:
	std::string_view m_text;
	std::string m_file_name;
};

std::string quoted(std::string_view text)
{
	return "\"" + std::string(text) + "\"";
}

bool is_name(std::string_view text)
{
	const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
	const auto is_more = [&](char c) { return is_letter(c) || (c >= '0' && c <= '9') || c == '.' || c == '-'; };
	return !text.empty() && text.size() <= max_name_length && is_letter(text.front()) && std::all_of(text.begin(), text.end(), is_more);
}

// The kernel gives these property names a meaning of its own.
bool is_reserved(std::string_view name)
{
	return name == "phandle" || name == "device_type";
}

bool is_character_number(std::string_view digits)
{
	std::uint32_t value = 0;
	const bool hexadecimal = digits.starts_with('x');
	const char *end = digits.data() + digits.size();
	const auto result = std::from_chars(digits.data() + hexadecimal, end, value, hexadecimal ? 16 : 10);
	return result.ec == std::errc() && result.ptr == end && value >= ' ' && value <= 0x10FFFF;
}

bool is_known_reference(std::string_view name)
{
	constexpr std::array<std::string_view, 5> predefined = {"amp", "lt", "gt", "quot", "apos"};
	if (name.starts_with('#'))
		return is_character_number(name.substr(1));
	return std::find(predefined.begin(), predefined.end(), name) != predefined.end();
}

// The parser leaves a reference that it does not know as text, and so would hide a use of an entity.
void check_references(const source &from)
{
	const auto text = from.text();
	constexpr std::array<std::pair<std::string_view, std::string_view>, 2> literal = {{{"<!--", "-->"}, {"<![CDATA[", "]]>"}}};

	for (std::size_t at = 0; at < text.size(); at++) {
		for (const auto &[opening, closing] : literal)
			if (text.substr(at).starts_with(opening))
				at = std::min(text.find(closing, at), text.size() - 1);
		if (text[at] != '&')
			continue;
		const auto end = text.find(';', at);
		if (end == text.npos || !is_known_reference(text.substr(at + 1, end - at - 1)))
			from.fail(at,
				  "\"&\" may only begin &amp; &lt; &gt; &quot; &apos; or the number of a printable character, as in &#65;");
	}
}

void check_bytes(const source &from)
{
	const auto text = from.text();

	if (text.size() > max_xml_size)
		from.fail(0, "the file is longer than 1 MiB");
	for (std::size_t at = 0; at < text.size(); at++)
		if (static_cast<unsigned char>(text[at]) < 0x20 && white_space.find(text[at]) == white_space.npos)
			from.fail(at, "a control character is no part of XML");
}

pugi::xml_document parse(const source &from)
{
	constexpr unsigned options = pugi::parse_default | pugi::parse_doctype | pugi::parse_pi | pugi::parse_fragment;
	pugi::xml_document document;

	check_bytes(from);
	check_references(from);
	const auto result = document.load_buffer(from.text().data(), from.text().size(), options, pugi::encoding_utf8);
	if (!result)
		from.fail(static_cast<std::size_t>(result.offset), result.description());
	return document;
}

class reader {
public:
	explicit reader(const source &from) : m_from(from) {}

	board read(const pugi::xml_document &document) const
	{
		pugi::xml_node root;

		for (const auto child : document.children()) {
			if (child.type() == pugi::node_doctype)
				m_from.fail(child, "a document type is not allowed");
			if (child.type() != pugi::node_element)
				m_from.fail(child, "only one <board> element is expected here");
			if (root)
				m_from.fail(child, "a second element beside <" + std::string(root.name()) + ">: one <board> is expected");
			root = child;
		}
		if (!root || std::string_view(root.name()) != "board")
			m_from.fail(root, "a <board> element is expected");
		return read_board(root);
	}

private:
	void check_attributes(pugi::xml_node at) const
	{
		std::set<std::string_view> seen;

		for (const auto attribute : at.attributes()) {
			if (!seen.insert(attribute.name()).second)
				m_from.fail(at, "attribute " + quoted(attribute.name()) + " is given twice");
			if (!is_name(attribute.name()) || is_reserved(attribute.name()))
				m_from.fail(at, quoted(attribute.name()) + " cannot be an attribute's name");
		}
	}

	void allow_attributes(pugi::xml_node at, std::initializer_list<std::string_view> allowed) const
	{
		check_attributes(at);
		for (const auto attribute : at.attributes())
			if (std::find(allowed.begin(), allowed.end(), attribute.name()) == allowed.end())
				m_from.fail(at, "<" + std::string(at.name()) + "> has no attribute " + quoted(attribute.name()));
	}

	// The child elements; nothing else may stand between them.
	std::vector<pugi::xml_node> elements(pugi::xml_node at) const
	{
		std::vector<pugi::xml_node> found;

		for (const auto child : at.children()) {
			if (child.type() != pugi::node_element)
				m_from.fail(child, "text or an instruction is not expected inside <" + std::string(at.name()) + ">");
			found.push_back(child);
		}
		return found;
	}

	[[noreturn]] void fail_unknown(pugi::xml_node child) const
	{
		m_from.fail(child, "<" + std::string(child.name()) + "> is not expected inside <" + child.parent().name() + ">");
	}

	std::string required_name(pugi::xml_node at) const
	{
		const auto attribute = at.attribute("name");

		if (!attribute)
			m_from.fail(at, "<" + std::string(at.name()) + "> needs the attribute \"name\"");
		if (!is_name(attribute.value()))
			m_from.fail(at, quoted(attribute.value()) +
						" is no name: a letter or \"_\", then letters, digits, \"_\", \".\" and \"-\", at most 63");
		return attribute.value();
	}

	std::optional<std::uint32_t> number(pugi::xml_node at, const char *attribute_name) const
	{
		const auto attribute = at.attribute(attribute_name);
		std::string_view digits = attribute.value();
		std::uint32_t value = 0;

		if (!attribute)
			return std::nullopt;
		const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
		if (hexadecimal)
			digits.remove_prefix(2);
		const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal ? 16 : 10);
		if (error != std::errc() || end != digits.data() + digits.size())
			m_from.fail(at, std::string(attribute_name) + "=" + quoted(attribute.value()) +
						" is no number: decimal or 0x hexadecimal, at most 32 bits");
		return value;
	}

	std::uint32_t required_number(pugi::xml_node at, const char *attribute_name) const
	{
		const auto value = number(at, attribute_name);

		if (!value)
			m_from.fail(at, "<" + std::string(at.name()) + "> needs the attribute " + quoted(attribute_name));
		return *value;
	}

	template <typename range, typename key> void refuse_second(pugi::xml_node at, const range &earlier, const key &same) const
	{
		if (std::any_of(earlier.begin(), earlier.end(), same))
			m_from.fail(at, "a second <" + std::string(at.name()) + "> of the same name, number or type");
	}

	board read_board(pugi::xml_node at) const
	{
		board made;

		allow_attributes(at, {"name", "bom"});
		made.name = required_name(at);
		made.bom = number(at, "bom");
		for (const auto child : elements(at)) {
			if (std::string_view(child.name()) != "instance")
				fail_unknown(child);
			auto next = read_instance(child);
			refuse_second(child, made.instances, [&](const instance &other) { return other.id == next.id; });
			made.instances.push_back(std::move(next));
		}
		return made;
	}

	instance read_instance(pugi::xml_node at) const
	{
		instance made;

		allow_attributes(at, {"id", "parent", "card", "bom"});
		made.id = required_number(at, "id");
		made.parent = number(at, "parent");
		made.card = number(at, "card");
		made.bom = number(at, "bom");
		if (made.parent.has_value() != made.card.has_value())
			m_from.fail(at, "\"parent\" and \"card\" are given together or not at all");
		for (const auto child : elements(at)) {
			if (std::string_view(child.name()) == "module")
				add_section(made, child);
			else if (std::string_view(child.name()) == "hard_lock")
				add_hard_lock(made, child);
			else
				fail_unknown(child);
		}
		return made;
	}

	void add_hard_lock(instance &to, pugi::xml_node at) const
	{
		allow_attributes(at, {"type", "lock_val", "unlock_val"});
		const hard_lock made = {required_number(at, "type"), required_number(at, "lock_val"), required_number(at, "unlock_val")};
		refuse_second(at, to.hard_locks, [&](const hard_lock &other) { return other.type == made.type; });
		if (!elements(at).empty())
			fail_unknown(elements(at).front());
		to.hard_locks.push_back(made);
	}

	void add_section(instance &to, pugi::xml_node at) const
	{
		section made;

		allow_attributes(at, {"name"});
		made.name = required_name(at);
		if (made.name == "hard_lock")
			m_from.fail(at, "\"hard_lock\" cannot be a module's name");
		refuse_second(at, to.sections, [&](const section &other) { return other.name == made.name; });
		for (const auto child : elements(at)) {
			if (std::string_view(child.name()) != "node")
				fail_unknown(child);
			auto next = read_node(child);
			refuse_second(child, made.nodes, [&](const node &other) { return other.name == next.name; });
			made.nodes.push_back(std::move(next));
		}
		to.sections.push_back(std::move(made));
	}

	node read_node(pugi::xml_node at) const
	{
		node made;

		allow_attributes(at, {"name"});
		made.name = required_name(at);
		for (const auto child : elements(at)) {
			if (std::string_view(child.name()) != "entry")
				fail_unknown(child);
			made.entries.push_back(read_entry(child));
		}
		return made;
	}

	entry read_entry(pugi::xml_node at) const
	{
		entry made;

		check_attributes(at);
		made.name = required_name(at);
		for (const auto attribute : at.attributes())
			if (std::string_view(attribute.name()) != "name")
				made.attributes.emplace_back(attribute.name(), attribute.value());
		for (const auto child : elements(at)) {
			refuse_second(child, made.elements, [&](const auto &other) { return other.first == child.name(); });
			made.elements.emplace_back(child.name(), element_text(child));
		}
		return made;
	}

	std::string element_text(pugi::xml_node at) const
	{
		std::string text;

		if (!is_name(at.name()))
			m_from.fail(at, quoted(at.name()) + " cannot be an element's name");
		allow_attributes(at, {});
		for (const auto child : at.children()) {
			if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata)
				m_from.fail(child, "<" + std::string(at.name()) + "> holds text only");
			text += child.value();
		}
		const auto first = text.find_first_not_of(white_space);
		return first == text.npos ? "" : text.substr(first, text.find_last_not_of(white_space) - first + 1);
	}

	const source &m_from;
};

} // namespace

board read_board(std::string_view xml, std::string_view file_name)
{
	const source from(xml, file_name);
	return reader(from).read(parse(from));
}

} // namespace flash_board
