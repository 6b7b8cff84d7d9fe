// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_sections.hpp"

#include <algorithm>
#include <map>

#include "range_search.hpp"
#include "tables.hpp"

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

// Rows that can be used, by what they share, in their order.
template <typename key, typename sharing> std::map<key, std::vector<std::size_t>> groups_of(const section_rows &rows, sharing key_of)
{
	std::map<key, std::vector<std::size_t>> groups;

	for (std::size_t i = 0; i < rows.size(); i++)
		if (rows[i].is_usable())
			groups[key_of(rows[i])].push_back(i);
	return groups;
}

std::vector<byte_range> ranges_of(const section_rows &rows, const std::vector<std::size_t> &group)
{
	std::vector<byte_range> ranges;

	ranges.reserve(group.size());
	for (const auto index : group)
		ranges.push_back(rows[index].range());
	return ranges;
}

std::string before_it(const section_row &row)
{
	return row.range().text() + " of entry " + quoted(row.xml.attribute("name").value()) + ", which comes first";
}

// The earlier rows of the same id that serve every request, or some requests, to a later one.
void check_earlier_rows(document &of, const section_rows &rows)
{
	const auto id_of = [](const section_row &row) { return *row.id; };
	for (const auto &[id, group] : groups_of<std::uint32_t>(rows, id_of)) {
		const auto ranges = ranges_of(rows, group);
		const auto covers = first_containing(ranges), rivals = first_overlapping(ranges);
		for (std::size_t i = 0; i < group.size(); i++) {
			const auto &row = rows[group[i]];
			if (covers[i] != none_before)
				of.add("section-shadowed", row.xml, row.title() + " lies within " + before_it(rows[group[covers[i]]]));
			else if (rivals[i] != none_before)
				of.add("section-overlap", row.xml, row.title() + " overlaps " + before_it(rows[group[rivals[i]]]));
		}
	}
}

// For each row of a group the first earlier one of another id; sections of one id that overlap are another rule's.
class first_of_another_id {
public:
	std::size_t before(const section_rows &rows, std::size_t index)
	{
		const auto differs = [&](std::size_t other) { return other != none_before && rows[other].id != rows[index].id; };
		const auto found = differs(first_) ? first_ : differs(second_) ? second_ : none_before;

		if (first_ == none_before)
			first_ = index;
		else if (second_ == none_before && rows[first_].id != rows[index].id)
			second_ = index;
		return found;
	}

private:
	std::size_t first_ = none_before, second_ = none_before; // of two ids
};

void check_same_bytes(document &of, const section_rows &rows)
{
	using name_and_id = std::pair<std::string, std::uint32_t>;
	std::map<std::string, first_of_another_id> others;
	std::vector<std::size_t> first(rows.size(), none_before);

	const auto name_and_id_of = [](const section_row &row) { return name_and_id(row.name->text, *row.id); };
	for (const auto &[key, group] : groups_of<name_and_id>(rows, name_and_id_of)) {
		const auto apart = first_apart(ranges_of(rows, group));
		for (std::size_t i = 0; i < group.size(); i++)
			first[group[i]] = apart[i] == none_before ? none_before : group[apart[i]];
	}
	for (std::size_t i = 0; i < rows.size(); i++) {
		if (!rows[i].is_usable() || rows[i].name->text.empty())
			continue;
		const auto other = std::min(first[i], others[rows[i].name->text].before(rows, i));
		if (other != none_before)
			of.add("section-same-bytes", rows[i].xml, rows[i].name->offset,
			       rows[i].title() + " begins at the first byte of " + quoted(rows[i].name->text) + ", as does " +
				       rows[other].title());
	}
}

void check_partition(document &of, const section_row &row, const mtd_layout *layout)
{
	if (!layout || !row.name || row.name->text.empty() || row.name->text.size() > longest_name)
		return;
	const auto *found = partition_named(*layout, row.name->text);
	if (!found)
		of.add("section-no-partition", row.xml, row.name->offset,
		       row.title() + ": no partition is called " + quoted(row.name->text), partition_meant(*layout, row.name->text));
	else if (row.size && found->size && *row.size > *found->size)
		of.add("section-beyond-partition", row.xml, row.size_text->offset,
		       row.title() + " has " + human_size(*row.size) + ", partition " + quoted(found->name) + " has " +
			       human_size(*found->size));
}

void check_table(document &of, pugi::xml_node table, const mtd_layout *layout)
{
	const auto rows = section_rows_of(of, table);

	for (const auto &row : rows) {
		check_attributes_given(of, row.xml, {{"section_id", true}, {"mtd_name", false}, {"offset", true}, {"size", true}},
				       "section-field-missing", "section-number");
		check_name(of, row);
		check_size(of, row);
		check_end(of, row);
		check_partition(of, row, layout);
	}
	check_earlier_rows(of, rows);
	check_same_bytes(of, rows);
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
