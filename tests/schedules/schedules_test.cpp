// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include "promises.hpp"
#include "survey.hpp"

namespace schedules {
namespace {

survey &eyes()
{
	static survey all;
	return all;
}

// Each scene is looked at once, however many cases ask.
const result &seen(std::size_t index)
{
	static std::map<std::size_t, result> known;
	static const std::vector<scene> scenes = all_scenes();
	const auto found = known.find(index);
	return found != known.end() ? found->second : known.emplace(index, eyes().look_at(scenes[index])).first->second;
}

std::vector<std::size_t> scenes_where(const std::function<bool(const scene &)> &fits)
{
	const auto scenes = all_scenes();
	std::vector<std::size_t> all;
	for (std::size_t i = 0; i < scenes.size(); ++i)
		if (scenes[i].callers.size() == 2 && fits(scenes[i]))
			all.push_back(i);
	return all;
}

std::size_t expect_no_violation(const std::vector<std::size_t> &indices)
{
	const auto scenes = all_scenes();
	for (std::size_t index : indices) {
		EXPECT_TRUE(seen(index).of.complete) << scenes[index].name();
		for (const finding &one : seen(index).violations)
			ADD_FAILURE() << scenes[index].name() << ": " << one.what << "\n./dev schedules --replay "
				      << index * 1000000 + one.schedule;
	}
	return indices.size();
}

// The pairs of which an operation is the first one.
class every_schedule_of : public testing::TestWithParam<std::size_t> {};

TEST_P(every_schedule_of, pairs_keeps_the_promises)
{
	const operation *first = &all_operations()[GetParam()];
	EXPECT_GT(expect_no_violation(scenes_where([=](const scene &one) { return one.callers[0] == first && !one.last_kills_first; })) +
			  (first->is == kind::unload || first->is == kind::load),
		  0u);
}

TEST_P(every_schedule_of, callers_of_which_one_is_killed_keeps_the_promises)
{
	const operation *first = &all_operations()[GetParam()];
	const auto count =
		expect_no_violation(scenes_where([=](const scene &one) { return one.callers[0] == first && one.last_kills_first; }));
	EXPECT_EQ(count, first->moves_sections ? 4u : 0u);
}

std::string name_of_operation(const testing::TestParamInfo<std::size_t> &about)
{
	std::string name = all_operations()[about.param].name();
	for (char &letter : name)
		if (!isalnum(static_cast<unsigned char>(letter)))
			letter = '_';
	return name;
}

INSTANTIATE_TEST_SUITE_P(schedules, every_schedule_of, testing::Range(std::size_t(0), all_operations().size()), name_of_operation);

TEST(schedules, every_command_every_export_load_and_unload_are_among_the_operations)
{
	std::map<kind, std::set<std::string>> subjects;
	for (const operation &one : all_operations())
		subjects[one.is].insert(one.subject);
	EXPECT_EQ(subjects[kind::command].size(), 8u);
	EXPECT_EQ(subjects[kind::exported].size(), 16u);
	EXPECT_EQ(subjects[kind::load].size() + subjects[kind::unload].size(), 2u);
}

// Looks at scenes in which a call fails, and gives what was left open in them.
std::set<std::string> left_open_by(const std::vector<scene> &failing, const std::function<bool(std::size_t)> &wanted)
{
	const std::size_t first = all_scenes().size();
	std::set<std::string> open;
	for (std::size_t i = 0; i < failing.size(); ++i) {
		if (!wanted(i))
			continue;
		const result seen = eyes().look_at(failing[i]);
		EXPECT_TRUE(seen.of.complete) << failing[i].name();
		for (const finding &one : seen.violations)
			ADD_FAILURE() << failing[i].name() << ": " << one.what << "\n./dev schedules --replay "
				      << (first + i) * 1000000 + one.schedule;
		for (const auto &[what, one] : seen.open)
			open.insert(what);
	}
	return open;
}

const std::vector<scene> &failing_scenes()
{
	static const std::vector<scene> all = eyes().all_failing_scenes();
	return all;
}

// One in so many; ./dev schedules --all looks at each.
TEST(schedules, of_pairs_of_which_a_call_fails_keep_the_promises)
{
	constexpr std::size_t one_in = 24;
	EXPECT_GT(failing_scenes().size(), 6000u);
	left_open_by(failing_scenes(), [](std::size_t i) { return i % one_in == 0; });
}

TEST(schedules, of_pairs_of_which_a_call_fails_meet_what_is_left_open_of_those)
{
	const auto open = left_open_by(failing_scenes(), [](std::size_t i) {
		const scene &one = failing_scenes()[i];
		return one.callers[0]->name() == "drv_flash_get_size(0x21)" && one.callers[1]->name() == "drv_flash_destroy(0x21)" &&
		       one.fails->function == "xml_get_element_value_u32" && one.found == start::with_driver;
	});
	for (const open_point &one : open_points())
		EXPECT_TRUE(!one.of_failures || open.contains(one.what)) << one.what;
}

// What nothing needs any more would hide the next one.
TEST(schedules, all_that_is_left_open_and_every_known_race_is_met)
{
	std::set<std::string> met;
	for (std::size_t index : scenes_where([](const scene &) { return true; }))
		for (const auto &[what, one] : seen(index).open)
			met.insert(what);
	for (const open_point &one : open_points())
		EXPECT_TRUE(one.of_failures || met.contains(one.what)) << one.what;
	for (const known_race &one : known_races())
		EXPECT_TRUE(met.contains(one.why)) << one.why;
}

TEST(schedules, a_schedule_is_told_step_by_step)
{
	const auto indices = scenes_where([](const scene &one) {
		return one.callers[0]->subject == "drv_flash_get_size" && one.callers[1]->subject == "drv_flash_destroy" &&
		       one.found == start::flash_known;
	});
	ASSERT_FALSE(indices.empty());
	const scene on = all_scenes()[indices[0]];
	const std::string first = eyes().replay(on, 0), second = eyes().replay(on, 1);
	EXPECT_NE(first.find("1 begins\n"), first.npos) << first;
	EXPECT_NE(first.find("2 suite_driver_destroy("), first.npos) << first;
	EXPECT_NE(first, second);
	EXPECT_EQ(first, eyes().replay(on, 0));
	EXPECT_EQ(eyes().replay(on, 1000000), "");
}

// With at most two preemptions, all orders are tried one by one: none of their ends may be new.
TEST(schedules, the_reduction_leaves_out_no_end)
{
	const auto scenes = all_scenes();
	std::size_t compared = 0;
	for (std::size_t index : scenes_where([](const scene &one) { return !one.last_kills_first; })) {
		if (seen(index).of.schedules < 4 || index % 8 != 0)
			continue;
		const result all = eyes().look_at(scenes[index], reduction::none, UINT64_MAX, 2);
		EXPECT_TRUE(std::includes(seen(index).ends.begin(), seen(index).ends.end(), all.ends.begin(), all.ends.end()))
			<< scenes[index].name();
		EXPECT_TRUE(all.violations.empty()) << scenes[index].name();
		compared += all.of.schedules;
	}
	EXPECT_GT(compared, 1000u);
	RecordProperty("schedules", static_cast<int>(compared));
}

} // namespace
} // namespace schedules
