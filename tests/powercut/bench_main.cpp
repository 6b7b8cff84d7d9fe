// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// powercut_bench: cuts the power of a board again and again, and says what that left on its flash. Exit status: 0 when all cuts left what
// they may leave, 1 when not, 2 for wrong usage.
#include <CLI/CLI.hpp>

#include <cstdio>

#include "bench.hpp"
#include "block_state.hpp"

using namespace powercut;

namespace {

void print(const bench_options &options, const bench_counts &counts)
{
	std::printf("%zu power cuts, seed %u: %zu left an erase block torn, %zu whole blocks of which some new and some old, %zu a write "
		    "that was whole but not reported, %zu nothing\n",
		    counts.cuts, options.seed, counts.torn, counts.between, counts.complete, counts.untouched);
	std::printf("%zu writes reported, each of them whole after the next cut; %zu of them done again after a cut\n", counts.generations,
		    counts.repeated);
	std::printf("erase blocks in flight:");
	for (std::size_t state = 0; state < block_states; ++state)
		std::printf(" %s %zu%c", block_state_name(static_cast<block_state>(state)), counts.blocks[state],
			    state + 1 == block_states ? '\n' : ',');
}

} // namespace

int main(int argc, char **argv)
{
	bench_options options;
	bench_counts counts;
	unsigned int minutes = 5, span = static_cast<unsigned int>(options.span.count());

	CLI::App app{"cuts the power of a board again and again, and looks at what is left on its flash"};
	app.add_option("--nor", options.nor, "file of the board's NOR flash; made new")->required();
	app.add_option("--minutes", minutes, "how long");
	app.add_option("--cuts", options.most_cuts, "end after so many cuts");
	app.add_option("--seed", options.seed, "of the writes and of the moments");
	app.add_option("--span", span, "milliseconds within which a board that is ready is killed")->check(CLI::Range(1u, 3'600'000u));
	app.add_option("board", options.board, "the command that starts the board; \"--append PARAMETERS\" is added")->required();
	try {
		app.parse(argc, argv);
	} catch (const CLI::ParseError &error) {
		return app.exit(error) ? 2 : 0;
	}
	options.time = std::chrono::minutes(minutes);
	options.span = std::chrono::milliseconds(span);

	std::optional<std::string> finding;
	try {
		finding = run_bench(options, counts);
	} catch (const std::exception &error) {
		finding = error.what();
	}
	print(options, counts);
	if (finding)
		std::printf("FAIL: %s\n", finding->c_str());
	return finding ? 1 : 0;
}
