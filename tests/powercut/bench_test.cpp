// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The bench on boards that behave, and on boards that do not.
#include <gtest/gtest.h>

#include <unistd.h>

#include "bench.hpp"

using namespace powercut;

namespace {

class power_cut_bench : public testing::Test {
protected:
	~power_cut_bench() override { unlink(file.c_str()); }

	std::optional<std::string> run(const char *manner, std::size_t cuts = 20)
	{
		bench_options options;
		options.nor = file;
		options.most_cuts = cuts;
		options.span = std::chrono::milliseconds(60);
		options.patience = std::chrono::seconds(120);
		options.board = {FAKE_BOARD_PROGRAM, file, manner};
		return run_bench(options, counts);
	}
	std::string why(const char *manner)
	{
		try {
			return run(manner).value_or("");
		} catch (const std::exception &error) {
			return error.what();
		}
	}

	const std::string file = testing::TempDir() + "powercut_nor." + std::to_string(getpid());
	bench_counts counts;
};

TEST_F(power_cut_bench, takes_a_board_that_keeps_its_word)
{
	EXPECT_EQ(run("honest", 40).value_or(""), "");
	EXPECT_EQ(counts.cuts, 40u);
	EXPECT_GT(counts.torn, 0u);
	EXPECT_GT(counts.repeated, 0u);
	EXPECT_GT(counts.generations, 0u);
	EXPECT_EQ(counts.torn + counts.between + counts.complete + counts.untouched, counts.cuts);
}

TEST_F(power_cut_bench, finds_a_write_reported_before_it_is_on_the_flash)
{
	EXPECT_NE(why("early"), "");
}

TEST_F(power_cut_bench, finds_a_reported_write_that_was_not_done)
{
	EXPECT_NE(why("skips"), "");
}

TEST_F(power_cut_bench, finds_a_byte_written_elsewhere)
{
	EXPECT_NE(why("stray").find("byte 67108863"), std::string::npos);
	EXPECT_LE(counts.cuts, 2u);
}

TEST_F(power_cut_bench, ends_when_a_write_fails)
{
	EXPECT_NE(why("fails").find("generation 1 failed with code 0x000001a2"), std::string::npos);
}

TEST_F(power_cut_bench, ends_when_the_board_does_not_start)
{
	EXPECT_NE(why("silent").find("does not become ready"), std::string::npos);
}

TEST_F(power_cut_bench, ends_when_the_board_stops)
{
	EXPECT_NE(why("stops").find("stopped by itself"), std::string::npos);
}

} // namespace
