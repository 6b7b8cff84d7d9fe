// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The map for a terminal.
#include <algorithm>
#include <cmath>

#include "common/printable.hpp"
#include "map.hpp"

namespace flash_board {
namespace {

constexpr std::size_t bar_width = 48;

std::size_t scaled(std::uint64_t offset, std::uint64_t extent)
{
	return static_cast<std::size_t>(
		std::lround(static_cast<double>(std::min(offset, extent)) / static_cast<double>(extent) * bar_width));
}

// Something that is there is seen, however small.
std::string drawn(const byte_range &range, std::uint64_t extent, char with)
{
	const auto from = std::min(scaled(range.begin, extent), bar_width - 1);
	const auto to = std::max(scaled(range.end, extent), from + 1);
	std::string line(bar_width, ' ');

	std::fill(line.begin() + static_cast<std::ptrdiff_t>(from), line.begin() + static_cast<std::ptrdiff_t>(to), with);
	return line;
}

char mark_of(span_kind kind)
{
	return kind == span_kind::usable ? '=' : '#';
}

std::string span_line(const map_bar &bar, const map_span &span, const std::string &shared)
{
	auto line = drawn(span.range, bar.extent(), mark_of(span.kind));
	std::string words = span.kind == span_kind::usable ? span.title : span.title + ", " + span.addresses;

	for (std::size_t i = 0; i < line.size(); i++)
		if (span.kind != span_kind::usable && line[i] != ' ' && shared[i] == 'X')
			line[i] = 'X';
	if (span.range.end > bar.extent())
		words += ", " + human_size(span.range.end - bar.extent()) + " BEYOND THE END";
	return "  |" + line + "| " + words + "\n";
}

// Where more than one lies.
std::string shared_marks(const map_bar &bar)
{
	std::string marks(bar_width, ' ');

	for (const auto &shared : bar.shared_ranges())
		for (std::size_t i = scaled(shared.begin, bar.extent()); i < scaled(shared.end, bar.extent()); i++)
			marks[i] = 'X';
	return marks;
}

std::string bar_lines(const map_bar &bar)
{
	auto text = bar.title + (bar.is_missing ? " (no such partition)" : "") + (bar.place.empty() ? "" : ": " + bar.place) + "\n";
	const auto shared = shared_marks(bar);

	for (const auto &span : bar.spans)
		text += span_line(bar, span, shared);
	for (const auto &free : bar.free_ranges())
		text += "  |" + drawn(free, bar.extent(), '.') + "| free " + human_size(free.end - free.begin) + "\n";
	if (!bar.size && !bar.is_missing)
		text += "  |" + drawn({bar.known_end(), bar.extent()}, bar.extent(), '?') + "| size not known\n";
	return text;
}

} // namespace

std::string as_text(const board_map &map)
{
	auto text = map.title + ", " + map.subtitle + "\n";

	for (const auto &one : map.left_out)
		text += "left out: " + one + "\n";
	for (const auto &group : map.groups) {
		text += "\n" + group.title + "\n" + std::string(group.title.size(), '-') + "\n";
		for (const auto &bar : group.bars)
			text += bar_lines(bar);
	}
	return tools::printable_lines(text + "\n# section or SPI partition   = usable   . free   X more than one   ? not known\n");
}

} // namespace flash_board
