// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "map.hpp"

#include "range_search.hpp"

#include <algorithm>
#include <unordered_map>

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
		: m_document(of), m_layout(layout), m_default(instance_of(of, default_instance_id)),
		  m_bom(bom.value_or(bom_of(of, m_default)))
	{
	}

	board_map make()
	{
		const auto tables = section_tables_of(m_default);
		const auto name = chosen_table_name(tables.size(), m_bom);
		const auto table = node_of(m_default, name.c_str()), mtd_info = node_of(m_default, "mtd_info");

		m_map.title = "Flash of board " + std::string(m_document.tree().child("board").attribute("name").value());
		m_map.subtitle = "variant " + std::to_string(m_bom) + ", " + (table ? "sections of node " + quoted(name) : "no sections");
		add_partitions();
		if (loads(mtd_info)) {
			add_sections(section_rows_of(m_document, table), name);
			for (const auto entry : entries_of(mtd_info))
				add_usable(entry);
		}
		if (!m_unknown.bars.empty())
			m_map.groups.push_back(m_unknown);
		for (const auto instance : instances_of(m_document))
			add_spi_flash(instance);
		return std::move(m_map);
	}

private:
	void add_partitions()
	{
		m_unknown.title = m_layout ? "Not on this board" : "Partitions, sizes not known";
		for (const auto &one : m_layout ? *m_layout : mtd_layout()) {
			const auto title = one.device.empty() ? "MTD partitions" : one.device;
			if (m_map.groups.empty() || m_map.groups.back().title != title)
				m_map.groups.push_back({title, {}});
			m_map.groups.back().bars.push_back({one.name, place_of(one), one.size});
		}
	}

	// Bars are found by the first partition of a name, as Linux finds them.
	map_bar &bar_of(const std::string &name)
	{
		if (m_places.empty())
			for (std::size_t group = 0; group < m_map.groups.size(); group++)
				for (std::size_t bar = 0; bar < m_map.groups[group].bars.size(); bar++)
					m_places.try_emplace(m_map.groups[group].bars[bar].title, group, bar);
		if (const auto known = m_places.find(name); known != m_places.end())
			return m_map.groups[known->second.first].bars[known->second.second];
		const auto [place, is_new] = m_unknown_places.try_emplace(name, m_unknown.bars.size());
		if (is_new)
			m_unknown.bars.push_back({name, "", std::nullopt, m_layout != nullptr});
		return m_unknown.bars[place->second];
	}

	std::string named_with_line(pugi::xml_node entry) const
	{
		return "entry " + quoted(entry.attribute("name").value()) + " in line " +
		       std::to_string(m_document.from().at(m_document.offset_of(entry)).line);
	}

	// A row of mtd_info that cannot be read ends the load.
	bool loads(pugi::xml_node mtd_info)
	{
		for (const auto entry : entries_of(mtd_info)) {
			const auto name = m_document.attribute(entry, "mtd_name");
			if (name && name->text.size() <= longest_read_name && number_in(entry.attribute("avail_size").value()))
				continue;
			m_map.left_out.push_back("flash_mng does not load, because it cannot read " + named_with_line(entry) +
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
				m_map.left_out.push_back("flash_mng drops all of " + table + ", because it cannot read " +
							 named_with_line(row.xml));
				return;
			}
		for (const auto &row : rows)
			bar_of(row.name->text)
				.add({span_kind::section, "section " + std::to_string(*row.id), {0, *row.size}, row.range().text()});
	}

	void add_usable(pugi::xml_node entry)
	{
		const auto size = *number_in(entry.attribute("avail_size").value());

		bar_of(m_document.attribute(entry, "mtd_name")->text)
			.add({span_kind::usable, "usable " + human_size(size), {0, size}, hexadecimal(size)});
	}

	static map_span spi_span(const std::string &name, const byte_range &range)
	{
		return {span_kind::spi_partition, name, range, range.text()};
	}

	void add_spi_partition(map_bar &bar, pugi::xml_node entry)
	{
		const auto name = m_document.element(entry, "mtd_name"), offset = m_document.element(entry, "offset"),
			   size = m_document.element(entry, "size");
		const auto from = offset ? number_in(offset->text) : std::nullopt, length = size ? number_in(size->text) : std::nullopt;
		const auto whose = bar.title + ": " + named_with_line(entry);

		if (!name || name->text.size() > longest_map_name || (offset && size && (!from || !length)))
			m_map.left_out.push_back(whose + " cannot be read");
		else if (!offset || !size)
			m_map.left_out.push_back(whose + " has no range");
		else
			bar.add(spi_span(name->text, {*from, std::uint64_t(*from) + *length}));
	}

	void add_spi_flash(pugi::xml_node instance)
	{
		map_bar bar = {"instance " + std::string(instance.attribute("id").value()), "", std::nullopt};

		for (const auto entry : entries_of(node_of(instance, "spi_flash_map")))
			add_spi_partition(bar, entry);
		if (bar.spans.empty())
			return;
		if (m_map.groups.empty() || m_map.groups.back().title != spi_title)
			m_map.groups.push_back({spi_title, {}});
		if (const auto *parent = instance.attribute("parent").value(); *parent)
			bar.place = "card " + std::string(instance.attribute("card").value()) + " of " + parent;
		m_map.groups.back().bars.push_back(std::move(bar));
	}

	static constexpr const char *spi_title = "SPI flashes";
	static constexpr std::size_t longest_read_name = 39, longest_map_name = 18;

	const document &m_document;
	const mtd_layout *m_layout;
	pugi::xml_node m_default;
	std::uint32_t m_bom;
	board_map m_map;
	map_group m_unknown;
	std::unordered_map<std::string, std::pair<std::size_t, std::size_t>> m_places; // group and bar of a partition
	std::unordered_map<std::string, std::size_t> m_unknown_places;
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

board_map map_of(const document &of, const mtd_layout *layout, std::optional<std::uint32_t> bom)
{
	return map_maker(of, layout, bom).make();
}

} // namespace flash_board
