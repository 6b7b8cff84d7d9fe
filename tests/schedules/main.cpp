// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// schedules [--all] [--replay N]: see README.md.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "survey.hpp"

using namespace schedules;

namespace {

constexpr std::uint64_t numbers_of_a_scene = 1000000;
constexpr std::uint64_t numbers_of_a_program = 100000 * numbers_of_a_scene;
constexpr std::uint64_t limit_of_a_scene = numbers_of_a_scene;

// What was planted in this program's module; its first violation is enough.
#ifdef SCHEDULES_PLANTED
constexpr const char *planted = SCHEDULES_PLANTED;
constexpr unsigned number_of_program = SCHEDULES_PLANTED_NUMBER;
#else
constexpr const char *planted = nullptr;
constexpr unsigned number_of_program = 0;
#endif
constexpr std::uint64_t first_number = number_of_program * numbers_of_a_program;

std::uint64_t number_of(std::size_t scene, std::uint64_t schedule)
{
	return first_number + scene * numbers_of_a_scene + schedule;
}

class report {
public:
	void add(std::size_t index, const scene &on, const result &seen)
	{
		++scenes_;
		schedules_ += seen.of.schedules;
		given_up_ += seen.of.given_up;
		incomplete_ += !seen.of.complete;
		if (seen.of.longest > longest_) {
			longest_ = seen.of.longest;
			longest_name_ = on.name();
		}
		for (const finding &one : seen.violations) {
			++violations_;
			std::printf("%s\n  %s\n  in %" PRIu64 " schedules; the first one: --replay %" PRIu64 "\n", on.name().c_str(),
				    one.what.c_str(), one.times, number_of(index, one.schedule));
		}
		for (const auto &[what, one] : seen.open) {
			auto &all = open_.try_emplace(what, finding{what, number_of(index, one.schedule)}).first->second;
			all.times += one.times;
		}
	}

	void print(const char *what) const
	{
		if (!scenes_)
			return;
		std::printf("%s: %zu, %" PRIu64 " schedules (%" PRIu64 " more given up as repetitions), the longest %" PRIu64
			    " steps (%s), %zu violations\n",
			    what, scenes_, schedules_, given_up_, longest_, longest_name_.c_str(), violations_);
		if (incomplete_)
			std::printf("  of them looked at up to schedule %" PRIu64 " only: %zu\n", limit_of_a_scene, incomplete_);
		for (const auto &[text, one] : open_)
			std::printf("  left open, in %" PRIu64 " schedules, --replay %" PRIu64 ": %s\n", one.times, one.schedule,
				    text.c_str());
	}

	std::size_t violations() const { return violations_; }

private:
	std::size_t scenes_ = 0, violations_ = 0, incomplete_ = 0;
	std::uint64_t schedules_ = 0, given_up_ = 0, longest_ = 0;
	std::string longest_name_;
	std::map<std::string, finding> open_;
};

// Those in which a call fails come last: what they are is seen when the others run.
std::vector<scene> every_scene(survey &eyes)
{
	auto scenes = all_scenes();
	const auto failing = eyes.all_failing_scenes();

	scenes.insert(scenes.end(), failing.begin(), failing.end());
	return scenes;
}

int look(bool all)
{
	survey eyes;
	const auto scenes = all ? every_scene(eyes) : all_scenes();
	report of_pairs, of_kills, of_triples, of_failures;
	std::set<std::string> subjects;

	for (const operation &one : all_operations())
		subjects.insert(one.subject);
	std::printf("%zu operations in %zu forms\n", subjects.size(), all_operations().size());
	for (std::size_t i = 0; i < scenes.size() && !(planted && of_pairs.violations()); ++i) {
		const scene &on = scenes[i];
		const bool triple = on.callers.size() > 2;
		report &its = on.fails ? of_failures : triple ? of_triples : on.last_kills_first ? of_kills : of_pairs;
		if (!triple || all)
			its.add(i, on, eyes.look_at(on, reduction::by_dependence, limit_of_a_scene));
	}
	of_pairs.print(planted ? planted : "pairs");
	of_kills.print("pairs of which one is killed");
	of_triples.print("triples");
	of_failures.print("pairs of which a call fails");
	return of_pairs.violations() + of_kills.violations() + of_triples.violations() + of_failures.violations() ? 1 : 0;
}

int replay(std::uint64_t number)
{
	survey eyes;
	const std::uint64_t index = (number - first_number) / numbers_of_a_scene;
	const auto scenes = index < all_scenes().size() ? all_scenes() : every_scene(eyes);

	if (number < first_number || index >= scenes.size()) {
		std::fprintf(stderr, "schedules: there is no schedule %" PRIu64 " here\n", number);
		return 2;
	}
	const std::string text = eyes.replay(scenes[index], number % numbers_of_a_scene);
	if (text.empty()) {
		std::fprintf(stderr, "schedules: %s has fewer schedules\n", scenes[index].name().c_str());
		return 2;
	}
	std::printf("%s\n%s", scenes[index].name().c_str(), text.c_str());
	return 0;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc == 1)
		return look(false);
	if (argc == 2 && !std::strcmp(argv[1], "--all"))
		return look(true);
	char *end = nullptr;
	if (argc == 3 && !std::strcmp(argv[1], "--replay")) {
		const std::uint64_t number = std::strtoull(argv[2], &end, 10);
		if (*argv[2] && !*end)
			return replay(number);
	}
	std::fputs("usage: schedules [--all | --replay N]\n", stderr);
	return 2;
}
