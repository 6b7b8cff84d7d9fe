// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "explorer.hpp"

#include <bit>
#include <cstdio>
#include <cstdlib>

namespace schedules {

namespace {

unsigned lowest(caller_set of)
{
	return static_cast<unsigned>(std::countr_zero(of));
}

bool holds(caller_set set, unsigned caller)
{
	return set >> caller & 1;
}

} // namespace

counts explorer::run(reduction how, std::uint64_t limit, std::optional<unsigned> preemptions)
{
	how_ = how;
	preemptions_ = preemptions;
	path_.clear();
	counts_ = {};
	do {
		if (counts_.schedules == limit) {
			counts_.complete = false;
			break;
		}
		if (!play())
			++counts_.given_up;
		else if (counts_.longest = std::max<std::uint64_t>(counts_.longest, path_.size()), !end_(counts_.schedules++))
			break;
	} while (next_choice());
	return counts_;
}

// One schedule, first by the choices of the path, then by new ones. False when it repeats another one.
bool explorer::play()
{
	const std::size_t known = path_.empty() ? 0 : path_.size() - 1;

	begin_();
	for (std::size_t at = 0; turns_.able(); ++at) {
		if (at == path_.size() && !extend(preemptions_))
			return false;
		turns_.go_on(path_[at].chosen);
		if (at >= known)
			note_step(at);
	}
	return true;
}

// A new state at the end of the path. False when all that could be done there was done in another order before.
bool explorer::extend(const std::optional<unsigned> &preemptions)
{
	state made;
	made.able = turns_.able();
	const std::size_t at = path_.size();
	unsigned last = most_callers;

	if (at > 0) {
		const state &before = path_[at - 1];
		last = before.chosen;
		made.before = before.before;
		if (how_ == reduction::by_dependence)
			for (unsigned i = 0; i < turns_.callers(); ++i)
				if (i != last && holds(before.done, i) && !before.sleeping[i].depends_on(turns_.steps()[at - 1].touched)) {
					made.done |= 1u << i;
					made.sleeping[i] = before.sleeping[i];
				}
	}
	const caller_set open = made.able & ~made.done;
	if (!open)
		return false;
	const bool goes_on = last < most_callers && holds(open, last);
	made.chosen = goes_on ? last : lowest(open);
	made.wanted = 1u << made.chosen;
	if (how_ == reduction::none)
		made.wanted = goes_on && preemptions && made.before == *preemptions ? 1u << last : open;
	path_.push_back(std::move(made));
	return true;
}

void explorer::note_step(std::size_t at)
{
	state &now = path_[at];
	const step &made = turns_.steps()[at];

	now.sleeping[made.caller] = made.touched;
	now.clock = {};
	now.number = 1;
	for (std::size_t i = at; i-- > 0;)
		if (path_[i].chosen == now.chosen) {
			now.number = path_[i].number + 1;
			now.clock = path_[i].clock;
			break;
		}
	if (how_ == reduction::by_dependence)
		want_other_orders(at);
	for (std::size_t i = at; i-- > 0;)
		if (path_[i].number > now.clock[path_[i].chosen] && matters(i, at))
			join(now.clock, path_[i].clock);
	now.clock[now.chosen] = now.number;
}

bool explorer::matters(std::size_t early, std::size_t late) const
{
	return turns_.steps()[early].touched.depends_on(turns_.steps()[late].touched);
}

// A step that needs a lock cannot come before one that was made while that lock was held; unless its caller gives up waiting.
bool explorer::could_come_first(std::size_t early, std::size_t late) const
{
	const step &one = turns_.steps()[early], &other = turns_.steps()[late];
	const address lock = other.begins_with.waits_for;

	return !lock || one.held_before != lock || (other.begins_with.killable && turns_.is_killed(other.caller));
}

// Steps that came before this one, of other callers, and could as well come after it.
void explorer::want_other_orders(std::size_t at)
{
	clock_vector known = path_[at].clock;

	for (std::size_t i = at; i-- > 0;) {
		const state &early = path_[i];
		if (early.chosen == path_[at].chosen || early.number <= known[early.chosen] || !matters(i, at) || !could_come_first(i, at))
			continue;
		want_before(i, at);
		join(known, early.clock);
	}
}

// One of those who can begin what comes to `late` without `early` must be tried in the state before `early`.
void explorer::want_before(std::size_t early, std::size_t late)
{
	state &place = path_[early];
	caller_set first = 0, seen = 0;
	std::vector<std::size_t> others;

	for (std::size_t i = early + 1; i <= late; ++i) {
		const state &one = path_[i];
		const clock_vector &clock = one.clock;
		const bool is_last = i == late;
		if (!is_last && clock[place.chosen] >= place.number)
			continue;
		const bool needs_other = std::any_of(others.begin(), others.end(), [&](std::size_t other) {
			return path_[other].number <= clock[path_[other].chosen] || (is_last && matters(other, i));
		});
		if (!needs_other && !holds(seen, one.chosen))
			first |= 1u << one.chosen;
		seen |= 1u << one.chosen;
		others.push_back(i);
	}
	first &= place.able;
	if (!first)
		place.wanted |= place.able;
	else if (!(first & place.wanted))
		place.wanted |= 1u << lowest(first);
}

bool explorer::next_choice()
{
	while (!path_.empty()) {
		state &last = path_.back();
		last.done |= 1u << last.chosen;
		const caller_set left = last.wanted & ~last.done;
		if (left) {
			const unsigned next = lowest(left);
			if (path_.size() > 1 && preemptions_) {
				const state &before = path_[path_.size() - 2];
				last.before = before.before + (next != before.chosen && holds(last.able, before.chosen));
			}
			last.chosen = next;
			return true;
		}
		path_.pop_back();
	}
	return false;
}

} // namespace schedules
