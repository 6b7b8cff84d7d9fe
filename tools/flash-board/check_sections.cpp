// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_sections.hpp"

#include "tables.hpp"

#include <algorithm>

namespace flash_board {
namespace {

constexpr std::size_t longest_name = 39;

using section_rows = std::vector<section_row>;

void check_name(document &of, const section_row &row)
{
	if (!row.name)
		return;
	if (row.name->text.empty())
		of.add("section-name-empty", row.xml, row.name->offset, row.title() + " names no partition");
	else if (row.name->text.size() > longest_name)
		of.add("section-name-long", row.xml, row.name->offset,
		       row.title() + ": " + quoted(row.name->text) + " has " + std::to_string(row.name->text.size()) +
			       " characters, at most 39 fit");
}

void check_size(document &of, const section_row &row)
{
	if (row.size && *row.size == 0)
		of.add("section-empty", row.xml, row.size_text->offset, row.title() + " has no bytes");
}

void check_end(document &of, const section_row &row)
{
	if (!row.size || *row.size == 0 || !row.offset || row.range().end <= std::numeric_limits<std::uint32_t>::max())
		return;
	of.add("section-wraps", row.xml, row.size_text->offset, row.title() + " ends at " + hexadecimal(row.range().end));
}

// The earlier row of the same id that serves every request, or some requests, to this one.
void check_earlier_rows(document &of, const section_rows &rows, std::size_t index)
{
	const auto &row = rows[index];
	const auto end = rows.begin() + static_cast<std::ptrdiff_t>(index);
	const auto is_rival = [&](const section_row &one) { return one.is_usable() && one.id == row.id; };

	if (!row.is_usable())
		return;
	const auto cover =
		std::find_if(rows.begin(), end, [&](const auto &one) { return is_rival(one) && one.range().contains(row.range()); });
	if (cover != end) {
		of.add("section-shadowed", row.xml,
		       row.title() + " lies within " + cover->range().text() + " of entry " + quoted(cover->xml.attribute("name").value()) +
			       ", which comes first");
		return;
	}
	const auto rival =
		std::find_if(rows.begin(), end, [&](const auto &one) { return is_rival(one) && one.range().overlaps(row.range()); });
	if (rival != end)
		of.add("section-overlap", row.xml,
		       row.title() + " overlaps " + rival->range().text() + " of entry " + quoted(rival->xml.attribute("name").value()) +
			       ", which comes first");
}

void check_same_bytes(document &of, const section_rows &rows, std::size_t index)
{
	const auto &row = rows[index];
	const auto end = rows.begin() + static_cast<std::ptrdiff_t>(index);
	const auto shares = [&](const section_row &one) {
		const bool by_address = one.id == row.id && one.range().overlaps(row.range()); // another rule's
		return one.is_usable() && one.name->text == row.name->text && !by_address;
	};

	if (!row.is_usable() || row.name->text.empty())
		return;
	if (const auto other = std::find_if(rows.begin(), end, shares); other != end)
		of.add("section-same-bytes", row.xml, row.name->offset,
		       row.title() + " begins at the first byte of " + quoted(row.name->text) + ", as does " + other->title());
}

void check_partition(document &of, const section_row &row, const mtd_layout *layout)
{
	if (!layout || !row.name || row.name->text.empty() || row.name->text.size() > longest_name)
		return;
	const auto *found = partition_named(*layout, row.name->text);
	if (!found)
		of.add("section-no-partition", row.xml, row.name->offset,
		       row.title() + ": no partition is called " + quoted(row.name->text));
	else if (row.size && found->size && *row.size > *found->size)
		of.add("section-beyond-partition", row.xml, row.size_text->offset,
		       row.title() + " has " + human_size(*row.size) + ", partition " + quoted(found->name) + " has " +
			       human_size(*found->size));
}

void check_table(document &of, pugi::xml_node table, const mtd_layout *layout)
{
	const auto rows = section_rows_of(of, table);

	for (std::size_t i = 0; i < rows.size(); i++) {
		check_attributes_given(of, rows[i].xml, {{"section_id", true}, {"mtd_name", false}, {"offset", true}, {"size", true}},
				       "section-field-missing", "section-number");
		check_name(of, rows[i]);
		check_size(of, rows[i]);
		check_end(of, rows[i]);
		check_earlier_rows(of, rows, i);
		check_same_bytes(of, rows, i);
		check_partition(of, rows[i], layout);
	}
}

// ---- variants

void check_choice(document &of, pugi::xml_node instance, const std::vector<pugi::xml_node> &tables)
{
	const auto wanted = chosen_table_name(tables.size(), bom_of(of, instance));

	if (!tables.empty() && !node_of(instance, wanted.c_str()))
		of.add("variant-missing", flash_mng_of(instance),
		       "this board is variant " + std::to_string(bom_of(of, instance)) + ", and there is no node " + quoted(wanted));
}

void check_fallback(document &of, pugi::xml_node instance, const std::vector<pugi::xml_node> &tables)
{
	if (!tables.empty() && !node_of(instance, "attr"))
		of.add("variant-no-fallback", flash_mng_of(instance), "there are variants, but no node \"attr\"");
}

void check_reachable(document &of, pugi::xml_node table)
{
	const std::string_view name = table.attribute("name").value();
	const auto number = name.substr(std::min<std::size_t>(5, name.size()));

	if (is_variant_name(name) && (number.front() == '0' || !number_in(number)))
		of.add("variant-never-chosen", table, of.offset_of(table, "name"), "no BOM value is written as " + quoted(number));
}

} // namespace

void check_sections(document &of, const mtd_layout *layout)
{
	const auto instance = instance_of(of, default_instance_id);
	const auto tables = section_tables_of(instance);

	check_choice(of, instance, tables);
	check_fallback(of, instance, tables);
	for (const auto table : tables) {
		check_reachable(of, table);
		check_table(of, table, layout);
	}
}

} // namespace flash_board
