// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_nodes.hpp"

#include <algorithm>
#include <array>
#include <set>

#include "suggestion.hpp"
#include "tables.hpp"

namespace flash_board {
namespace {

constexpr std::array<std::string_view, 4> section_fields = {"section_id", "mtd_name", "offset", "size"};
constexpr std::array<std::string_view, 2> mtd_info_fields = {"mtd_name", "avail_size"};
constexpr std::array<std::string_view, 7> spi_info_fields = {"flash_id",      "sfc_chip_id",  "sfc_ctrl",      "sfc_cs",
							     "hardlock_type", "hardlock_val", "hardunlock_val"};
constexpr std::array<std::string_view, 3> spi_map_fields = {"mtd_name", "offset", "size"};

struct table_kind {
	std::string_view name;
	std::span<const std::string_view> fields;
	bool in_attributes;	  // else in elements
	bool of_default_instance; // read there and nowhere else
	bool found_by_name;	  // entries are
};

constexpr std::array kinds = {
	table_kind{"attr", section_fields, true, true, false},
	table_kind{"mtd_info", mtd_info_fields, true, true, false},
	table_kind{"spi_flash_info", spi_info_fields, false, false, true},
	table_kind{"spi_flash_map", spi_map_fields, false, false, true},
};

const table_kind *kind_of(std::string_view node_name)
{
	const auto wanted = is_variant_name(node_name) ? "attr" : node_name;
	const auto found = std::find_if(kinds.begin(), kinds.end(), [&](const table_kind &one) { return one.name == wanted; });

	return found == kinds.end() ? nullptr : &*found;
}

void check_default_instance(document &of)
{
	if (const auto board = of.tree().child("board"); board && !instance_of(of, default_instance_id))
		of.add("no-default-instance", board, "there is no instance 0xffffffff");
}

void check_usrdata(document &of, const mtd_layout *layout)
{
	if (const auto board = of.tree().child("board"); board && layout && !partition_named(*layout, "usrdata"))
		of.add("usrdata-missing", board, "no partition is called \"usrdata\"");
}

void check_module_name(document &of, pugi::xml_node module)
{
	constexpr std::array<std::string_view, 1> own = {"flash_mng"};
	const std::string_view name = module.attribute("name").value();

	if (name != own.front() && !nearest(name, own).empty())
		of.add("unknown-module", module, of.offset_of(module, "name"), "nobody may read module " + quoted(name),
		       did_you_mean(name, own));
}

void check_field(document &of, pugi::xml_node entry, const table_kind &kind, std::string_view name, bool is_attribute, std::size_t offset)
{
	const bool is_known = std::find(kind.fields.begin(), kind.fields.end(), name) != kind.fields.end();
	const std::string form = kind.in_attributes ? "attribute" : "element";

	if (is_known && is_attribute == kind.in_attributes)
		return;
	of.add("unknown-field", entry, offset, "flash_mng does not read " + quoted(name) + " here",
	       is_known ? "write it as an " + form : did_you_mean(name, kind.fields));
}

void check_fields(document &of, pugi::xml_node entry, const table_kind &kind)
{
	for (const auto attribute : entry.attributes())
		if (std::string_view(attribute.name()) != "name")
			check_field(of, entry, kind, attribute.name(), true, of.offset_of(entry, attribute.name()));
	for (const auto child : entry.children())
		if (child.type() == pugi::node_element)
			check_field(of, entry, kind, child.name(), false, of.offset_of(child));
}

void check_entry_name(document &of, pugi::xml_node entry, const table_kind &kind, std::set<std::string> &seen)
{
	const std::string name = entry.attribute("name").value();

	if (seen.insert(name).second)
		return;
	of.add(kind.found_by_name ? "spi-entry-name-twice" : "entry-name-twice", entry, of.offset_of(entry, "name"),
	       "a second entry " + quoted(name) + " in this table");
}

void check_partition_name(document &of, pugi::xml_node entry, const table_kind &kind, const mtd_layout *layout)
{
	const auto name = kind.in_attributes ? of.attribute(entry, "mtd_name") : of.element(entry, "mtd_name");
	const auto is_called_so = [&](const partition &one) { return one.name == name->text; };

	if (!name)
		return;
	if (trimmed(name->text) != name->text)
		of.add("name-blanks", entry, name->offset, "white space is part of the name " + quoted(name->text));
	if (layout && kind.in_attributes && std::count_if(layout->begin(), layout->end(), is_called_so) > 1)
		of.add("partition-name-twice", entry, name->offset, "the board has more than one partition " + quoted(name->text));
}

void check_node(document &of, pugi::xml_node node, std::optional<std::uint32_t> instance, const mtd_layout *layout)
{
	constexpr std::array<std::string_view, 4> names = {"attr", "mtd_info", "spi_flash_info", "spi_flash_map"};
	const std::string_view name = node.attribute("name").value();
	const auto *kind = kind_of(name);
	std::set<std::string> seen;

	if (!kind && name.empty())
		return; // another rule's
	if (!kind) {
		of.add("unknown-node", node, of.offset_of(node, "name"), "flash_mng does not read node " + quoted(name),
		       did_you_mean(name, names));
		return;
	}
	if (kind->of_default_instance && instance && *instance != default_instance_id)
		of.add("node-not-read", node, "node " + quoted(name) + " of instance " + hexadecimal(*instance) + " is not read");
	if (entries_of(node).empty())
		of.add("empty-table", node, "node " + quoted(name) + " has no entries");
	for (const auto entry : entries_of(node)) {
		check_entry_name(of, entry, *kind, seen);
		check_fields(of, entry, *kind);
		check_partition_name(of, entry, *kind, layout);
	}
}

} // namespace

void check_nodes(document &of, const mtd_layout *layout)
{
	check_default_instance(of);
	check_usrdata(of, layout);
	for (const auto instance : instances_of(of)) {
		for (const auto module : instance.children("module"))
			check_module_name(of, module);
		for (const auto node : flash_mng_of(instance).children("node"))
			check_node(of, node, id_of(instance), layout);
	}
}

} // namespace flash_board
