// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One test for each operation in each situation, and tests of the whole.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "accepted.hpp"
#include "trial.hpp"
#include "wrong_results.hpp"

namespace {

using list = faults::operations (*)();

constexpr list g_lists[] = {faults::frame, faults::tables, faults::transfers, faults::questions, faults::commands, faults::spi_flashes};
constexpr unsigned long g_least_injected = 100000;

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
		for (list of : g_lists)
			for (const faults::operation &operation : of())
				names.insert(operation.name);
		for (const char *wanted : {"drv_flash_mtd_read",
					   "drv_flash_mtd_write",
					   "drv_flash_get_mtd_size",
					   "drv_flash_get_nand_part_num",
					   "drv_flash_get_nand_part_size_info",
					   "drv_flash_get_nand_is_exist",
					   "drv_flash_read",
					   "drv_flash_write",
					   "drv_flash_driver_register",
					   "drv_flash_driver_unregister",
					   "drv_flash_get_size",
					   "drv_flash_create",
					   "drv_flash_destroy",
					   "drv_flash_get_type",
					   "flash_mng_drv_patch_func1",
					   "flash_mng_drv_patch_func2",
					   "FLASH_MNG_GET_NAND_PART_INFO",
					   "FLASH_MNG_GET_PART_NUM",
					   "FLASH_MNG_GET_NAND_IS_EXIST",
					   "FLASH_MNG_FIND_CONFIG",
					   "FLASH_MNG_FIND_CONFIG_BY_INST",
					   "FLASH_MNG_MTD_READ",
					   "FLASH_MNG_MTD_WRITE",
					   "FLASH_MNG_GET_MTD_STATISTICS",
					   "load",
					   "unload"})
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
		EXPECT_GE(faults::trial::injected(), g_least_injected);
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
	for (list of : g_lists)
		register_operations(of);
	register_whole<every_accepted_fault_is_met>("faults_whole", "every_accepted_fault_is_met");
	register_whole<faults_are_many>("faults_whole", "faults_are_many");

	const int result = RUN_ALL_TESTS();
	std::printf("%lu injected faults\n", faults::trial::injected());
	return result;
}
