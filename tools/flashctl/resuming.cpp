// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "resuming.hpp"

#include <algorithm>

namespace flashctl {

namespace {

// The part of a range in the erase block of its byte `at`.
range block_at(const range &part, std::uint32_t at)
{
	const std::uint32_t block = std::max(part.device.erase_size, 1u);
	const std::uint32_t to_edge = block - at % block;
	return {part.device, at, std::min(to_edge, part.offset + part.length - at)};
}

bool is_held(const range &block, const range &part, byte_view data, const picture &taken)
{
	const byte_view wanted = data.subspan(block.offset - part.offset, block.length);
	const byte_view found = byte_view(taken.before).subspan(block.offset - taken.area.offset, block.length);
	return std::ranges::equal(wanted, found);
}

template <typename visitor_type> void for_each_block(const range &part, const visitor_type &visit)
{
	for (std::uint32_t done = 0; done < part.length;) {
		const range block = block_at(part, part.offset + done);
		visit(block);
		done += block.length;
	}
}

} // namespace

std::uint32_t held_blocks(const range &part, byte_view data, const picture &taken)
{
	std::uint32_t held = 0;
	for_each_block(part, [&](const range &block) { held += is_held(block, part, data, taken); });
	return held;
}

std::vector<range> missing_ranges(const range &part, byte_view data, const picture &taken)
{
	std::vector<range> missing;
	for_each_block(part, [&](const range &block) {
		if (is_held(block, part, data, taken))
			return;
		if (!missing.empty() && missing.back().offset + missing.back().length == block.offset)
			missing.back().length += block.length;
		else
			missing.push_back(block);
	});
	return missing;
}

void write_part(workplace &place, const range &part, byte_view data, const picture *taken, bool resume)
{
	if (!resume || !taken)
		return write_data(place, part, data, taken);
	const std::vector<range> all = missing_ranges(part, data, *taken);
	place.work.total -= part.length;
	for (const range &missing : all)
		place.work.total += missing.length;
	for (const range &missing : all)
		write_data(place, missing, data.subspan(missing.offset - part.offset, missing.length), taken);
}

} // namespace flashctl
