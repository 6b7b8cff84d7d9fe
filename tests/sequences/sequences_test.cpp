// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include <algorithm>

#include "sequences.hpp"

namespace sequences {
namespace {

std::size_t numbered(std::string_view name)
{
	for (std::size_t i = 0; i < operation_count(); ++i)
		if (operation_name(i) == name)
			return i;
	ADD_FAILURE() << name;
	return 0;
}

// All sequences of up to three operations, by the first one.
class every_sequence_from : public testing::TestWithParam<std::size_t> {};

TEST_P(every_sequence_from, an_operation_is_as_the_model_says)
{
	counts of;
	for (std::size_t length : {1, 2, 3}) {
		const counterexample found = try_all(length, GetParam(), GetParam() + 1, of);
		EXPECT_EQ(found.what, "") << found.text();
	}
	EXPECT_EQ(of.sequences == 0, operation_name(GetParam()) == "load") << "the module is loaded when a sequence begins";
}

INSTANTIATE_TEST_SUITE_P(sequences, every_sequence_from, testing::Range(std::size_t(0), operation_count()), [](const auto &about) {
	std::string name(operation_name(about.param));
	std::replace_if(
		name.begin(), name.end(), [](char letter) { return !isalnum(static_cast<unsigned char>(letter)); }, '_');
	return name;
});

// 24 operations can come first; behind an unload, load and the 9 that a program can try.
TEST(sequences, all_that_can_be_are_made)
{
	counts of;
	try_all(1, 0, operation_count(), of);
	EXPECT_EQ(of.sequences, 24u);
	try_all(2, 0, operation_count(), of);
	EXPECT_EQ(of.sequences, 24u + 23u * 24u + 10u);
	EXPECT_EQ(of.calls, 24u + 2u * (23u * 24u + 10u));
}

TEST(sequences, a_long_one_is_as_the_model_says)
{
	EXPECT_EQ(try_one({numbered("register driver"), numbered("create 0x21 with p1 and p0"), numbered("create 0x20 with p0"),
			   numbered("find p0"), numbered("destroy 0x21"), numbered("find p0"), numbered("unload"), numbered("load"),
			   numbered("find p0"), numbered("write usrdata"), numbered("write usrdata, half of it again"),
			   numbered("read usrdata"), numbered("destroy 0x20")}),
		  "");
}

} // namespace
} // namespace sequences
