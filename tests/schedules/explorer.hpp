// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// All schedules of some callers, depth first. Nothing is kept of a schedule but the choices that led to it: each begins anew at power-on.
//
// Two schedules that differ only in the order of steps that touch nothing in common end alike; of all those one is tried. What steps touch
// is seen when they run, so a place where the other order matters is found when it is met (dynamic partial order reduction by source sets,
// with sleep sets).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "turns.hpp"

namespace schedules {

enum class reduction { none, by_dependence };

struct counts {
	std::uint64_t schedules = 0; // to the end
	std::uint64_t given_up = 0;  // begun, and then seen to repeat another one
	std::uint64_t longest = 0;   // steps
	bool complete = true;	     // false: the limit came first
};

class explorer {
public:
	// begin: puts the board to the start and adds the callers. end: looks at a schedule that is over, deadlocked or broken; false
	// ends all.
	explorer(turns &callers, std::function<void()> begin, std::function<bool(std::uint64_t number)> end)
		: turns_(callers), begin_(std::move(begin)), end_(std::move(end))
	{
	}

	// limit: of schedules. preemptions: how often at most a caller that could go on does not; only without reduction.
	counts run(reduction how, std::uint64_t limit, std::optional<unsigned> preemptions = std::nullopt);

private:
	// A state of a schedule, and what was chosen there.
	struct state {
		caller_set able = 0;
		caller_set wanted = 0; // to be tried
		caller_set done = 0;   // tried, or not needed
		unsigned chosen = 0;
		unsigned before = 0;			      // preemptions
		std::array<footprint, most_callers> sleeping; // of those that are done: what their step touches
		clock_vector clock{};			      // of the chosen step: what came before it and mattered to it
		unsigned number = 0;			      // of the chosen step among its caller's
	};

	bool play();
	bool extend(const std::optional<unsigned> &preemptions);
	void note_step(std::size_t at);
	void want_other_orders(std::size_t at);
	void want_before(std::size_t early, std::size_t late);
	bool matters(std::size_t early, std::size_t late) const;
	bool could_come_first(std::size_t early, std::size_t late) const;
	bool next_choice();

	turns &turns_;
	std::function<void()> begin_;
	std::function<bool(std::uint64_t)> end_;
	reduction how_ = reduction::by_dependence;
	std::optional<unsigned> preemptions_;
	std::vector<state> path_;
	counts counts_;
};

} // namespace schedules
