// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a step of a caller touches: bytes of memory, and things that are no memory, which have addresses beyond all memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace schedules {

using address = std::uintptr_t;

struct access {
	address start;
	std::size_t size;
	bool write;
	bool marked; // atomic, or ordered by who it belongs to: no data race, whoever meets

	bool operator==(const access &) const = default;
};

constexpr address things = address(1) << 60;
constexpr address flash_content(int device, std::uint64_t offset = 0)
{
	return things + (address(static_cast<unsigned>(device)) << 40) + offset;
}
constexpr address killed(unsigned caller)
{
	return 2 * things + caller;
}
constexpr address hard_lock(std::uint32_t inst_id, std::uint32_t type)
{
	return 3 * things + (address(inst_id) << 8) + type;
}
constexpr address created_parts = 4 * things;
constexpr address registered_log = 5 * things;
constexpr address control_device = 6 * things;
constexpr address module_state = 7 * things; // whether Linux lets the module be used

inline bool overlap(const access &one, const access &other)
{
	return one.start < other.start + other.size && other.start < one.start + one.size;
}

class footprint {
public:
	void clear()
	{
		all_.clear();
		pages_ = 0;
	}

	void add(const access &one)
	{
		if (one.size == 0)
			return;
		if (one.size > 64 * 4096)
			pages_ = ~std::uint64_t(0);
		else
			for (address page = one.start >> 12; page <= (one.start + one.size - 1) >> 12; ++page)
				pages_ |= std::uint64_t(1) << (page * 0x9E3779B97F4A7C15u >> 58);
		if (!all_.empty() && all_.back().write == one.write && all_.back().marked == one.marked &&
		    all_.back().start + all_.back().size == one.start)
			all_.back().size += one.size;
		else
			all_.push_back(one);
	}

	const std::vector<access> &all() const { return all_; }
	bool operator==(const footprint &) const = default;

	// Whether two steps of different callers cannot change places.
	bool depends_on(const footprint &other) const
	{
		return (pages_ & other.pages_) && clash(other, [](const access &, const access &) { return true; });
	}

	// Two accesses that nothing but a common order of the steps keeps apart, at least one of them a store.
	bool clashes_unmarked(const footprint &other, access &found) const
	{
		return (pages_ & other.pages_) && clash(other, [&found](const access &one, const access &two) {
			       found = one;
			       return !(one.marked && two.marked);
		       });
	}

private:
	template <typename predicate> bool clash(const footprint &other, predicate counts) const
	{
		return std::any_of(all_.begin(), all_.end(), [&](const access &one) {
			return std::any_of(other.all_.begin(), other.all_.end(), [&](const access &two) {
				return (one.write || two.write) && overlap(one, two) && counts(one, two);
			});
		});
	}

	std::vector<access> all_;
	std::uint64_t pages_ = 0; // a sketch of the pages: nothing in common, no overlap
};

} // namespace schedules
