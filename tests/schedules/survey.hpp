// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Scenes, all schedules of each, and what was found in them.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "explorer.hpp"
#include "stage.hpp"

namespace schedules {

struct finding {
	std::string what;
	std::uint64_t schedule; // the first one that shows it; see replay()
	std::uint64_t times = 0;
};

struct result {
	counts of;
	std::set<std::string> ends;
	std::vector<finding> violations;
	std::map<std::string, finding> open; // what the documents leave open, and the races that are known
};

// Every pair of operations that Linux lets meet, on the boards on which they collide; those with a killed caller; then triples. The place
// of a scene in this list is part of the numbers of its schedules.
std::vector<scene> all_scenes();

class survey {
public:
	// The scene once for each call that can fail and that a caller makes when one comes after the other: with that call failing.
	std::vector<scene> with_a_failure(const scene &of);
	// The same for each scene of two callers, in their order.
	std::vector<scene> all_failing_scenes();
	// All schedules of a scene, or as many as the limit.
	result look_at(const scene &on, reduction how = reduction::by_dependence, std::uint64_t limit = UINT64_MAX,
		       std::optional<unsigned> preemptions = std::nullopt);
	// One schedule of a scene, step by step, as text.
	std::string replay(const scene &on, std::uint64_t schedule);

private:
	// The ends of a scene's callers one after the other; where a call is to fail, also those of schedules that do not come to it.
	struct ends_in_order {
		std::set<std::string> all, without_failure;
	};
	ends_in_order allowed_ends(const scene &on);
	std::set<std::string> one_after_the_other(const scene &on);
	std::string run_in_order(const scene &on, const std::vector<unsigned> &order);
	std::string whole_within(const scene &on, unsigned whole, std::size_t after, bool &is_last);
	// What is wrong about a schedule that is over, and what is right only because the documents leave it open.
	struct judgement {
		std::vector<std::string> wrong, open;
	};
	judgement judge(const scene &on, const ends_in_order &allowed) const;
	void judge_end(const scene &on, const ends_in_order &allowed, judgement &made) const;

	turns turns_;
	stage stage_{turns_};
};

} // namespace schedules
