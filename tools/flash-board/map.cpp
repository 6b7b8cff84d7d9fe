// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "map.hpp"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "range_search.hpp"

namespace flash_board {
namespace {

std::vector<byte_range> ranges_of(const map_bar &bar, bool with_usable)
{
	std::vector<byte_range> ranges;

	for (const auto &one : bar.spans)
		if (with_usable || one.kind != span_kind::usable)
			ranges.push_back(one.range);
	return ranges;
}

std::string place_of(const partition &one)
{
	std::string words;

	if (one.offset)
		words += hexadecimal(*one.offset) + " to " + (one.size ? hexadecimal(*one.offset + *one.size) : "the end");
	if (one.size)
		words += (words.empty() ? "" : ", ") + human_size(*one.size);
	return words;
}

class map_maker {
public:
	map_maker(const document &of, const mtd_layout *layout, std::optional<std::uint32_t> bom)
		: document_(of), layout_(layout), default_(instance_of(of, default_instance_id)), bom_(bom.value_or(bom_of(of, default_)))
	{
	}

	board_map make()
	{
		const auto tables = section_tables_of(default_);
		const auto name = chosen_table_name(tables.size(), bom_);
		const auto table = node_of(default_, name.c_str()), mtd_info = node_of(default_, "mtd_info");

		map_.title = "Flash of board " + std::string(document_.tree().child("board").attribute("name").value());
		map_.subtitle = "variant " + std::to_string(bom_) + ", " + (table ? "sections of node " + quoted(name) : "no sections");
		add_partitions();
		if (loads(mtd_info)) {
			add_sections(section_rows_of(document_, table), name);
			for (const auto entry : entries_of(mtd_info))
				add_usable(entry);
		}
		if (!unknown_.bars.empty())
			map_.groups.push_back(unknown_);
		for (const auto instance : instances_of(document_))
			add_spi_flash(instance);
		return std::move(map_);
	}

private:
	void add_partitions()
	{
		unknown_.title = layout_ ? "Not on this board" : "Partitions, sizes not known";
		for (const auto &one : layout_ ? *layout_ : mtd_layout()) {
			const auto title = one.device.empty() ? "MTD partitions" : one.device;
			if (map_.groups.empty() || map_.groups.back().title != title)
				map_.groups.push_back({title, {}});
			map_.groups.back().bars.push_back(
				{.title = one.name, .place = place_of(one), .size = one.size, .offset = one.offset, .is_partition = true});
		}
	}

	// Bars are found by the first partition of a name, as Linux finds them.
	map_bar &bar_of(const std::string &name)
	{
		if (places_.empty())
			for (std::size_t group = 0; group < map_.groups.size(); group++)
				for (std::size_t bar = 0; bar < map_.groups[group].bars.size(); bar++)
					places_.try_emplace(map_.groups[group].bars[bar].title, group, bar);
		if (const auto known = places_.find(name); known != places_.end())
			return map_.groups[known->second.first].bars[known->second.second];
		const auto [place, is_new] = unknown_places_.try_emplace(name, unknown_.bars.size());
		if (is_new)
			unknown_.bars.push_back({name, "", std::nullopt, layout_ != nullptr});
		return unknown_.bars[place->second];
	}

	std::string named_with_line(pugi::xml_node entry) const
	{
		return "entry " + quoted(entry.attribute("name").value()) + " in line " +
		       std::to_string(document_.from().at(document_.offset_of(entry)).line);
	}

	// A row of mtd_info that cannot be read ends the load.
	bool loads(pugi::xml_node mtd_info)
	{
		for (const auto entry : entries_of(mtd_info)) {
			const auto name = document_.attribute(entry, "mtd_name");
			if (name && name->text.size() <= longest_read_name && number_in(entry.attribute("avail_size").value()))
				continue;
			map_.left_out.push_back("flash_mng does not load, because it cannot read " + named_with_line(entry) +
						" of mtd_info");
			return false;
		}
		return true;
	}

	// One row that cannot be read drops the table.
	void add_sections(const std::vector<section_row> &rows, const std::string &table)
	{
		for (const auto &row : rows)
			if (!row.is_complete() || row.name->text.size() > longest_read_name) {
				map_.left_out.push_back("flash_mng drops all of " + table + ", because it cannot read " +
							named_with_line(row.xml));
				return;
			}
		for (const auto &row : rows)
			bar_of(row.name->text)
				.add({span_kind::section,
				      "section " + std::to_string(*row.id),
				      {0, *row.size},
				      row.range().text(),
				      *row.offset,
				      *row.id,
				      "",
				      document_.offset_of(row.xml)});
	}

