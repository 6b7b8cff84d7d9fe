// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "nor_check.hpp"

#include <algorithm>

#include "client/plan.h"

namespace powercut {

namespace {

using content = std::span<const std::uint8_t>;

constexpr std::size_t page_size = 4096; // of the production kernel

std::size_t place_of(const powercut_write &write)
{
	return std::size_t(write.path) * POWERCUT_PARTITION_SIZE + write.offset;
}

content block_of(content image, std::size_t block)
{
	return image.subspan(block * POWERCUT_BLOCK_SIZE, POWERCUT_BLOCK_SIZE);
}

std::string describe_difference(content expected, content found, std::size_t block)
{
	const auto [wanted, seen] = std::mismatch(expected.begin(), expected.end(), found.begin());
	const auto address = block * POWERCUT_BLOCK_SIZE + static_cast<std::size_t>(wanted - expected.begin());
	return "block " + std::to_string(block) + " byte " + std::to_string(address) + ": " + std::to_string(*seen) + " instead of " +
	       std::to_string(*wanted);
}

// Of the flash buffer service: blocks are rewritten one after the other: new ones in front, then at most one on its way, then old ones.
void check_order(std::span<const block_state> states, std::span<const std::size_t> blocks, std::vector<std::string> &findings)
{
	const auto flight = std::find_if(states.begin(), states.end(), [](block_state state) { return state != block_state::complete; });
	if (flight == states.end())
		return;
	const auto late = std::find_if(flight + 1, states.end(), [](block_state state) { return state != block_state::untouched; });
	if (late != states.end())
		findings.push_back("block " + std::to_string(blocks[static_cast<std::size_t>(late - states.begin())]) + " is " +
				   block_state_name(*late) + " although the one before is " + block_state_name(*(late - 1)));
}

} // namespace

bool nor_verdict::is_torn() const
{
	const auto count = [this](block_state state) { return in_flight[static_cast<std::size_t>(state)]; };
	return count(block_state::erasing) + count(block_state::erased) + count(block_state::programming) + count(block_state::mixed) > 0;
}

bool nor_verdict::is_complete() const
{
	return !is_torn() && in_flight[static_cast<std::size_t>(block_state::untouched)] == 0;
}

bool nor_verdict::is_untouched() const
{
	return !is_torn() && in_flight[static_cast<std::size_t>(block_state::complete)] == 0;
}

std::vector<std::uint8_t> first_content(std::uint32_t seed)
{
	std::vector<std::uint8_t> image(POWERCUT_FLASH_SIZE);
	powercut_fill(seed, 0, image.data(), POWERCUT_FLASH_SIZE);
	return image;
}

void apply_generation(std::span<std::uint8_t> image, std::uint32_t seed, std::uint32_t generation)
{
	const auto write = powercut_plan(seed, generation);
	powercut_fill(seed, generation, image.data() + place_of(write), write.length);
}

nor_verdict check_nor(std::vector<std::uint8_t> &expected, content found, const reported_writes &writes)
{
	for (auto generation = writes.first; generation <= writes.reported; ++generation)
		apply_generation(expected, writes.seed, generation);
	auto after = expected;
	apply_generation(after, writes.seed, writes.reported + 1);

	const auto flight = powercut_plan(writes.seed, writes.reported + 1);
	const auto first_block = place_of(flight) / POWERCUT_BLOCK_SIZE;
	const auto last_block = (place_of(flight) + flight.length - 1) / POWERCUT_BLOCK_SIZE;
	const bool by_service = flight.path == POWERCUT_BY_SERVICE;
	std::vector<block_state> states;
	std::vector<std::size_t> blocks;
	nor_verdict verdict;

	for (std::size_t block = 0; block < found.size() / POWERCUT_BLOCK_SIZE; ++block) {
		const auto was = block_of(expected, block);
		const auto is = block_of(found, block);
		if (block < first_block || block > last_block) {
			if (!std::equal(was.begin(), was.end(), is.begin()))
				verdict.findings.push_back(describe_difference(was, is, block));
			continue;
		}
		const auto will_be = block_of(after, block);
		const bool says_nothing =
			std::equal(was.begin(), was.end(), is.begin()) && std::equal(was.begin(), was.end(), will_be.begin());
		if (says_nothing) // a write that is done again finds some of its blocks new
			continue;
		states.push_back(by_service ? block_state_of(was, will_be, is) : block_state_in_pages(was, will_be, is, page_size));
		blocks.push_back(block);
		++verdict.in_flight[static_cast<std::size_t>(states.back())];
		if (states.back() == block_state::foreign)
			verdict.findings.push_back("block " + std::to_string(block) + ", in flight, is neither old nor new nor erased");
	}
	if (by_service)
		check_order(states, blocks, verdict.findings);
	return verdict;
}

} // namespace powercut
