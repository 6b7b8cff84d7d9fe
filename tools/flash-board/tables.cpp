// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "tables.hpp"

#include <algorithm>

namespace flash_board {
namespace {

std::optional<std::uint32_t> number_of(const std::optional<located_text> &value)
{
	return value ? number_in(value->text) : std::nullopt;
}

std::vector<pugi::xml_node> children_of(pugi::xml_node parent, const char *name)
{
	const auto found = parent.children(name);

	return {found.begin(), found.end()};
}

void check_given(document &of, pugi::xml_node entry, const field &wanted, const std::optional<located_text> &value,
		 std::string_view missing_rule, std::string_view number_rule)
{
	const auto owner = "entry " + quoted(entry.attribute("name").value());

	if (!value)
		of.add(missing_rule, entry, owner + " has no " + wanted.name);
	else if (wanted.is_number && !number_in(value->text))
		of.add(number_rule, entry, value->offset,
		       owner + ": " + wanted.name + " is " + quoted(value->text) + ", which is no number");
}

} // namespace

std::vector<pugi::xml_node> instances_of(const document &of)
{
	return children_of(of.tree().child("board"), "instance");
}

pugi::xml_node instance_of(const document &of, std::uint32_t id)
{
	const auto all = instances_of(of);
	const auto found = std::find_if(all.begin(), all.end(), [&](pugi::xml_node one) { return id_of(one) == id; });

	return found == all.end() ? pugi::xml_node() : *found;
}

pugi::xml_node flash_mng_of(pugi::xml_node instance)
{
	return instance.find_child_by_attribute("module", "name", "flash_mng");
}

pugi::xml_node node_of(pugi::xml_node instance, const char *name)
{
	return flash_mng_of(instance).find_child_by_attribute("node", "name", name);
}

std::vector<pugi::xml_node> entries_of(pugi::xml_node node)
{
	return children_of(node, "entry");
}

std::optional<std::uint32_t> id_of(pugi::xml_node instance)
{
	return number_in(instance.attribute("id").value());
}

std::uint32_t bom_of(const document &of, pugi::xml_node instance)
{
	const auto own = number_in(instance.attribute("bom").value());

	return own ? *own : number_in(of.tree().child("board").attribute("bom").value()).value_or(0);
}

bool is_variant_name(std::string_view node_name)
{
	return node_name.starts_with("attr_") && node_name.size() > 5 && node_name.find_first_not_of("0123456789", 5) == node_name.npos;
}

std::vector<pugi::xml_node> section_tables_of(pugi::xml_node instance)
{
	std::vector<pugi::xml_node> tables;

	for (const auto node : flash_mng_of(instance).children("node")) {
		const std::string_view name = node.attribute("name").value();
		if (name == "attr" || is_variant_name(name))
			tables.push_back(node);
	}
	return tables;
}

std::string chosen_table_name(std::size_t tables, std::uint32_t bom)
{
	return tables > 1 && bom != 0 ? "attr_" + std::to_string(bom) : "attr";
}

section_row::section_row(const document &of, pugi::xml_node entry)
	: xml(entry), id_text(of.attribute(entry, "section_id")), name(of.attribute(entry, "mtd_name")),
	  offset_text(of.attribute(entry, "offset")), size_text(of.attribute(entry, "size")), id(number_of(id_text)),
	  offset(number_of(offset_text)), size(number_of(size_text))
{
}

std::string section_row::title() const
{
	return "section " + (id ? std::to_string(*id) : "?") + " (entry " + quoted(xml.attribute("name").value()) + ")";
}

std::vector<section_row> section_rows_of(const document &of, pugi::xml_node table)
{
	std::vector<section_row> rows;

	for (const auto entry : entries_of(table))
		rows.emplace_back(of, entry);
	return rows;
}

void check_attributes_given(document &of, pugi::xml_node entry, std::initializer_list<field> fields, std::string_view missing_rule,
			    std::string_view number_rule)
{
	for (const auto &wanted : fields)
		check_given(of, entry, wanted, of.attribute(entry, wanted.name), missing_rule, number_rule);
}

void check_elements_given(document &of, pugi::xml_node entry, std::initializer_list<field> fields, std::string_view missing_rule,
			  std::string_view number_rule)
{
	for (const auto &wanted : fields)
		check_given(of, entry, wanted, of.element(entry, wanted.name), missing_rule, number_rule);
}

} // namespace flash_board
