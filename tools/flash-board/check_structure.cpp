// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_structure.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "number.hpp"
#include "suggestion.hpp"

namespace flash_board {
namespace {

constexpr std::size_t max_name_length = 63;

enum class kind { name, number, optional_number };

struct attribute_rule {
	std::string_view name;
	kind what = kind::name;
};

struct element_rule {
	std::string_view name;
	std::array<attribute_rule, 4> attributes;
	std::array<std::string_view, 2> children;
};

constexpr std::array elements = {
	element_rule{"board", {{{"name"}, {"bom", kind::optional_number}}}, {"instance"}},
	element_rule{"instance",
		     {{{"id", kind::number},
		       {"parent", kind::optional_number},
		       {"card", kind::optional_number},
		       {"bom", kind::optional_number}}},
		     {"module", "hard_lock"}},
	element_rule{"hard_lock", {{{"type", kind::number}, {"lock_val", kind::number}, {"unlock_val", kind::number}}}, {}},
	element_rule{"module", {{{"name"}}}, {"node"}},
	element_rule{"node", {{{"name"}}}, {"entry"}},
};

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

std::string tag(pugi::xml_node element)
{
	return "<" + std::string(element.name()) + ">";
}

// What makes an element the same as another beside it; without a key it may be there any number of times.
struct identity {
	const char *attribute = "";
	std::string key = {}; // as a message says it
	bool is_number = false;
};

identity number_identity(pugi::xml_node element, const char *attribute)
{
	const auto value = number_in(element.attribute(attribute).value());

	return value ? identity{attribute, std::string(attribute) + " " + hexadecimal(*value), true} : identity{};
}

identity identity_of(pugi::xml_node element)
{
	const std::string_view name = element.name();
	const std::string_view given = element.attribute("name").value();

	if (name == "instance")
		return number_identity(element, "id");
	if (name == "hard_lock")
		return number_identity(element, "type");
	return (name == "module" || name == "node") && !given.empty() ? identity{"name", "name " + quoted(given)} : identity{};
}

class structure_check {
public:
	explicit structure_check(document &of) : document_(of) {}

	void run()
	{
		pugi::xml_node root;

		for (const auto child : document_.tree().children()) {
			if (child.type() == pugi::node_doctype)
				document_.add("document-type", child, "a document type is not allowed");
			else if (child.type() != pugi::node_element)
				document_.add("root-element", child, "only one <board> element is expected here");
			else if (root)
				document_.add("root-element", child, "a second element beside " + tag(root) + ": one <board> is expected");
			else
				root = child;
		}
		if (!root || std::string_view(root.name()) != "board")
			document_.add("root-element", root, "a <board> element is expected");
		else
			check(root, elements.front());
	}

private:
	void check(pugi::xml_node at, const element_rule &about)
	{
		check_attribute_names(at);
		for (const auto attribute : at.attributes())
			check_known(at, attribute.name(), about);
		for (const auto &expected : about.attributes)
			if (!expected.name.empty())
				check_attribute(at, expected);
		if (about.name == "instance" && at.attribute("parent").empty() != at.attribute("card").empty())
			document_.add("parent-without-card", at, "\"parent\" and \"card\" are given together or not at all");
		if (about.name == "module" && std::string_view(at.attribute("name").value()) == "hard_lock")
			document_.add("reserved-name", at, "\"hard_lock\" cannot be a module's name");
		check_children(at, about);
	}

	void check_children(pugi::xml_node at, const element_rule &about)
	{
		std::map<std::string, pugi::xml_node> seen;

		for (const auto child : at.children()) {
			if (!is_element(child))
				continue;
			if (std::find(about.children.begin(), about.children.end(), child.name()) == about.children.end()) {
				unknown_element(child, about);
				continue;
			}
			if (std::string_view(child.name()) == "entry") {
				check_entry(child);
				continue;
			}
			check(child,
			      *std::find_if(elements.begin(), elements.end(), [&](const auto &one) { return one.name == child.name(); }));
			check_identity(child, seen);
		}
	}

