// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "xml_writer.hpp"

#include <pugixml.hpp>

#include <sstream>

namespace flash_board {
namespace {

void write(pugi::xml_node to, const char *name, const std::optional<std::uint32_t> &number)
{
	if (number)
		to.append_attribute(name) = *number;
}

pugi::xml_node named(pugi::xml_node parent, const char *element, const std::string &name)
{
	auto made = parent.append_child(element);

	made.append_attribute("name") = name.c_str();
	return made;
}

void write(pugi::xml_node parent, const entry &from)
{
	auto to = named(parent, "entry", from.name);

	for (const auto &[name, text] : from.attributes)
		to.append_attribute(name.c_str()) = text.c_str();
	for (const auto &[name, text] : from.elements)
		to.append_child(name.c_str()).append_child(pugi::node_pcdata).set_value(text.c_str());
}

void write(pugi::xml_node parent, const section &from)
{
	auto module = named(parent, "module", from.name);

	for (const auto &one : from.nodes) {
		auto node = named(module, "node", one.name);
		for (const auto &row : one.entries)
			write(node, row);
	}
}

void write(pugi::xml_node parent, const hard_lock &from)
{
	auto to = parent.append_child("hard_lock");

	write(to, "type", from.type);
	write(to, "lock_val", from.lock_val);
	write(to, "unlock_val", from.unlock_val);
}

void write(pugi::xml_node parent, const instance &from)
{
	auto to = parent.append_child("instance");

	write(to, "id", from.id);
	write(to, "parent", from.parent);
	write(to, "card", from.card);
	write(to, "bom", from.bom);
	for (const auto &one : from.hard_locks)
		write(to, one);
	for (const auto &one : from.sections)
		write(to, one);
}

} // namespace

std::string as_xml(const board &from)
{
	pugi::xml_document document;
	std::ostringstream text;
	auto root = named(document, "board", from.name);

	write(root, "bom", from.bom);
	for (const auto &one : from.instances)
		write(root, one);
	document.save(text, "", pugi::format_raw);
	return text.str();
}

} // namespace flash_board
