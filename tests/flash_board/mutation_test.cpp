// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Damaged boards: every fixture cut short, with bytes left out, doubled or replaced. What has to hold is in fuzz_input.hpp; the fuzzer of
// fuzz_check.cpp goes on from here.
#include <gtest/gtest.h>

#include <random>

#include "fixtures.hpp"
#include "fuzz_input.hpp"

namespace {

std::vector<std::string> texts()
{
	std::vector<std::string> all;

	for (const auto &fixtures : {fixtures::bad(), fixtures::good()})
		for (const auto &one : fixtures)
			all.push_back(fixtures::read(one.xml()));
	return all;
}

TEST(damaged_boards, cut_short)
{
	for (const auto &text : texts())
		for (std::size_t size = 0; size < text.size(); size += 7)
			try_text(text.substr(0, size));
}

TEST(damaged_boards, with_bytes_left_out_doubled_or_replaced)
{
	constexpr std::string_view odd = "<>&;/=\"'x0-_ \n\t!?[]#\x01\x80\xff";
	std::mt19937 random(1);

	for (const auto &text : texts())
		for (int i = 0; i < 60 && !text.empty(); i++) {
			auto damaged = text;
			const auto at = random() % damaged.size();
			if (i % 3 == 0)
				damaged.erase(at, 1 + random() % 8);
			else if (i % 3 == 1)
				damaged.insert(at, damaged.substr(random() % damaged.size(), random() % 32));
			else
				damaged[at] = odd[random() % odd.size()];
			try_text(damaged);
		}
}

TEST(damaged_boards, put_together_from_two)
{
	const auto all = texts();
	std::mt19937 random(2);

	for (int i = 0; i < 2000; i++) {
		const auto &first = all[random() % all.size()], &second = all[random() % all.size()];
		try_text(first.substr(0, random() % (first.size() + 1)) + second.substr(random() % (second.size() + 1)));
	}
}

} // namespace
