// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include "number.hpp"

using namespace flashctl;

namespace {

struct number_case {
	const char *text;
	std::optional<std::uint64_t> number;
};

class numbers : public testing::TestWithParam<number_case> {};

TEST_P(numbers, are_read_whole_or_refused)
{
	EXPECT_EQ(parse_size(GetParam().text, UINT32_MAX), GetParam().number) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
	all, numbers,
	testing::Values(number_case{"0", 0}, number_case{"1", 1}, number_case{"4096", 4096}, number_case{"0x1000", 0x1000},
			number_case{"0X1f", 0x1f}, number_case{"010", 10}, number_case{"4KiB", 4096}, number_case{"0x10KiB", 0x4000},
			number_case{"1MiB", 1 << 20}, number_case{"3GiB", 3221225472}, number_case{"4294967295", UINT32_MAX},
			number_case{"0xffffffff", UINT32_MAX}, number_case{"4095MiB", 4293918720}, number_case{"4194303KiB", 4294966272},
			number_case{"4294967296", std::nullopt}, number_case{"0x100000000", std::nullopt},
			number_case{"4GiB", std::nullopt}, number_case{"4096MiB", std::nullopt}, number_case{"4194304KiB", std::nullopt},
			number_case{"18446744073709551616", std::nullopt}, number_case{"18446744073709551615KiB", std::nullopt},
			number_case{"", std::nullopt}, number_case{"-1", std::nullopt}, number_case{"+1", std::nullopt},
			number_case{" 1", std::nullopt}, number_case{"1 ", std::nullopt}, number_case{"1 KiB", std::nullopt},
			number_case{"KiB", std::nullopt}, number_case{"0x", std::nullopt}, number_case{"0xKiB", std::nullopt},
			number_case{"12x", std::nullopt}, number_case{"1kb", std::nullopt}, number_case{"1K", std::nullopt},
			number_case{"1.5MiB", std::nullopt}, number_case{"1KiBKiB", std::nullopt}, number_case{"ff", std::nullopt}));

struct code_case {
	const char *text;
	std::optional<std::uint32_t> code;
};

class code_numbers : public testing::TestWithParam<code_case> {};

TEST_P(code_numbers, are_read_as_programs_see_them)
{
	EXPECT_EQ(parse_code(GetParam().text), GetParam().code) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(all, code_numbers,
			 testing::Values(code_case{"-1", 0xFFFFFFFF}, code_case{"-2128936540", 0x811B01A4},
					 code_case{"0x811B01A4", 0x811B01A4}, code_case{"2166030756", 0x811B01A4},
					 code_case{"-2147483648", 0x80000000}, code_case{"0", 0}, code_case{"-2147483649", std::nullopt},
					 code_case{"4294967296", std::nullopt}, code_case{"--1", std::nullopt},
					 code_case{"-", std::nullopt}, code_case{"1KiB", std::nullopt}));

} // namespace
