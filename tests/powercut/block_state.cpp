// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "block_state.hpp"

#include <algorithm>
#include <array>

namespace powercut {

namespace {

constexpr std::uint8_t blank = 0xff;

// The first place from `begin` on where found is not what byte(place) gives, or end.
template <typename expected_byte>
std::size_t first_other(std::span<const std::uint8_t> found, std::size_t begin, std::size_t end, expected_byte byte)
{
	while (begin < end && found[begin] == byte(begin))
		++begin;
	return begin;
}

// The first place from `begin` on that belongs to a page which is neither old nor new up to there, or the end.
std::size_t first_unmixed(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after, std::span<const std::uint8_t> found,
			  std::size_t begin, std::size_t page_size)
{
	while (begin < found.size()) {
		const auto page_end = std::min(found.size(), begin - begin % page_size + page_size);
		const auto old_end = first_other(found, begin, page_end, [&](std::size_t place) { return before[place]; });
		const auto new_end = first_other(found, begin, page_end, [&](std::size_t place) { return after[place]; });
		begin = std::max(old_end, new_end);
		if (begin < page_end)
			break;
	}
	return begin;
}

} // namespace

const char *block_state_name(block_state state)
{
	static constexpr std::array<const char *, block_states> names = {"untouched", "erasing", "erased", "programming",
									 "complete",  "mixed",	 "foreign"};
	return names[static_cast<std::size_t>(state)];
}

block_state block_state_of(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after, std::span<const std::uint8_t> found,
			   std::size_t torn_begin, std::size_t torn_end)
{
	const auto old_byte = [&](std::size_t place) { return before[place]; };
	const auto new_byte = [&](std::size_t place) { return after[place]; };
	const auto blank_byte = [](std::size_t) { return blank; };
	const bool torn = torn_begin != torn_end;
	const auto size = found.size();
	const auto all = [&](auto byte) { return !torn && first_other(found, 0, size, byte) == size; };
	const auto changes_once = [&](auto front, auto rest) {
		const auto change = first_other(found, 0, torn ? torn_begin : size, front);
		const bool front_is_whole = !torn || change == torn_begin;
		return front_is_whole && first_other(found, torn ? torn_end : change, size, rest) == size;
	};

	if (all(old_byte))
		return block_state::untouched;
	if (all(new_byte))
		return block_state::complete;
	if (all(blank_byte))
		return block_state::erased;
	if (changes_once(new_byte, blank_byte))
		return block_state::programming;
	if (changes_once(blank_byte, old_byte))
		return block_state::erasing;
	return block_state::foreign;
}

block_state block_state_in_pages(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after,
				 std::span<const std::uint8_t> found, std::size_t page_size)
{
	const auto state = block_state_of(before, after, found);
	if (state != block_state::foreign)
		return state;
	const auto blank_byte = [](std::size_t) { return blank; };
	const auto size = found.size();
	const auto mixed_end = first_unmixed(before, after, found, 0, page_size);
	const auto blank_end = first_other(found, 0, size, blank_byte);
	const bool front_is_mixed = first_other(found, mixed_end, size, blank_byte) == size;
	const bool rest_is_mixed = first_unmixed(before, after, found, blank_end, page_size) == size;
	return front_is_mixed || rest_is_mixed ? block_state::mixed : block_state::foreign;
}

} // namespace powercut
