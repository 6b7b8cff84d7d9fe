// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "bench.hpp"

#include <cstring>
#include <stdexcept>

#include "client/plan.h"
#include "nor_check.hpp"
#include "running_board.hpp"

namespace powercut {

namespace {

using clock = running_board::clock;

constexpr std::uint32_t moment_of_cut = 0xfffffe00u; // a number of the hash that no byte and no plan uses

// The last generation reported in a whole line, or `none`.
std::uint32_t last_report(const std::string &said, std::uint32_t none)
{
	constexpr char before[] = "powercut: generation ";
	constexpr char after[] = " is on the flash";
	std::uint32_t last = none;

	for (std::size_t at = said.find(before); at != std::string::npos; at = said.find(before, at + 1)) {
		const auto line_end = said.find('\n', at);
		if (line_end == std::string::npos)
			break;
		const auto line = said.substr(at, line_end - at);
		if (line.find(after) == std::string::npos)
			throw std::runtime_error(line);
		const auto generation = static_cast<std::uint32_t>(std::stoul(line.substr(sizeof(before) - 1)));
		if (generation != last + 1)
			throw std::runtime_error("the board reported generation " + std::to_string(generation) + " after " +
						 std::to_string(last));
		last = generation;
	}
	return last;
}

std::vector<std::string> board_command(const bench_options &options, std::uint32_t first)
{
	auto command = options.board;
	command.push_back("--append");
	command.push_back("mtdparts=" POWERCUT_PARTITIONS " powercut.seed=" + std::to_string(options.seed) +
			  " powercut.first=" + std::to_string(first));
	return command;
}

// Runs a board and cuts it. Gives the last generation that it reported.
std::uint32_t run_and_cut(const bench_options &options, std::uint32_t first, std::size_t cut)
{
	running_board board(board_command(options, first));

	if (!board.listen("powercut: ready", clock::now() + options.patience))
		throw std::runtime_error("the board does not become ready to write; it said:\n" + board.said());
	const auto moment = powercut_hash(options.seed, static_cast<std::uint32_t>(cut), moment_of_cut);
	const auto microseconds = std::chrono::microseconds(moment % std::chrono::microseconds(options.span).count());
	if (board.listen("powercut: stopped", clock::now() + microseconds))
		throw std::runtime_error("the board stopped by itself; it said:\n" + board.said());
	board.cut_power();
	return last_report(board.everything(), first - 1);
}

void count(const nor_verdict &verdict, bench_counts &counts)
{
	++counts.cuts;
	if (verdict.is_torn())
		++counts.torn;
	else if (verdict.is_complete())
		++counts.complete;
	else if (verdict.is_untouched())
		++counts.untouched;
	else
		++counts.between;
	for (std::size_t state = 0; state < block_states; ++state)
		counts.blocks[state] += verdict.in_flight[state];
}

} // namespace

std::optional<std::string> run_bench(const bench_options &options, bench_counts &counts)
{
	const auto end = clock::now() + options.time;
	auto expected = first_content(options.seed);
	std::uint32_t first = 1;
	bool was_begun = false;

	write_image(options.nor, expected);
	while (counts.cuts < options.most_cuts && clock::now() < end) {
		const auto reported = run_and_cut(options, first, counts.cuts);
		auto found = read_image(options.nor, POWERCUT_FLASH_SIZE);
		const auto verdict = check_nor(expected, found, {options.seed, first, reported});
		counts.generations += reported - (first - 1);
		counts.repeated += was_begun && reported >= first;
		count(verdict, counts);
		if (!verdict.findings.empty())
			return "cut " + std::to_string(counts.cuts) + ", generations " + std::to_string(first) + " to " +
			       std::to_string(reported) + " reported: " + verdict.findings.front();
		was_begun = !verdict.is_untouched() || (was_begun && reported < first);
		expected = std::move(found);
		first = reported + 1;
	}
	return std::nullopt;
}

} // namespace powercut
