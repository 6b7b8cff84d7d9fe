// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The module's memory: each caller takes its own from a region of its own, one piece behind the other, and none is used again. So an
// address tells which allocation of which caller it is, whatever the others do, and what is used after it was freed is seen.
#pragma once

#include <array>
#include <vector>

#include "access.hpp"

namespace schedules {

class arena {
public:
	static constexpr unsigned regions = 4; // the first one for what is done before the callers begin

	arena();
	arena(const arena &) = delete;
	arena &operator=(const arena &) = delete;
	~arena();

	// Everything is free again.
	void reset();
	void *take(unsigned region, std::size_t size);
	void give(void *memory);
	// The piece that starts there, as bytes.
	std::size_t size_of(const void *memory) const;

	bool contains(address where) const;
	// Whether all bytes are of live pieces. The range must begin inside.
	bool is_live(address start, std::size_t size) const;

private:
	static constexpr std::size_t region_size = std::size_t(4) << 20, granule = 16;
	static constexpr std::uint8_t freed = 0xff;

	std::uint8_t &mark(address where) { return marks_[(where - start_) / granule]; }
	std::uint8_t mark(address where) const { return marks_[(where - start_) / granule]; }

	address start_;
	std::array<std::size_t, regions> used_ = {};
	std::vector<std::uint8_t> marks_; // of each granule: how many of its bytes are live, or `freed`
};

} // namespace schedules
