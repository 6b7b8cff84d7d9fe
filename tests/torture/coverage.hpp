// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Which code of the kernel this thread runs: KCOV, where the kernel has it.
#pragma once

#include <cstdint>
#include <vector>

namespace torture {

class coverage {
public:
	// Begins to count for the calling thread.
	coverage();
	coverage(const coverage &) = delete;
	coverage &operator=(const coverage &) = delete;
	~coverage();

	bool is_there() const { return trace_ != nullptr; }
	// Forgets what has run.
	void restart();
	// Takes in what has run since; whether any step from one place to the next is new.
	bool take();
	unsigned places() const { return places_; }

private:
	int file_;
	uint64_t *trace_ = nullptr;
	std::vector<bool> steps_;
	std::vector<bool> seen_;
	unsigned places_ = 0;
};

} // namespace torture
