// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_mtd_info.hpp"

#include <map>
#include <set>

#include "tables.hpp"

namespace flash_board {
namespace {

constexpr std::size_t longest_kept_name = 31;
constexpr std::size_t longest_read_name = 39;

void check_name(document &of, pugi::xml_node entry, const located_text &name, std::set<std::string> &seen)
{
	const auto length = name.text.size();
	const auto what = quoted(name.text) + " has " + std::to_string(length) + " characters, at most 31 fit";

	if (length == 0)
		of.add("mtd-info-name-empty", entry, name.offset, "the row names no partition");
	else if (length > longest_read_name)
		of.add("mtd-info-name-refused", entry, name.offset, what);
	else if (length > longest_kept_name)
		of.add("mtd-info-name-damaged", entry, name.offset, what);
	if (!seen.insert(name.text).second)
		of.add("mtd-info-name-twice", entry, name.offset, "partition " + quoted(name.text) + " is listed before");
}

void check_against_partition(document &of, pugi::xml_node entry, const located_text &size_text, std::uint32_t size, const partition &found)
{
	if (found.size && size > *found.size)
		of.add("mtd-info-beyond-partition", entry, size_text.offset,
		       "the usable size is " + human_size(size) + ", partition " + quoted(found.name) + " has " + human_size(*found.size));
	else if (found.erase_size && size % *found.erase_size)
		of.add("mtd-info-erase-size", entry, size_text.offset,
		       "the usable size " + hexadecimal(size) + " is no multiple of " + human_size(*found.erase_size) +
			       ", the erase size of " + quoted(found.name));
}

void check_partition(document &of, pugi::xml_node entry, const located_text &name, const mtd_layout *layout)
{
	const auto size_text = of.attribute(entry, "avail_size");
	const auto size = size_text ? number_in(size_text->text) : std::nullopt;
	const bool can_be_found = !name.text.empty() && name.text.size() <= longest_kept_name;
	const auto *found = layout && can_be_found ? partition_named(*layout, name.text) : nullptr;

	if (layout && can_be_found && !found)
		of.add("mtd-info-no-partition", entry, name.offset, "no partition is called " + quoted(name.text),
		       partition_meant(*layout, name.text));
	if (found && found->is_known_not_to_be_nand())
		of.add("mtd-info-not-nand", entry, name.offset, "partition " + quoted(name.text) + " is not NAND");
	if (size && *size == 0)
		of.add("mtd-info-empty", entry, size_text->offset, "the usable size is 0");
	else if (size && found)
		check_against_partition(of, entry, *size_text, *size, *found);
}

// The first section that is a partition.
struct section_place {
	std::string words;
	std::size_t line;
};

std::map<std::string, section_place> sections_by_partition(const document &of, pugi::xml_node instance)
{
	std::map<std::string, section_place> found;

	for (const auto table : section_tables_of(instance))
		for (const auto &row : section_rows_of(of, table))
			if (row.name && !row.name->text.empty())
				found.try_emplace(row.name->text,
						  section_place{row.title() + " of node " + quoted(table.attribute("name").value()),
								of.from().at(row.name->offset).line});
	return found;
}

} // namespace

void check_mtd_info(document &of, const mtd_layout *layout)
{
	const auto instance = instance_of(of, default_instance_id);
	const auto sections = sections_by_partition(of, instance);
	std::set<std::string> seen;

	for (const auto entry : entries_of(node_of(instance, "mtd_info"))) {
		check_attributes_given(of, entry, {{"mtd_name", false}, {"avail_size", true}}, "mtd-info-field-missing", "mtd-info-number");
		if (const auto name = of.attribute(entry, "mtd_name")) {
			check_name(of, entry, *name, seen);
			check_partition(of, entry, *name, layout);
			if (const auto section = sections.find(name->text); section != sections.end())
				of.add("mtd-info-section", entry, name->offset,
				       "partition " + quoted(name->text) + " is " + section->second.words + " too, in line " +
					       std::to_string(section->second.line));
		}
	}
}

} // namespace flash_board
