// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A function with a stack of its own, which runs until it pauses and goes on from there. All fibers run on the thread that resumes them.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace schedules {

class fiber {
public:
	fiber();
	fiber(const fiber &) = delete;
	fiber &operator=(const fiber &) = delete;
	~fiber();

	// What it is to do at the next resume(). What it did before must be over.
	void start(std::function<void()> work);
	// Runs it until it pauses or its work is over.
	void resume();
	bool is_over() const;

	// Called by a fiber's work: back to who resumed it.
	static void pause();
	// The fiber that runs, nullptr outside of all.
	static fiber *running();

private:
	struct context;
	std::unique_ptr<context> context_;
};

} // namespace schedules
