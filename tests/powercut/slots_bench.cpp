// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// slots_bench: cuts the power of a board that installs one image after the other in its two slots, or over each other, and says what that
// left on its flash.
// One cut in two comes at any moment, the other ones soon after one of the writes of an installation has begun. Exit status: 0 when after
// all cuts the loader starts a whole slot, or what is over each other is old, new or without a valid header; 1 when not, 2 for wrong usage.
#include <CLI/CLI.hpp>

#include <array>
#include <cstdio>
#include <stdexcept>

#include "client/plan.h"
#include "running_board.hpp"
#include "slots_check.hpp"

using namespace powercut;

namespace {

using clock = running_board::clock;
using std::chrono::milliseconds;

struct slots_options {
	std::string nor; // the file of the flash; made new
	std::uint32_t seed = 1;
	std::size_t cuts = 100;
	unsigned int span = 4000; // milliseconds within which a board that is ready is killed
	bool single = false;	  // the board writes one image over the other
	std::vector<std::string> board;
};

// What the board does: the words for it where the flash is new and afterwards, what it writes for an installation, who judges.
struct board_work {
	const char *first, *next;
	unsigned int writes;
	slots_verdict (*check)(flash_view, std::uint64_t);
};

constexpr board_work two_slots = {"first_cuts", "cuts", 4, check_slots};     // header away, rest, header, choice
constexpr board_work one_slot = {"first_single", "single", 3, check_single}; // header away, rest, header

struct slots_counts {
	std::size_t cuts = 0, installed = 0, torn_records = 0;
	std::array<std::size_t, slots_lefts> left = {};
};

constexpr unsigned int span_of_write = 300; // milliseconds
constexpr std::chrono::seconds patience{300};

const board_work &work_of(const slots_options &options)
{
	return options.single ? one_slot : two_slots;
}

// The installations that the board reported in whole lines; each has to be the next one.
std::uint64_t reported_in(const std::string &said, std::uint64_t before)
{
	constexpr char report[] = "updates: installed ";
	for (std::size_t at = said.find(report); at != said.npos; at = said.find(report, at + 1)) {
		const std::size_t version = at + sizeof(report) - 1;
		const auto end = said.find_first_of("\r\n", version);
		if (end == said.npos)
			break;
		if (said.substr(version, end - version) != version_of(++before))
			throw std::runtime_error("version " + version_of(before) + " was to be installed: " + said.substr(at, end - at));
	}
	return before;
}

void wait_for_moment(const slots_options &options, running_board &board, std::uint32_t cut)
{
	const auto chosen = [&](std::uint32_t what, std::uint32_t below) { return powercut_hash(options.seed, cut, what) % below; };
	unsigned int span = options.span;
	if (cut % 2) {
		board.listen("mtd total write", clock::now() + patience, 1 + chosen(1, 2 * work_of(options).writes));
		span = span_of_write;
	}
	if (board.listen("updates: stopped", clock::now() + milliseconds(chosen(2, span))))
		throw std::runtime_error("the board stopped by itself; it said:\n" + board.said());
}

// Gives the number of the last installation that was reported.
std::uint64_t run_and_cut(const slots_options &options, std::uint64_t before, std::uint32_t cut)
{
	auto command = options.board;
	const std::uint64_t number = before ? before : 1;
	command.back() += std::string(" updates.action=") + (before ? work_of(options).next : work_of(options).first) +
			  " updates.number=" + std::to_string(number);
	running_board board(command);
	if (!board.listen("updates: ready", clock::now() + patience))
		throw std::runtime_error("the board does not become ready; it said:\n" + board.said());
	wait_for_moment(options, board, cut);
	board.cut_power();
	return reported_in(board.everything(), number);
}

void run(const slots_options &options, slots_counts &counts)
{
	std::uint64_t number = 0;
	write_image(options.nor, std::vector<std::uint8_t>(slots_flash_size, 0xff));
	while (counts.cuts < options.cuts) {
		const auto reported = run_and_cut(options, number, static_cast<std::uint32_t>(counts.cuts));
		const auto verdict = work_of(options).check(read_image(options.nor, slots_flash_size), reported);
		counts.installed += reported - (number ? number : 1);
		++counts.cuts;
		++counts.left[static_cast<std::size_t>(verdict.left)];
		counts.torn_records += verdict.torn_record;
		if (!verdict.findings.empty())
			throw std::runtime_error("cut " + std::to_string(counts.cuts) + ", " + std::to_string(reported) +
						 " reported: " + verdict.findings.front());
		number = verdict.number;
	}
}

} // namespace

int main(int argc, char **argv)
{
	slots_options options;
	slots_counts counts;

	CLI::App app{"cuts the power of a board that installs images, and looks at what its loader would start"};
	app.add_option("--nor", options.nor, "file of the board's NOR flash; made new")->required();
	app.add_option("--cuts", options.cuts, "how many");
	app.add_option("--seed", options.seed, "of the moments");
	app.add_option("--span", options.span, "milliseconds within which a board that is ready is killed")
		->check(CLI::Range(1u, 3'600'000u));
	app.add_flag("--single", options.single, "of a board that writes one image over the other, with flashctl write --last");
	app.add_option("board", options.board, "the command that starts the board, its kernel parameters as the last word")->required();
	try {
		app.parse(argc, argv);
	} catch (const CLI::ParseError &error) {
		return app.exit(error) ? 2 : 0;
	}
	std::string finding;
	try {
		run(options, counts);
	} catch (const std::exception &error) {
		finding = error.what();
	}
	std::printf(
		"%zu power cuts, seed %u: in the %sslot %zu left the old image, %zu an invalid header, %zu the new image that was "
		"not yet the choice; %zu left the new choice that was not yet reported; %zu a torn record of the choice; %zu installations "
		"reported\n",
		counts.cuts, options.seed, options.single ? "" : "other ", counts.left[0], counts.left[1], counts.left[2], counts.left[3],
		counts.torn_records, counts.installed);
	if (!finding.empty())
		std::printf("FAIL: %s\n", finding.c_str());
	return finding.empty() ? 0 : 1;
}
