// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// A board description as a tree of XML whose parts know their places in the text.
#pragma once

#include <pugixml.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "findings.hpp"
#include "source.hpp"

namespace flash_board {

// A value of an entry, wherever it is written.
struct located_text {
	std::string text;
	std::size_t offset;
};

class document {
public:
	// Reads the text, which has to live as long as the document, and finds what breaks the rules about the text itself.
	explicit document(const source &from);
	document(const document &) = delete;
	document &operator=(const document &) = delete;

	const source &from() const { return from_; }
	const pugi::xml_document &tree() const { return tree_; }
	// Whether the tree stands for the whole text. Without it nothing can be said about the elements.
	bool is_whole() const { return whole_; }

	std::size_t offset_of(pugi::xml_node node) const;
	// The place of an attribute; the element's where it has none of this name.
	std::size_t offset_of(pugi::xml_node element, std::string_view attribute) const;
	std::optional<located_text> attribute(pugi::xml_node entry, const char *name) const;
	// The text of a child element, without the white space around it.
	std::optional<located_text> element(pugi::xml_node entry, const char *name) const;

	void add(std::string_view rule_id, pugi::xml_node element, std::size_t offset, std::string message, std::string hint = "");
	void add(std::string_view rule_id, pugi::xml_node element, std::string message, std::string hint = "");
	const findings &found() const { return found_; }

private:
	friend class text_scan;

	struct attribute_place {
		std::size_t element; // the place of its name
		std::string_view name;
		std::size_t offset;
	};

	void check_bytes();
	void check_declaration();
	void parse();

	const source &from_;
	pugi::xml_document tree_;
	bool readable_ = true;
	bool whole_ = false;
	std::vector<attribute_place> attributes_; // by element, then name, then place
	findings found_;
};

// The text of an element: what is directly in it, without the white space around it.
std::string text_of(pugi::xml_node element);

} // namespace flash_board
