// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_spi.hpp"

#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

#include "range_search.hpp"
#include "tables.hpp"

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
	std::set<std::string> names;

	for (const auto entry : entries)
		names.insert(entry.attribute("name").value());
	for (std::size_t i = 0; i < entries.size(); i++) {
		const auto wanted = "entry" + std::to_string(i);
		if (names.contains(wanted))
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

void check_lock_without_type(document &of, pugi::xml_node entry)
{
	for (const auto *name : {"hardlock_val", "hardunlock_val"}) {
		const auto value = of.element(entry, name);
		if (!value || of.element(entry, "hardlock_type"))
			continue;
		of.add("spi-lock-without-type", entry, value->offset, std::string(name) + " is given, but no hardlock_type");
		return;
	}
}

// Entries that were looked at, by the flash that they describe.
struct described_flash {
	std::uint32_t chip, controller, select;
	bool operator<(const described_flash &other) const
	{
		return std::tie(chip, controller, select) < std::tie(other.chip, other.controller, other.select);
	}
};
using described_flashes = std::map<described_flash, pugi::xml_node>;

std::string named_with_line(const document &of, pugi::xml_node entry)
{
	return "entry " + quoted(entry.attribute("name").value()) + " in line " + std::to_string(of.from().at(of.offset_of(entry)).line);
}

void check_address(document &of, pugi::xml_node entry, described_flashes &seen)
{
	const auto chip = element_number(of, entry, "sfc_chip_id"), controller = element_number(of, entry, "sfc_ctrl"),
		   select = element_number(of, entry, "sfc_cs");

	if (!chip || !controller || !select)
		return;
	const auto [found, is_first] = seen.try_emplace({*chip, *controller, *select}, entry);
	const auto other = found->second;
	if (is_first ||
	    (other.parent() == entry.parent() && element_number(of, other, "flash_id") == element_number(of, entry, "flash_id")))
		return; // of the same card: another rule's
	of.add(other.parent() == entry.parent() ? "spi-flash-twice" : "spi-flash-elsewhere", entry,
	       of.element(entry, "sfc_chip_id")->offset,
	       named_with_line(of, other) + " describes chip " + std::to_string(*chip) + ", controller " + std::to_string(*controller) +
		       ", select " + std::to_string(*select) + " too");
}

void check_info(document &of, pugi::xml_node node, described_flashes &flashes)
{
	std::set<std::uint32_t> seen;

	check_numbering(of, node);
	for (const auto entry : entries_of(node)) {
		check_elements_given(of, entry, {{"flash_id", true}, {"sfc_chip_id", true}, {"sfc_ctrl", true}, {"sfc_cs", true}},
				     "spi-field-missing", "spi-number");
		check_lock_numbers(of, entry);
		check_lock_without_type(of, entry);
		check_flash_id(of, entry, seen);
		check_address(of, entry, flashes);
	}
}

// ---- instances and their settings

void check_lock_value(document &of, pugi::xml_node instance, pugi::xml_node entry, pugi::xml_node lock, const char *setting,
		      const char *stated)
{
	const auto wanted = number_in(lock.attribute(stated).value());
	const auto text = of.element(entry, setting);
	const auto given = element_number(of, entry, setting).value_or(0xFFFFFFFF);

	if (wanted && *wanted != given)
		of.add("spi-lock-mismatch", entry, text ? text->offset : of.offset_of(entry),
		       std::string(setting) + " is " + (text ? hexadecimal(given) : "left out, which is 0xffffffff") + "; " + stated +
			       " of the lock of instance " + instance.attribute("id").value() + " in line " +
			       std::to_string(of.from().at(of.offset_of(lock)).line) + " is " + hexadecimal(*wanted));
}

void check_lock(document &of, pugi::xml_node instance, pugi::xml_node entry)
{
	const auto type = element_number(of, entry, "hardlock_type").value_or(never_locked);
	const auto lock = instance.find_child([&](pugi::xml_node child) {
		return std::string_view(child.name()) == "hard_lock" && number_in(child.attribute("type").value()) == type;
	});

	if (type == never_locked)
		return;
	if (!lock) {
		of.add("spi-lock-not-described", entry, of.element(entry, "hardlock_type")->offset,
		       "instance " + std::string(instance.attribute("id").value()) + " has no <hard_lock> of type " + std::to_string(type));
		return;
	}
	check_lock_value(of, instance, entry, lock, "hardlock_val", "lock_val");
	check_lock_value(of, instance, entry, lock, "hardunlock_val", "unlock_val");
}

// The instances, and the entries of their settings, by number.
class settings_index {
public:
	explicit settings_index(const document &of) : document_(of)
	{
		for (const auto instance : instances_of(of))
			if (const auto id = id_of(instance))
				instances_.try_emplace(*id, instance);
	}

	pugi::xml_node info_of(std::uint32_t instance) const
	{
		const auto found = instances_.find(instance);

		return found == instances_.end() ? pugi::xml_node() : node_of(found->second, "spi_flash_info");
	}

	pugi::xml_node entry_of_card(pugi::xml_node info, std::uint32_t card)
	{
		const auto [table, is_new] = entries_.try_emplace(info.internal_object());

		if (is_new)
			for (const auto entry : entries_of(info))
				if (const auto id = element_number(document_, entry, "flash_id"))
					table->second.try_emplace(*id, entry);
		const auto found = table->second.find(card);
		return found == table->second.end() ? pugi::xml_node() : found->second;
	}

private:
	using entries_by_card = std::unordered_map<std::uint32_t, pugi::xml_node>;

	const document &document_;
	std::unordered_map<std::uint32_t, pugi::xml_node> instances_;
	std::unordered_map<pugi::xml_node_struct *, entries_by_card> entries_;
};

void check_own_settings(document &of, settings_index &all, pugi::xml_node instance, pugi::xml_node info, bool is_wanted)
{
	if (const auto entry = all.entry_of_card(info, own_card))
		check_lock(of, instance, entry);
	else if (is_wanted)
		of.add("spi-own-entry-missing", info, "no entry has flash_id 0xffffffff");
}

void check_parents_settings(document &of, settings_index &all, pugi::xml_node instance, pugi::xml_node info)
{
	const auto card = number_in(instance.attribute("card").value());

	if (!card)
		return;
	if (const auto entry = all.entry_of_card(info, *card))
		check_lock(of, instance, entry);
	else
		of.add("spi-card-without-entry", instance, of.offset_of(instance, "card"),
		       "instance " + std::string(instance.attribute("parent").value()) + " has no entry with flash_id " +
			       std::to_string(*card));
}

void check_settings(document &of, settings_index &all, pugi::xml_node instance, const std::set<std::uint32_t> &carriers)
{
	const auto id = id_of(instance);
	const auto parent = number_in(instance.attribute("parent").value());
	const bool has_map = node_of(instance, "spi_flash_map");
	const bool is_card = parent && !(id && carriers.contains(*id));
	const auto own = node_of(instance, "spi_flash_info");
	const auto of_parent = parent && id != default_instance_id ? all.info_of(*parent) : pugi::xml_node();

	if (own)
		check_own_settings(of, all, instance, own, has_map || is_card);
	else if (of_parent)
		check_parents_settings(of, all, instance, of_parent);
	else if (has_map)
		of.add("spi-no-settings", node_of(instance, "spi_flash_map"),
		       "neither this instance nor its parent has a node \"spi_flash_info\"");
}

// ---- spi_flash_map

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
std::optional<byte_range> checked_range(document &of, pugi::xml_node entry)
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
	return range;
}

