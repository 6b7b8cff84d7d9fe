// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What is planted in a copy of the module is found, and its schedule can be seen again.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <regex>

using namespace std::string_literals;

namespace {

struct told {
	int status;
	std::string text;
};

told run(const std::string &planted, const std::string &arguments)
{
	told all = {};
	FILE *program = popen((std::string(SCHEDULES_PROGRAMS "/schedules_") + planted + " " + arguments + " 2>&1").c_str(), "r");
	std::array<char, 4096> part;
	while (const std::size_t count = std::fread(part.data(), 1, part.size(), program))
		all.text.append(part.data(), count);
	const int status = pclose(program);
	all.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
	return all;
}

struct planted_bug {
	const char *name;
	const char *found; // how the violation begins, a regular expression
};

class planted : public testing::TestWithParam<planted_bug> {};

TEST_P(planted, is_found_and_seen_again)
{
	const auto [name, expected] = GetParam();
	const told all = run(name, "");
	EXPECT_EQ(all.status, 1) << all.text;
	std::smatch seen;
	ASSERT_TRUE(std::regex_search(all.text, seen, std::regex("\n  "s + expected + ".*\n.*(--replay [0-9]+)"))) << all.text;
	const told again = run(name, seen[1]);
	EXPECT_EQ(again.status, 0) << again.text;
	EXPECT_TRUE(std::regex_search(again.text, std::regex("WRONG: "s + expected))) << again.text;
}

// A compiler may hook the store of `references += n` alone, or the load before it too.
constexpr planted_bug bugs[] = {
	{"count_before_entries", "nothing orders two accesses of memory of the module"},
	{"listed_partition_unlocked", "nothing orders two accesses of a listed partition"},
	{"lock_left_out", "nothing orders two accesses of memory of the module"},
	{"reference_dropped_early", "broken rule: a load from .* freed"},
	{"search_and_reference_apart", "broken rule: a (?:load from|store to) .* freed"},
	{"sections_taken_twice", "deadlock: nobody can go on"},
};

INSTANTIATE_TEST_SUITE_P(schedules, planted, testing::ValuesIn(bugs), [](const auto &about) { return std::string(about.param.name); });

TEST(schedules, every_patch_is_tried)
{
	for (const auto &file : std::filesystem::directory_iterator(SCHEDULES_PATCHES))
		EXPECT_TRUE(std::any_of(std::begin(bugs), std::end(bugs), [&](const planted_bug &one) {
			return file.path().stem() == one.name;
		})) << file.path();
}

} // namespace
