// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_spi.hpp"

#include "tables.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace flash_board {
namespace {

constexpr std::uint32_t own_card = 0xFFFFFFFF;
constexpr std::uint32_t never_locked = 1;
constexpr std::size_t longest_map_name = 18;

std::optional<std::uint32_t> element_number(const document &of, pugi::xml_node entry, const char *name)
{
	const auto value = of.element(entry, name);

	return value ? number_in(value->text) : std::nullopt;
}

// ---- spi_flash_info

void check_numbering(document &of, pugi::xml_node node)
{
	const auto entries = entries_of(node);

	for (std::size_t i = 0; i < entries.size(); i++) {
		const auto wanted = "entry" + std::to_string(i);
		if (node.find_child_by_attribute("entry", "name", wanted.c_str()))
			continue;
		of.add("spi-entry-gap", node, "of " + std::to_string(entries.size()) + " entries none is called " + quoted(wanted));
		return;
	}
}

void check_lock_numbers(document &of, pugi::xml_node entry)
{
	for (const auto *name : {"hardlock_type", "hardlock_val", "hardunlock_val"}) {
		const auto value = of.element(entry, name);
		if (value && !number_in(value->text))
			of.add("spi-lock-number", entry, value->offset,
			       std::string(name) + " is " + quoted(value->text) + ", which is no number");
	}
}

void check_flash_id(document &of, pugi::xml_node entry, std::set<std::uint32_t> &seen)
{
	const auto id = element_number(of, entry, "flash_id");

	if (id && !seen.insert(*id).second)
		of.add("spi-flash-id-twice", entry, of.element(entry, "flash_id")->offset,
		       "an earlier entry has flash_id " + hexadecimal(*id));
}

void check_info(document &of, pugi::xml_node node)
{
	std::set<std::uint32_t> seen;

	check_numbering(of, node);
	for (const auto entry : entries_of(node)) {
		check_elements_given(of, entry, {{"flash_id", true}, {"sfc_chip_id", true}, {"sfc_ctrl", true}, {"sfc_cs", true}},
				     "spi-field-missing", "spi-number");
		check_lock_numbers(of, entry);
		check_flash_id(of, entry, seen);
	}
}

// ---- instances and their settings

pugi::xml_node entry_of_card(const document &of, pugi::xml_node node, std::uint32_t card)
{
	for (const auto entry : entries_of(node))
		if (element_number(of, entry, "flash_id") == card)
			return entry;
	return {};
}

void check_lock(document &of, pugi::xml_node instance, pugi::xml_node entry)
{
	const auto type = element_number(of, entry, "hardlock_type").value_or(never_locked);
	const auto lock = instance.find_child([&](pugi::xml_node child) {
		return std::string_view(child.name()) == "hard_lock" && number_in(child.attribute("type").value()) == type;
	});
	const auto differs = [&](const char *setting, const char *stated) {
		const auto value = number_in(lock.attribute(stated).value());
		return value && *value != element_number(of, entry, setting).value_or(0xFFFFFFFF);
	};

	if (type != never_locked && lock && (differs("hardlock_val", "lock_val") || differs("hardunlock_val", "unlock_val")))
		of.add("spi-lock-mismatch", lock,
		       "entry " + quoted(entry.attribute("name").value()) + " has other values for the lock of type " +
			       std::to_string(type));
}

void check_own_settings(document &of, pugi::xml_node instance, pugi::xml_node info, bool is_wanted)
{
	if (const auto entry = entry_of_card(of, info, own_card))
		check_lock(of, instance, entry);
	else if (is_wanted)
		of.add("spi-own-entry-missing", info, "no entry has flash_id 0xffffffff");
}

void check_parents_settings(document &of, pugi::xml_node instance, pugi::xml_node info)
{
	const auto card = number_in(instance.attribute("card").value());

	if (!card)
		return;
	if (const auto entry = entry_of_card(of, info, *card))
		check_lock(of, instance, entry);
	else
		of.add("spi-card-without-entry", instance, of.offset_of(instance, "card"),
		       "instance " + std::string(instance.attribute("parent").value()) + " has no entry with flash_id " +
			       std::to_string(*card));
}

void check_settings(document &of, pugi::xml_node instance, const std::set<std::uint32_t> &carriers)
{
	const auto id = id_of(instance);
	const auto parent = number_in(instance.attribute("parent").value());
	const bool has_map = node_of(instance, "spi_flash_map");
	const bool is_card = parent && !(id && carriers.contains(*id));
	const auto own = node_of(instance, "spi_flash_info");
	const auto of_parent = parent && id != default_instance_id ? node_of(instance_of(of, *parent), "spi_flash_info") : pugi::xml_node();

	if (own)
		check_own_settings(of, instance, own, has_map || is_card);
	else if (of_parent)
		check_parents_settings(of, instance, of_parent);
	else if (has_map)
		of.add("spi-no-settings", node_of(instance, "spi_flash_map"),
		       "neither this instance nor its parent has a node \"spi_flash_info\"");
}

// ---- spi_flash_map

struct map_row {
	pugi::xml_node xml;
	byte_range range;
};

void check_map_name(document &of, pugi::xml_node entry, std::set<std::string> &seen)
{
	const auto name = of.element(entry, "mtd_name");

	if (!name) {
		of.add("spi-map-field-missing", entry, "entry " + quoted(entry.attribute("name").value()) + " has no mtd_name");
		return;
	}
	if (name->text.empty())
		of.add("spi-map-name-empty", entry, name->offset, "the partition has no name");
	if (name->text.size() > longest_map_name)
		of.add("spi-map-name-long", entry, name->offset,
		       quoted(name->text) + " has " + std::to_string(name->text.size()) + " characters, at most 18 fit");
	if (!seen.insert(name->text).second)
		of.add("spi-map-name-twice", entry, name->offset, "a second partition " + quoted(name->text));
}

// The range of an entry that has a sound one.
std::optional<map_row> checked_range(document &of, pugi::xml_node entry)
{
	const auto offset = of.element(entry, "offset"), size = of.element(entry, "size");

	if (offset.has_value() != size.has_value())
		of.add("spi-map-half-range", entry,
		       std::string("there is ") + (offset ? "an offset without a size" : "a size without an offset"));
	if (!offset || !size)
		return std::nullopt;
	const auto from = number_in(offset->text), length = number_in(size->text);
	for (const auto *value : {&offset, &size})
		if (!number_in((*value)->text))
			of.add("spi-map-number", entry, (*value)->offset, quoted((*value)->text) + " is no number");
	if (!from || !length)
		return std::nullopt;
	const byte_range range = {*from, std::uint64_t(*from) + *length};
	if (*length == 0)
		of.add("spi-map-empty", entry, size->offset, "the partition has no bytes");
	if (range.end > 0x100000000)
		of.add("spi-map-wraps", entry, size->offset, "the partition ends at " + hexadecimal(range.end));
	return map_row{entry, range};
}

void check_map(document &of, pugi::xml_node node)
{
	std::set<std::string> seen;
	std::vector<map_row> rows;

	for (const auto entry : entries_of(node)) {
		check_map_name(of, entry, seen);
		const auto row = checked_range(of, entry);
		if (!row)
			continue;
		const auto other =
			std::find_if(rows.begin(), rows.end(), [&](const map_row &one) { return one.range.overlaps(row->range); });
		if (other != rows.end())
			of.add("spi-map-overlap", entry,
			       "the partition overlaps " + other->range.text() + " of entry " +
				       quoted(other->xml.attribute("name").value()));
		rows.push_back(*row);
	}
}

} // namespace

void check_spi(document &of)
{
	std::set<std::uint32_t> carriers;

	for (const auto instance : instances_of(of))
		if (const auto parent = number_in(instance.attribute("parent").value()))
			carriers.insert(*parent);
	for (const auto instance : instances_of(of)) {
		check_info(of, node_of(instance, "spi_flash_info"));
		check_settings(of, instance, carriers);
		check_map(of, node_of(instance, "spi_flash_map"));
	}
}

} // namespace flash_board
