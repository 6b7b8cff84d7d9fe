// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Lists of all commands, exports or numbers that people keep, against the headers: what a list lacks would go without fuzzing, without
// faults or without a case that knows its number.
#include <gtest/gtest.h>

#include <ostream>

#include "interface_names.hpp"

namespace {

using names = std::set<std::string>;

const std::filesystem::path project = PROJECT_DIR;

struct kept_list {
	const char *file;
	bool commands;
	bool exports;
	names without = {}; // on purpose
};

std::ostream &operator<<(std::ostream &out, const kept_list &one)
{
	return out << one.file;
}

const kept_list lists[] = {
	// harness::register_driver() calls it
	{"tests/fuzz/calls.cpp", true, true, {"drv_flash_driver_register"}},
	// the driver stays for the whole run; the others take nothing and do nothing
	{"tests/torture/model.cpp",
	 true,
	 true,
	 {"drv_flash_driver_register", "drv_flash_driver_unregister", "flash_mng_drv_patch_func1", "flash_mng_drv_patch_func2"}},
	{"tests/torture/fault_operations.cpp", true, true},
	{"tests/schedules/stage.cpp", true, true},
	{"tests/torture/calls/flash_calls_abi.h", false, true},
	{"simulation/functions.cpp", false, true},
	{"client/include/flash_mng/client.hpp", true, false},
	{"tests/flashctl/fake_module.cpp", true, false},
};

class list_test : public testing::TestWithParam<kept_list> {};

TEST_P(list_test, has_all_that_the_headers_have)
{
	names wanted = GetParam().commands ? interface_names::commands(project) : names();
	if (GetParam().exports)
		wanted.merge(interface_names::exports(project));
	const names words = interface_names::found_in(project / GetParam().file, "\\b(?:FLASH_CALL_)?(\\w+)\\b");
	for (const std::string &name : wanted)
		EXPECT_NE(words.contains(name), GetParam().without.contains(name)) << name << " in " << GetParam().file;
}

INSTANTIATE_TEST_SUITE_P(each, list_test, testing::ValuesIn(lists));

TEST(lists, of_the_headers_are_found)
{
	EXPECT_GE(interface_names::commands(project).size(), 8u);
	EXPECT_GE(interface_names::exports(project).size(), 16u);
}

// Commands and codes, of the header and as the suite types them.
std::set<uint64_t> numbers_in(const char *file, const char *pattern)
{
	std::set<uint64_t> numbers;
	for (const std::string &number : interface_names::found_in(project / file, pattern))
		numbers.insert(std::stoull(number, nullptr, 0));
	return numbers;
}

TEST(lists, the_suite_types_each_number_a_second_time)
{
	std::set<uint64_t> header =
		numbers_in("flash_mng_kernel/include/uapi/flash_mng.h", "#define FLASH_MNG_\\w+\\s+(0x[0-9A-F]+|\\d+)u");
	header.erase(0);
	EXPECT_EQ(numbers_in("tests/conformance/interface_words.hpp", " = (0x[0-9A-F]+|\\d+)"), header);
}

// A number of a command stands nowhere else in the suite.
TEST(lists, the_suite_has_each_command_in_one_file)
{
	for (const auto &file : std::filesystem::directory_iterator(project / "tests/conformance")) {
		if (!file.is_regular_file() || file.path().filename() == "interface_words.hpp")
			continue;
		const names numbers = interface_names::found_in(file.path(), "\\b(0x[48]00454[0-9A-F]{2})");
		for (const std::string &number : numbers)
			EXPECT_FALSE(numbers_in("tests/conformance/interface_words.hpp", " = (0x[0-9A-F]+)")
					     .contains(std::stoull(number, nullptr, 0)))
				<< number << " in " << file.path();
	}
}

} // namespace
