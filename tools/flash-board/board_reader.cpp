// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "board_reader.hpp"

#include <algorithm>

#include "check_structure.hpp"
#include "number.hpp"

namespace flash_board {
namespace {

std::optional<std::uint32_t> number(pugi::xml_node at, const char *attribute)
{
	return number_in(at.attribute(attribute).value());
}

entry read_entry(pugi::xml_node at)
{
	entry made = {at.attribute("name").value(), {}, {}};

	for (const auto attribute : at.attributes())
		if (std::string_view(attribute.name()) != "name")
			made.attributes.emplace_back(attribute.name(), attribute.value());
	for (const auto child : at.children())
		made.elements.emplace_back(child.name(), text_of(child));
	return made;
}

node read_node(pugi::xml_node at)
{
	node made = {at.attribute("name").value(), {}};

	std::transform(at.begin(), at.end(), std::back_inserter(made.entries), read_entry);
	return made;
}

section read_section(pugi::xml_node at)
{
	section made = {at.attribute("name").value(), {}};

	std::transform(at.begin(), at.end(), std::back_inserter(made.nodes), read_node);
	return made;
}

instance read_instance(pugi::xml_node at)
{
	instance made = {*number(at, "id"), number(at, "parent"), number(at, "card"), number(at, "bom"), {}, {}};

	for (const auto child : at.children("module"))
		made.sections.push_back(read_section(child));
	for (const auto child : at.children("hard_lock"))
		made.hard_locks.push_back({*number(child, "type"), *number(child, "lock_val"), *number(child, "unlock_val")});
	return made;
}

} // namespace

void refuse_findings(const source &from, const findings &found)
{
	const auto *refusal = first_refusal(found);

	if (!refusal)
		return;
	const auto where = from.at(refusal->offset);
	throw input_error(from.file_name() + ":" + std::to_string(where.line) + ":" + std::to_string(where.column) + ": " +
			  refusal->message);
}

board read_board(const document &from)
{
	const auto root = from.tree().child("board");
	board made = {root.attribute("name").value(), number(root, "bom"), {}};

	std::transform(root.begin(), root.end(), std::back_inserter(made.instances), read_instance);
	return made;
}

board read_board(std::string_view xml, std::string_view file_name)
{
	const source from(xml, file_name);
	document read(from);

	if (read.is_whole())
		check_structure(read);
	refuse_findings(from, read.found());
	return read_board(read);
}

} // namespace flash_board
