// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "block_state.hpp"

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

} // namespace

const char *block_state_name(block_state state)
{
	static constexpr std::array<const char *, block_states> names = {"untouched",	"erasing",  "erased",
									 "programming", "complete", "foreign"};
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

} // namespace powercut
