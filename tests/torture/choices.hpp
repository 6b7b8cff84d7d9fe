// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Seeded choices: the same numbers in the same order, whatever the timing.
#pragma once

#include <cstdint>
#include <iterator>

namespace torture {

inline uint64_t mixed(uint64_t value)
{
	value += 0x9e3779b97f4a7c15;
	value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
	value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
	return value ^ (value >> 31);
}

class choices {
public:
	explicit choices(uint64_t seed) : state_(seed) {}
	// Those of one step of one thread, however many choices earlier steps made.
	choices(uint64_t seed, uint64_t thread, uint64_t step) : state_(mixed(mixed(seed ^ mixed(thread)) + step)) {}

	uint64_t next() { return mixed(state_++); }
	// 0 to limit - 1
	uint32_t below(uint32_t limit) { return static_cast<uint32_t>((next() >> 16) % limit); }
	bool one_in(uint32_t count) { return below(count) == 0; }

	template <typename list> auto &of(list &&items) { return items[below(static_cast<uint32_t>(std::size(items)))]; }

private:
	uint64_t state_;
};

} // namespace torture
