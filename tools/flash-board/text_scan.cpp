// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "text_scan.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <tuple>

#include "document.hpp"

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
	explicit text_scan(document &of) : document_(of), text_(of.from().text()) {}

	bool run()
	{
		while (at_ < text_.size() && !lost_)
			step();
		std::sort(document_.attributes_.begin(), document_.attributes_.end(), [](const auto &a, const auto &b) {
			return std::tie(a.element, a.name, a.offset) < std::tie(b.element, b.name, b.offset);
		});
		return sound_;
	}

private:
	std::string_view rest() const { return text_.substr(at_); }

	void step()
	{
		if (rest().starts_with("<!--"))
			comment();
		else if (rest().starts_with("<![CDATA["))
			skip_behind("]]>");
		else if (rest().starts_with("<?"))
			skip_behind("?>");
		else if (rest().starts_with("<!"))
			lost_ = true; // a document type, which is refused
		else if (rest().starts_with("</"))
			skip_behind(">");
		else if (rest().starts_with("<"))
			tag();
		else
			text();
	}

	void malformed(std::size_t at, std::string message, std::string hint = "")
	{
		document_.add("malformed", {}, at, std::move(message), std::move(hint));
		sound_ = false;
	}

	void skip_behind(std::string_view end)
	{
		const auto found = text_.find(end, at_);

		lost_ = found == text_.npos;
		at_ = lost_ ? text_.size() : found + end.size();
	}

	void comment()
	{
		const auto first = text_.find("--", at_ + 4);

		if (first != text_.npos && first + 2 < text_.size() && text_[first + 2] != '>')
			malformed(first, "\"--\" inside a comment", "leave a blank between the two");
		skip_behind("-->");
	}

	void text()
	{
		const auto end = std::min(text_.find('<', at_), text_.size());
		const auto inside = text_.substr(0, end);

		for (auto at = inside.find("]]>", at_); at != inside.npos; at = inside.find("]]>", at + 1))
			malformed(at, "\"]]>\" in text", "write ]]&gt;");
		references(at_, end);
		at_ = end;
	}

	void references(std::size_t at, std::size_t end)
	{
		const auto inside = text_.substr(0, end);

		for (at = inside.find('&', at); at != inside.npos; at = inside.find('&', at + 1)) {
			const auto name = inside.substr(at + 1, longest_reference);
			const auto semicolon = name.find(';');
			if (semicolon == name.npos || !is_known_reference(name.substr(0, semicolon)))
				document_.add("unknown-reference", {}, at,
					      "\"&\" may only begin &amp; &lt; &gt; &quot; &apos; "
					      "or the number of a printable character, as in &#65;");
		}
	}

	void blanks() { at_ = std::min(text_.find_first_not_of(white_space, at_), text_.size()); }

	void tag()
	{
		const auto element = ++at_;

		at_ = std::min(text_.find_first_of(" \t\r\n/>", at_), text_.size());
		while (!lost_ && tag_goes_on())
			attribute(element);
	}

	// Moves to the next attribute; false behind the end of the tag.
	bool tag_goes_on()
	{
		const auto before = at_;

		blanks();
		if (rest().starts_with("/>"))
			at_++;
		if (rest().starts_with(">")) {
			at_++;
			return false;
		}
		lost_ = at_ == text_.size();
		if (!lost_ && before == at_)
			malformed(at_, "white space is missing before an attribute");
		return !lost_;
	}

	void attribute(std::size_t element)
	{
		const auto start = at_;

		at_ = std::min(text_.find_first_of(" \t\r\n=/><\"'", at_), text_.size());
		document_.attributes_.push_back({element, text_.substr(start, at_ - start), start});
		blanks();
		lost_ = !rest().starts_with("=");
		if (lost_)
			return;
		at_++;
		blanks();
		value();
	}

	void value()
	{
		const auto opening = at_;
		const auto mark = at_ < text_.size() ? text_[at_] : ' ';
		const auto closing = mark == '"' || mark == '\'' ? text_.find(mark, at_ + 1) : text_.npos;

		lost_ = closing == text_.npos;
		if (lost_)
			return;
		if (const auto less = text_.substr(0, closing).find('<', opening); less != text_.npos)
			malformed(less, "\"<\" in an attribute", "write &lt;, or look for a quotation mark that is missing");
		references(opening + 1, closing);
		at_ = closing + 1;
	}

	document &document_;
	std::string_view text_;
	std::size_t at_ = 0;
	bool lost_ = false; // the parser of the tree will say why
	bool sound_ = true;
};

bool scan_text(document &of)
{
	return text_scan(of).run();
}

} // namespace flash_board
