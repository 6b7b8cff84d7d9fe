// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Inputs played without a fuzzer: those that are kept, and some that are made from a seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "stage.hpp"
#include "target.hpp"

namespace {

constexpr unsigned made_inputs = 400;
constexpr std::size_t longest = 400;

fuzz::bytes content_of(const std::filesystem::path &path)
{
	std::ifstream file(path, std::ios::binary);
	return {std::istreambuf_iterator<char>(file), {}};
}

// A call that goes wrong ends the process, with a message of the stage, the simulation or a sanitizer.
TEST(fuzz_inputs, kept_ones_do_no_harm)
{
	unsigned count = 0;
	for (const auto &file : std::filesystem::directory_iterator(FUZZ_CORPUS)) {
		const fuzz::bytes content = content_of(file.path());
		fuzz::play(fuzz::input(content));
		++count;
	}
	EXPECT_GT(count, 0u);
}

TEST(fuzz_inputs, made_ones_do_no_harm)
{
	std::mt19937 choice(1);
	for (unsigned count = 0; count < made_inputs; ++count) {
		fuzz::bytes made(choice() % longest);
		std::generate(made.begin(), made.end(), [&] { return static_cast<uint8_t>(choice()); });
		fuzz::play(fuzz::input(made));
	}
	EXPECT_GT(fuzz::calls_made(), made_inputs);
}

} // namespace
