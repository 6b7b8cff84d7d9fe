// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "survey.hpp"

#include <algorithm>
#include <numeric>

#include "faults/wrong_results.hpp"
#include "promises.hpp"

namespace schedules {

namespace {

std::string described(const step &one)
{
	if (!one.begins_with.marked)
		return one.begins_with.what + (one.killed ? " gives up: killed" : "");
	return (one.begins_with.stores ? "stores " : "loads ") + turns::name_of(one.begins_with.marked);
}

} // namespace

std::string survey::run_in_order(const scene &on, const std::vector<unsigned> &order)
{
	stage_.set(on);
	for (unsigned caller : order)
		while (turns_.able() >> caller & 1)
			turns_.go_on(caller);
	return turns_.all_over() ? stage_.end().text : "";
}

// One caller as a whole, when the other one has made so many steps.
std::string survey::whole_within(const scene &on, unsigned whole, std::size_t after, bool &is_last)
{
	const unsigned other = 1 - whole;

	stage_.set(on);
	for (std::size_t i = 0; i < after && turns_.able() >> other & 1; ++i)
		turns_.go_on(other);
	is_last = !(turns_.able() >> other & 1);
	for (unsigned caller : {whole, other})
		while (turns_.able() >> caller & 1)
			turns_.go_on(caller);
	return stage_.end().text;
}

// How the callers may end: as if one came after the other. A command may also see a module that is half loaded, at any one moment, and keep
// one from being unloaded.
std::set<std::string> survey::one_after_the_other(const scene &on)
{
	std::set<std::string> all;
	std::vector<unsigned> order(on.callers.size() + on.last_kills_first);

	std::iota(order.begin(), order.end(), 0);
	do {
		all.insert(run_in_order(on, order));
	} while (std::next_permutation(order.begin(), order.end()));
	for (unsigned i = 0; i < on.callers.size(); ++i) {
		const kind is = on.callers[i]->is;
		bool is_last = is != kind::load && is != kind::unload;
		for (std::size_t after = 0; !is_last; ++after)
			all.insert(whole_within(on, is == kind::load ? 1 - i : i, after, is_last));
	}
	return all;
}

// A caller may find done what it would have done by the call that fails: another one was halfway through it.
survey::ends_in_order survey::allowed_ends(const scene &on)
{
	scene unharmed = on;

	unharmed.fails.reset();
	return {one_after_the_other(on), on.fails ? one_after_the_other(unharmed) : std::set<std::string>()};
}

std::vector<scene> survey::with_a_failure(const scene &of)
{
	std::map<std::pair<unsigned, std::string>, unsigned> most;
	std::vector<scene> made;

	for (const std::vector<unsigned> &order : {std::vector{0u, 1u}, std::vector{1u, 0u}}) {
		std::map<std::pair<unsigned, std::string>, unsigned> made_calls;
		run_in_order(of, order);
		for (const step &one : turns_.steps())
			if (!one.begins_with.marked && !faults::wrong_results(one.begins_with.what).empty()) {
				const auto call = std::pair(one.caller, std::string(faults::function_of(one.begins_with.what)));
				most[call] = std::max(most[call], ++made_calls[call]);
			}
	}
	for (const auto &[call, count] : most)
		for (unsigned nth = 1; nth <= count; ++nth) {
			made.push_back(of);
			made.back().fails = failing_call{call.first, call.second, nth};
		}
	return made;
}

std::vector<scene> survey::all_failing_scenes()
{
	std::vector<scene> made;

	for (const scene &one : all_scenes())
		if (one.callers.size() == 2 && !one.last_kills_first)
			for (scene &failing : with_a_failure(one))
				made.push_back(std::move(failing));
	return made;
}

void survey::judge_end(const scene &on, const ends_in_order &allowed, judgement &made) const
{
	const ending end = stage_.end();
	bool is_open = false;

	if (const std::string left = stage_.left_over(); !left.empty())
		made.wrong.push_back("left over: " + left);
	if (allowed.all.contains(end.text) || (turns_.may_still_fail() && allowed.without_failure.contains(end.text)))
		return;
	for (const open_point &one : open_points())
		if (one.fits(on, end)) {
			made.open.push_back(one.what);
			is_open = true;
		}
	if (!is_open)
		made.wrong.push_back("an end that no order of whole calls leads to: " + end.text);
}

survey::judgement survey::judge(const scene &on, const ends_in_order &allowed) const
{
	judgement made;

	for (const std::string &what : turns_.findings()) {
		const auto races = known_races();
		const auto known = std::find_if(races.begin(), races.end(),
						[&](const known_race &one) { return what == turns::race_text(one.place) && one.fits(on); });
		if (known == races.end())
			made.wrong.push_back(what);
		else
			made.open.push_back(known->why);
	}
	if (turns_.is_broken())
		return made;
	if (turns_.all_over())
		judge_end(on, allowed, made);
	else
		made.wrong.push_back("deadlock: nobody can go on");
	return made;
}

result survey::look_at(const scene &on, reduction how, std::uint64_t limit, std::optional<unsigned> preemptions)
{
	const ends_in_order allowed = allowed_ends(on);
	result made;
	explorer all(
		turns_, [&] { stage_.set(on); },
		[&](std::uint64_t number) {
			if (turns_.all_over() && !turns_.is_broken())
				made.ends.insert(stage_.end().text);
			const judgement found = judge(on, allowed);
			for (const std::string &what : found.wrong) {
				auto known = std::find_if(made.violations.begin(), made.violations.end(),
							  [&](const finding &one) { return one.what == what; });
				if (known == made.violations.end())
					known = made.violations.insert(known, {what, number});
				++known->times;
			}
			for (const std::string &what : found.open)
				++made.open.try_emplace(what, finding{what, number}).first->second.times;
			return true;
		});
	made.of = all.run(how, limit, preemptions);
	return made;
}

std::string survey::replay(const scene &on, std::uint64_t schedule)
{
	const ends_in_order allowed = allowed_ends(on);
	std::string text;
	explorer all(
		turns_, [&] { stage_.set(on); },
		[&](std::uint64_t number) {
			if (number != schedule)
				return true;
			for (const step &one : turns_.steps())
				text += std::string(24 * one.caller, ' ') + std::to_string(one.caller + 1) + " " + described(one) + "\n";
			const judgement found = judge(on, allowed);
			for (const std::string &what : found.wrong)
				text += "WRONG: " + what + "\n";
			for (const std::string &what : found.open)
				text += "left open: " + what + "\n";
			text += "ends with: " + stage_.end().text + "\n";
			for (const std::string &other : allowed.all)
				text += "in order:  " + other + "\n";
			return false;
		});
	all.run(reduction::by_dependence, UINT64_MAX);
	return text;
}

} // namespace schedules
