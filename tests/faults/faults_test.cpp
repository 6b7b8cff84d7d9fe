// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One test for each operation in each situation, and tests of the whole.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "accepted.hpp"
#include "interface_names.hpp"
#include "trial.hpp"
#include "wrong_results.hpp"

namespace {

using list = faults::operations (*)();

constexpr list lists[] = {faults::frame, faults::tables, faults::transfers, faults::questions, faults::commands, faults::spi_flashes};
constexpr unsigned long least_injected = 100000;

// Built afresh for each run: an operation holds memory of the board that it runs on.
class operation_test : public testing::Test {
public:
	operation_test(list of, std::size_t position) : list_(of), position_(position) {}

	void TestBody() override
	{
		const faults::operation operation = list_().at(position_);
		faults::trial(operation).run();
	}

private:
	list list_;
	std::size_t position_;
};

bool is_whole_run()
{
	return testing::GTEST_FLAG(filter) == "*" && testing::GTEST_FLAG(repeat) == 1;
}

class whole : public testing::Test {};

class every_call_is_listed_once : public whole {
	void TestBody() override { EXPECT_EQ(faults::badly_listed_functions(), std::vector<std::string>()); }
};

class every_operation_is_tried : public whole {
	void TestBody() override
	{
		std::set<std::string> names;
		for (list of : lists)
			for (const faults::operation &operation : of())
				names.insert(operation.name);
		std::set<std::string> all = {"load", "unload"};
		all.merge(interface_names::commands(PROJECT_DIR));
		all.merge(interface_names::exports(PROJECT_DIR));
		EXPECT_GE(all.size(), 26u);
		for (const std::string &wanted : all)
			EXPECT_TRUE(names.contains(wanted)) << wanted;
	}
};

class every_accepted_fault_is_met : public whole {
	void TestBody() override
	{
		if (!is_whole_run())
			GTEST_SKIP() << "only some operations were tried";
		EXPECT_EQ(faults::rows_never_met(), std::vector<std::string>());
	}
};

class faults_are_many : public whole {
	void TestBody() override
	{
		if (!is_whole_run())
			GTEST_SKIP() << "only some operations were tried";
		RecordProperty("injected", std::to_string(faults::trial::injected()));
		EXPECT_GE(faults::trial::injected(), least_injected);
	}
};

template <typename test> void register_whole(const char *suite, const char *name)
{
	testing::RegisterTest(suite, name, nullptr, nullptr, __FILE__, __LINE__, []() -> whole * { return new test; });
}

void register_operations(list of)
{
	const faults::operations operations = of();

	for (std::size_t i = 0; i < operations.size(); ++i)
		testing::RegisterTest(("faults_" + operations[i].name).c_str(), operations[i].scenario.c_str(), nullptr, nullptr, __FILE__,
				      __LINE__, [=]() -> testing::Test * { return new operation_test(of, i); });
}

} // namespace

int main(int count, char **arguments)
{
	testing::InitGoogleTest(&count, arguments);
	register_whole<every_call_is_listed_once>("faults_lists", "every_call_is_listed_once");
	register_whole<every_operation_is_tried>("faults_lists", "every_operation_is_tried");
	for (list of : lists)
		register_operations(of);
	register_whole<every_accepted_fault_is_met>("faults_whole", "every_accepted_fault_is_met");
	register_whole<faults_are_many>("faults_whole", "faults_are_many");

	const int result = RUN_ALL_TESTS();
	std::printf("%lu injected faults\n", faults::trial::injected());
	return result;
}