	void check_identity(pugi::xml_node child, std::map<std::string, pugi::xml_node> &seen)
	{
		const auto identity = identity_of(child);

		if (identity.key.empty())
			return;
		const auto [first, is_new] = seen.try_emplace(child.name() + identity.key, child);
		if (!is_new)
			document_.add(identity.is_number ? "duplicate-id" : "duplicate-name", child,
				      document_.offset_of(child, identity.attribute),
				      "a second " + tag(child) + " with " + identity.key + "; the first is in line " +
					      line_of(first->second));
	}

	std::string line_of(pugi::xml_node element) const { return std::to_string(document_.from().at(document_.offset_of(element)).line); }

	void check_entry(pugi::xml_node at)
	{
		std::map<std::string_view, pugi::xml_node> seen;

		check_attribute_names(at);
		check_attribute(at, {"name"});
		for (const auto child : at.children()) {
			if (!is_element(child))
				continue;
			check_value(child);
			const auto [first, is_new] = seen.try_emplace(child.name(), child);
			if (!is_new)
				document_.add("duplicate-name", child,
					      "a second " + tag(child) + "; the first is in line " + line_of(first->second));
		}
	}

	void check_value(pugi::xml_node at)
	{
		if (!is_name(at.name()))
			document_.add("field-name", at, quoted(at.name()) + " cannot be an element's name");
		check_attribute_names(at);
		for (const auto attribute : at.attributes())
			check_known(at, attribute.name(), {});
		for (const auto child : at.children())
			if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata)
				document_.add("value-element", child, tag(at) + " holds text only");
	}

	void check_attribute_names(pugi::xml_node at)
	{
		std::set<std::string_view> seen;

		for (const auto attribute : at.attributes()) {
			const auto place = document_.offset_of(at, attribute.name());
			if (!seen.insert(attribute.name()).second)
				document_.add("duplicate-attribute", at, place,
					      "attribute " + quoted(attribute.name()) + " is given twice");
			if (!is_name(attribute.name()) || is_reserved(attribute.name()))
				document_.add("field-name", at, place, quoted(attribute.name()) + " cannot be an attribute's name");
		}
	}

	void check_known(pugi::xml_node at, std::string_view name, const element_rule &about)
	{
		std::vector<std::string_view> known;

		for (const auto &one : about.attributes)
			if (!one.name.empty())
				known.push_back(one.name);
		if (std::find(known.begin(), known.end(), name) == known.end())
			document_.add("unknown-attribute", at, document_.offset_of(at, name), tag(at) + " has no attribute " + quoted(name),
				      did_you_mean(name, known));
	}

	void check_attribute(pugi::xml_node at, const attribute_rule &expected)
	{
		const auto value = document_.attribute(at, std::string(expected.name).c_str());

		if (!value && expected.what != kind::optional_number)
			document_.add("missing-attribute", at, tag(at) + " needs the attribute " + quoted(expected.name));
		else if (value && expected.what == kind::name && !is_name(value->text))
			document_.add("name-syntax", at, value->offset,
				      quoted(value->text) +
					      " is no name: a letter or \"_\", then letters, digits, \"_\", \".\" and \"-\", at most 63");
		else if (value && expected.what != kind::name && !number_in(value->text))
			document_.add("number-syntax", at, value->offset,
				      std::string(expected.name) + "=" + quoted(value->text) +
					      " is no number: decimal or 0x hexadecimal, at most 32 bits");
	}

	// Nothing but elements may stand between elements.
	bool is_element(pugi::xml_node child)
	{
		const bool is_instruction = child.type() == pugi::node_pi;

		if (child.type() == pugi::node_element)
			return true;
		document_.add(is_instruction ? "instruction" : "stray-text", child,
			      "text or an instruction is not expected inside " + tag(child.parent()));
		return false;
	}

	void unknown_element(pugi::xml_node child, const element_rule &about)
	{
		document_.add("unknown-element", child, tag(child) + " is not expected inside " + tag(child.parent()),
			      did_you_mean(child.name(), about.children, "<", ">"));
	}

	document &document_;
};

} // namespace

void check_structure(document &of)
{
	structure_check(of).run();
}

} // namespace flash_board
