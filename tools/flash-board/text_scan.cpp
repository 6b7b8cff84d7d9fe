// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "text_scan.hpp"

#include "document.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <tuple>

namespace flash_board {
namespace {

constexpr std::size_t longest_reference = 64; // of its name, with room for many zeros in front of a number

bool is_character_number(std::string_view digits)
{
	std::uint32_t value = 0;
	const bool hexadecimal = digits.starts_with('x');
	const char *end = digits.data() + digits.size();
	const auto result = std::from_chars(digits.data() + hexadecimal, end, value, hexadecimal ? 16 : 10);
	const bool is_character =
		value >= ' ' && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF) && value != 0xFFFE && value != 0xFFFF;

	return result.ec == std::errc() && result.ptr == end && is_character;
}

bool is_known_reference(std::string_view name)
{
	constexpr std::array<std::string_view, 5> predefined = {"amp", "lt", "gt", "quot", "apos"};

	if (name.starts_with('#'))
		return is_character_number(name.substr(1));
	return std::find(predefined.begin(), predefined.end(), name) != predefined.end();
}

} // namespace

class text_scan {
public:
	explicit text_scan(document &of) : m_document(of), m_text(of.from().text()) {}

	bool run()
	{
		while (m_at < m_text.size() && !m_lost)
			step();
		std::sort(m_document.m_attributes.begin(), m_document.m_attributes.end(), [](const auto &a, const auto &b) {
			return std::tie(a.element, a.name, a.offset) < std::tie(b.element, b.name, b.offset);
		});
		return m_sound;
	}

private:
	std::string_view rest() const { return m_text.substr(m_at); }

	void step()
	{
		if (rest().starts_with("<!--"))
			comment();
		else if (rest().starts_with("<![CDATA["))
			skip_behind("]]>");
		else if (rest().starts_with("<?"))
			skip_behind("?>");
		else if (rest().starts_with("<!"))
			m_lost = true; // a document type, which is refused
		else if (rest().starts_with("</"))
			skip_behind(">");
		else if (rest().starts_with("<"))
			tag();
		else
			text();
	}

	void malformed(std::size_t at, std::string message, std::string hint = "")
	{
		m_document.add("malformed", {}, at, std::move(message), std::move(hint));
		m_sound = false;
	}

	void skip_behind(std::string_view end)
	{
		const auto found = m_text.find(end, m_at);

		m_lost = found == m_text.npos;
		m_at = m_lost ? m_text.size() : found + end.size();
	}

	void comment()
	{
		const auto first = m_text.find("--", m_at + 4);

		if (first != m_text.npos && first + 2 < m_text.size() && m_text[first + 2] != '>')
			malformed(first, "\"--\" inside a comment", "leave a blank between the two");
		skip_behind("-->");
	}

	void text()
	{
		const auto end = std::min(m_text.find('<', m_at), m_text.size());
		const auto inside = m_text.substr(0, end);

		for (auto at = inside.find("]]>", m_at); at != inside.npos; at = inside.find("]]>", at + 1))
			malformed(at, "\"]]>\" in text", "write ]]&gt;");
		references(m_at, end);
		m_at = end;
	}

	void references(std::size_t at, std::size_t end)
	{
		const auto inside = m_text.substr(0, end);

		for (at = inside.find('&', at); at != inside.npos; at = inside.find('&', at + 1)) {
			const auto name = inside.substr(at + 1, longest_reference);
			const auto semicolon = name.find(';');
			if (semicolon == name.npos || !is_known_reference(name.substr(0, semicolon)))
				m_document.add("unknown-reference", {}, at,
					       "\"&\" may only begin &amp; &lt; &gt; &quot; &apos; "
					       "or the number of a printable character, as in &#65;");
		}
	}

	void blanks() { m_at = std::min(m_text.find_first_not_of(white_space, m_at), m_text.size()); }

	void tag()
	{
		const auto element = ++m_at;

		m_at = std::min(m_text.find_first_of(" \t\r\n/>", m_at), m_text.size());
		while (!m_lost && tag_goes_on())
			attribute(element);
	}

	// Moves to the next attribute; false behind the end of the tag.
	bool tag_goes_on()
	{
		const auto before = m_at;

		blanks();
		if (rest().starts_with("/>"))
			m_at++;
		if (rest().starts_with(">")) {
			m_at++;
			return false;
		}
		m_lost = m_at == m_text.size();
		if (!m_lost && before == m_at)
			malformed(m_at, "white space is missing before an attribute");
		return !m_lost;
	}

	void attribute(std::size_t element)
	{
		const auto start = m_at;

		m_at = std::min(m_text.find_first_of(" \t\r\n=/><\"'", m_at), m_text.size());
		m_document.m_attributes.push_back({element, m_text.substr(start, m_at - start), start});
		blanks();
		m_lost = !rest().starts_with("=");
		if (m_lost)
			return;
		m_at++;
		blanks();
		value();
	}

	void value()
	{
		const auto opening = m_at;
		const auto mark = m_at < m_text.size() ? m_text[m_at] : ' ';
		const auto closing = mark == '"' || mark == '\'' ? m_text.find(mark, m_at + 1) : m_text.npos;

		m_lost = closing == m_text.npos;
		if (m_lost)
			return;
		if (const auto less = m_text.substr(0, closing).find('<', opening); less != m_text.npos)
			malformed(less, "\"<\" in an attribute", "write &lt;, or look for a quotation mark that is missing");
		references(opening + 1, closing);
		m_at = closing + 1;
	}

	document &m_document;
	std::string_view m_text;
	std::size_t m_at = 0;
	bool m_lost = false; // the parser of the tree will say why
	bool m_sound = true;
};

bool scan_text(document &of)
{
	return text_scan(of).run();
}

} // namespace flash_board
