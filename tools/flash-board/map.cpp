// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "map.hpp"

#include <algorithm>

namespace flash_board {
namespace {

// The ranges of [0, end) that at least @least of the given ranges cover.
std::vector<byte_range> covered(const std::vector<byte_range> &ranges, std::uint64_t end, std::ptrdiff_t least)
{
	std::vector<std::uint64_t> borders = {0, end};
	std::vector<byte_range> found;

	for (const auto &one : ranges)
		for (const auto border : {one.begin, one.end})
			borders.push_back(std::min(border, end));
	std::sort(borders.begin(), borders.end());
	for (std::size_t i = 1; i < borders.size(); i++) {
		const byte_range part = {borders[i - 1], borders[i]};
		const auto count = std::count_if(ranges.begin(), ranges.end(), [&](const byte_range &one) { return one.contains(part); });
		if (part.begin == part.end || count < least)
			continue;
		if (!found.empty() && found.back().end == part.begin)
			found.back().end = part.end;
		else
			found.push_back(part);
	}
	return found;
}

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
		const auto table = chosen_table_name(tables.size(), m_bom);

		m_map.title = "Flash of board " + std::string(m_document.tree().child("board").attribute("name").value());
		m_map.subtitle = "variant " + std::to_string(m_bom) + ", " +
				 (node_of(m_default, table.c_str()) ? "sections of node " + quoted(table) : "no sections");
		add_partitions();
		for (const auto &row : section_rows_of(m_document, node_of(m_default, table.c_str())))
			add_section(row);
		for (const auto entry : entries_of(node_of(m_default, "mtd_info")))
			add_usable(entry);
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

	map_bar &bar_of(const std::string &name)
	{
		const auto is_wanted = [&](const map_bar &one) { return one.title == name; };

		for (auto &group : m_map.groups)
			if (const auto found = std::find_if(group.bars.begin(), group.bars.end(), is_wanted); found != group.bars.end())
				return *found;
		if (const auto found = std::find_if(m_unknown.bars.begin(), m_unknown.bars.end(), is_wanted); found != m_unknown.bars.end())
			return *found;
		m_unknown.bars.push_back({name, "", std::nullopt, m_layout != nullptr});
		return m_unknown.bars.back();
	}

	void add_section(const section_row &row)
	{
		if (row.is_complete())
			bar_of(row.name->text)
				.spans.push_back(
					{span_kind::section, "section " + std::to_string(*row.id), {0, *row.size}, row.range().text()});
	}

	void add_usable(pugi::xml_node entry)
	{
		const auto name = m_document.attribute(entry, "mtd_name");
		const auto size = number_in(entry.attribute("avail_size").value());

		if (name && size)
			bar_of(name->text)
				.spans.push_back({span_kind::usable, "usable " + human_size(*size), {0, *size}, hexadecimal(*size)});
	}

	void add_spi_flash(pugi::xml_node instance)
	{
		map_bar bar = {"instance " + std::string(instance.attribute("id").value()), "", std::nullopt};

		for (const auto entry : entries_of(node_of(instance, "spi_flash_map"))) {
			const auto name = m_document.element(entry, "mtd_name"), offset = m_document.element(entry, "offset"),
				   size = m_document.element(entry, "size");
			const auto from = offset ? number_in(offset->text) : std::nullopt,
				   length = size ? number_in(size->text) : std::nullopt;
			if (!name || !from || !length)
				continue;
			const byte_range range = {*from, std::uint64_t(*from) + *length};
			bar.spans.push_back({span_kind::spi_partition, name->text, range, range.text()});
		}
		if (bar.spans.empty())
			return;
		if (m_map.groups.empty() || m_map.groups.back().title != spi_title)
			m_map.groups.push_back({spi_title, {}});
		if (const auto *parent = instance.attribute("parent").value(); *parent)
			bar.place = "card " + std::string(instance.attribute("card").value()) + " of " + parent;
		m_map.groups.back().bars.push_back(std::move(bar));
	}

	static constexpr const char *spi_title = "SPI flashes";

	const document &m_document;
	const mtd_layout *m_layout;
	pugi::xml_node m_default;
	std::uint32_t m_bom;
	board_map m_map;
	map_group m_unknown;
};

} // namespace

std::uint64_t map_bar::known_end() const
{
	std::uint64_t end = 0;

	for (const auto &one : spans)
		end = std::max(end, one.range.end);
	return size.value_or(end);
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
