// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The bytes of an input, read as choices from the first to the last. One that has come to its end gives zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "harness.hpp"

namespace fuzz {

using harness::bytes;

class input {
public:
	explicit input(std::span<const uint8_t> content) : rest_(content) {}

	bool is_over() const { return rest_.empty(); }
	uint32_t byte();
	uint32_t number();
	bool one_in(uint32_t count) { return byte() % count == count - 1; }
	template <typename list> const auto &of(const list &items) { return items[byte() % std::size(items)]; }
	bytes some(std::size_t count);

	// A size or a place in a partition: near a limit, any small one, or more than there is memory. Nothing between what is quick and
	// what no allocator has.
	uint32_t size();
	// Where a range of that length begins: often so that it ends at a limit, or one byte beside.
	uint32_t start_of(uint32_t length);

private:
	std::span<const uint8_t> rest_;
};

} // namespace fuzz
