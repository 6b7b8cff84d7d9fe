// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The points of flash_mng's code that calls reach, as the kernel's KCOV records them. Each branch of the module leads to a point of its own
// where it was built for that; otherwise there are none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_set>

#include "calls.hpp"

namespace torture {

class coverage {
public:
	// Of the thread that makes it, until it is gone. Throws std::runtime_error when the kernel has no KCOV.
	coverage();
	coverage(const coverage &) = delete;
	coverage &operator=(const coverage &) = delete;
	~coverage();

	// A new input: what was reached since the last one counts no more.
	void restart();
	// Takes over what was reached since then; true when none had reached a part of it before.
	bool found_new();

	const std::unordered_set<uint64_t> &points() const { return points_; }

private:
	open_device kcov_;
	uint64_t *reached_; // how many, and the addresses
	std::unordered_set<uint64_t> points_;
};

} // namespace torture