	void add_usable(pugi::xml_node entry)
	{
		const auto size = *number_in(entry.attribute("avail_size").value());

		bar_of(document_.attribute(entry, "mtd_name")->text)
			.add({.kind = span_kind::usable,
			      .title = "usable " + human_size(size),
			      .range = {0, size},
			      .addresses = hexadecimal(size),
			      .at = document_.offset_of(entry)});
	}

	map_span spi_span(const std::string &name, const byte_range &range, pugi::xml_node entry) const
	{
		return {span_kind::spi_partition, name, range, range.text(), range.begin, {}, name, document_.offset_of(entry)};
	}

	void add_spi_partition(map_bar &bar, pugi::xml_node entry)
	{
		const auto name = document_.element(entry, "mtd_name"), offset = document_.element(entry, "offset"),
			   size = document_.element(entry, "size");
		const auto from = offset ? number_in(offset->text) : std::nullopt, length = size ? number_in(size->text) : std::nullopt;
		const auto whose = bar.title + ": " + named_with_line(entry);

		if (!name || name->text.size() > longest_map_name || (offset && size && (!from || !length)))
			map_.left_out.push_back(whose + " cannot be read");
		else if (!offset || !size)
			map_.left_out.push_back(whose + " has no range");
		else
			bar.add(spi_span(name->text, {*from, std::uint64_t(*from) + *length}, entry));
	}

	void add_spi_flash(pugi::xml_node instance)
	{
		map_bar bar = {"instance " + std::string(instance.attribute("id").value()), "", std::nullopt};

		bar.instance = id_of(instance);
		for (const auto entry : entries_of(node_of(instance, "spi_flash_map")))
			add_spi_partition(bar, entry);
		if (bar.spans.empty())
			return;
		if (map_.groups.empty() || map_.groups.back().title != spi_title)
			map_.groups.push_back({spi_title, {}});
		if (const auto *parent = instance.attribute("parent").value(); *parent)
			bar.place = "card " + std::string(instance.attribute("card").value()) + " of " + parent;
		map_.groups.back().bars.push_back(std::move(bar));
	}

	static constexpr const char *spi_title = "SPI flashes";
	static constexpr std::size_t longest_read_name = 39, longest_map_name = 18;

	const document &document_;
	const mtd_layout *layout_;
	pugi::xml_node default_;
	std::uint32_t bom_;
	board_map map_;
	map_group unknown_;
	std::unordered_map<std::string, std::pair<std::size_t, std::size_t>> places_; // group and bar of a partition
	std::unordered_map<std::string, std::size_t> unknown_places_;
};

} // namespace

void map_bar::add(map_span span)
{
	spans_end = std::max(spans_end, span.range.end);
	spans.push_back(std::move(span));
}

std::uint64_t map_bar::known_end() const
{
	return size.value_or(spans_end);
}

std::uint64_t map_bar::extent() const
{
	const auto end = known_end();

	return std::max<std::uint64_t>(size ? end : end + end / 4, 1);
}

std::vector<byte_range> map_bar::free_ranges() const
{
	std::vector<byte_range> free;
	std::uint64_t at = 0;

	for (const auto &taken : covered(ranges_of(*this, true), known_end(), 1)) {
		if (taken.begin > at)
			free.push_back({at, taken.begin});
		at = taken.end;
	}
	if (at < known_end())
		free.push_back({at, known_end()});
	return free;
}

std::vector<byte_range> map_bar::shared_ranges() const
{
	return covered(ranges_of(*this, false), extent(), 2);
}

std::uint32_t own_variant(const document &of)
{
	return bom_of(of, instance_of(of, default_instance_id));
}

std::vector<std::uint32_t> variants_of(const document &of)
{
	const auto tables = section_tables_of(instance_of(of, default_instance_id));
	std::set<std::uint32_t> found = {own_variant(of)};

	if (tables.size() < 2)
		return {*found.begin()};
	for (const auto table : tables) {
		const std::string_view name = table.attribute("name").value();
		const auto variant = name == "attr" ? 0 : number_in(name.substr(5));
		if (variant && chosen_table_name(tables.size(), *variant) == name)
			found.insert(*variant);
	}
	return {found.begin(), found.end()};
}

board_map map_of(const document &of, const mtd_layout *layout, std::optional<std::uint32_t> bom)
{
	return map_maker(of, layout, bom).make();
}

} // namespace flash_board