void check_map(document &of, pugi::xml_node node)
{
	std::set<std::string> seen;
	std::vector<pugi::xml_node> entries;
	std::vector<byte_range> ranges;

	for (const auto entry : entries_of(node)) {
		check_map_name(of, entry, seen);
		if (const auto range = checked_range(of, entry)) {
			entries.push_back(entry);
			ranges.push_back(*range);
		}
	}
	const auto others = first_overlapping(ranges);
	for (std::size_t i = 0; i < ranges.size(); i++)
		if (others[i] != none_before)
			of.add("spi-map-overlap", entries[i],
			       "the partition overlaps " + ranges[others[i]].text() + " of entry " +
				       quoted(entries[others[i]].attribute("name").value()));
}

} // namespace

void check_spi(document &of)
{
	std::set<std::uint32_t> carriers;
	described_flashes flashes;
	settings_index all(of);

	for (const auto instance : instances_of(of))
		if (const auto parent = number_in(instance.attribute("parent").value()))
			carriers.insert(*parent);
	for (const auto instance : instances_of(of)) {
		check_info(of, node_of(instance, "spi_flash_info"), flashes);
		check_settings(of, all, instance, carriers);
		check_map(of, node_of(instance, "spi_flash_map"));
	}
}

} // namespace flash_board
