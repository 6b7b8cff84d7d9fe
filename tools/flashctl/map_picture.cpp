// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "map_picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>

#include "common/printable.hpp"
#include "mtd_words.hpp"
#include "number.hpp"

namespace flashctl {

namespace {

constexpr std::size_t most_rows = 8, most_columns = 64, fewest_columns = 8;
constexpr std::size_t address_width = 13; // "  0x00000000 "

// From the best to the worst.
enum class cell { spare, plain, usable, worn, unreadable, bad };

struct letter {
	const char *ascii, *utf8, *meaning;
};

constexpr std::array<letter, 6> letters = {{{".", "\u2591", "spare: beyond the usable bytes"},
					    {"-", "\u2500", "good; usable bytes not known"},
					    {"#", "\u2588", "with usable bytes"},
					    {"w", "\u2593", "worn: has corrected bits"},
					    {"!", "!", "unreadable: cannot be corrected"},
					    {"X", "\u2573", "bad"}}};

const char *shown(cell what, const canvas &canvas)
{
	const letter &known = letters[static_cast<std::size_t>(what)];
	return canvas.utf8 ? known.utf8 : known.ascii;
}

// Usable bytes lie in the good blocks, one after the other from the first on.
std::vector<cell> cells_of(const mapped_partition &part)
{
	std::vector<cell> cells;
	std::uint64_t left = part.device.usable.value_or(0);
	for (const block_state block : *part.blocks) {
		if (block == block_state::bad) {
			cells.push_back(cell::bad);
			continue;
		}
		const cell good = !part.device.usable ? cell::plain : left ? cell::usable : cell::spare;
		cells.push_back(block == block_state::worn ? cell::worn : block == block_state::unreadable ? cell::unreadable : good);
		left -= std::min<std::uint64_t>(left, part.device.erase_size);
	}
	return cells;
}

std::vector<cell> merged(const std::vector<cell> &cells, std::size_t each)
{
	std::vector<cell> fewer;
	for (std::size_t i = 0; i < cells.size(); i += each)
		fewer.push_back(*std::max_element(cells.begin() + static_cast<std::ptrdiff_t>(i),
						  cells.begin() + static_cast<std::ptrdiff_t>(std::min(i + each, cells.size()))));
	return fewer;
}

std::string heading_of(const mapped_partition &part)
{
	const mtd_device &device = part.device;
	std::string text = fmt::format("mtd{} {}: {}, {}", device.number, tools::printable(device.name), mtd_type_name(device.type),
				       human_size(device.size));
	if (device.erase_size)
		text += fmt::format(", {} blocks of {}", device.size / device.erase_size, human_size(device.erase_size));
	if (device.usable)
		text += fmt::format(", {} usable", human_size(*device.usable));
	return text;
}

// What no place in the picture shows.
std::string notes_of(const mapped_partition &part, std::size_t each)
{
	std::string text;
	if (part.blocks && each > 1)
		text += fmt::format("  each letter is {} blocks\n", each);
	if (!part.blocks)
		text += fmt::format("  {} bad blocks; where they are only the character device tells, which cannot be read here\n",
				    part.health.counts.bad_blocks ? std::to_string(*part.health.counts.bad_blocks) : "unknown");
	if (const auto bits = part.health.counts.corrected_bits.value_or(0))
		text += fmt::format("  {} bit{} corrected since the board was started\n", bits, bits == 1 ? "" : "s");
	return text;
}

class painter {
public:
	explicit painter(const canvas &canvas)
		: canvas_(canvas), columns_(std::clamp(canvas.width - std::min(canvas.width, address_width), fewest_columns, most_columns))
	{
	}

	std::string paint(const mapped_partition &part)
	{
		const std::vector<cell> cells = part.blocks ? cells_of(part) : std::vector<cell>();
		const std::size_t room = columns_ * most_rows;
		const std::size_t each = std::max<std::size_t>(1, (cells.size() + room - 1) / room);
		std::string text = heading_of(part) + "\n";
		const auto fewer = merged(cells, each);
		for (std::size_t i = 0; i < fewer.size(); i += columns_)
			text += row(part, fewer, i, each);
		return text + notes_of(part, each);
	}

	std::string legend() const
	{
		std::string text;
		for (const cell what : used_)
			text += fmt::format("{} {}\n", shown(what, canvas_), letters[static_cast<std::size_t>(what)].meaning);
		return text;
	}

private:
	std::string row(const mapped_partition &part, const std::vector<cell> &cells, std::size_t from, std::size_t each)
	{
		std::string text = fmt::format("  {:#010x} ", from * each * std::uint64_t{part.device.erase_size});
		for (std::size_t i = from; i < std::min(from + columns_, cells.size()); ++i) {
			text += shown(cells[i], canvas_);
			used_.insert(cells[i]);
		}
		return text + "\n";
	}

	const canvas canvas_;
	const std::size_t columns_;
	std::set<cell> used_;
};

} // namespace

std::string picture_of(const map_outcome &found, const canvas &canvas)
{
	painter painter(canvas);
	std::string text;
	for (const mapped_partition &part : found.partitions)
		text += painter.paint(part);
	return text + painter.legend();
}

} // namespace flashctl
