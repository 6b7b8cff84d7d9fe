// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// bench_report: what the figures of the board say.
//
//   bench_report report FIGURES TRACED_RUN VERSIONS SOURCES JSON DOCS	the table on the terminal; JSON, a document and charts in files
//   bench_report beside FIGURES TRACED_RUN COMMITTED		another kernel's figures; status 1 when flash_mng's own are over their limit
//   bench_report gate FIGURES COMMITTED				status 1 when a figure has grown
//   bench_report renew FIGURES COMMITTED				puts new figures in place of the committed ones
#include <algorithm>
#include <fstream>
#include <iostream>
#include <sstream>

#include "behind.hpp"
#include "charts.hpp"
#include "gate.hpp"
#include "tables.hpp"

namespace {

using namespace bench;

// The lines of performance.md.in in that folder, those with a name between @ replaced.
void write_document(std::ostream &out, const std::string &sources, const std::vector<row> &rows, const std::string &versions)
{
	std::ifstream text = opened(sources + "/performance.md.in");
	for (std::string line; std::getline(text, line);) {
		if (line == "@tables@")
			write_markdown(out, rows);
		else if (line == "@counts@")
			write_counts(out, rows);
		else if (line == "@behind@")
			write_behind(out, rows, sources + "/reasons.txt");
		else if (line == "@aim@")
			write_aim(out, rows);
		else if (line == "@slopes@")
			write_slopes(out, rows);
		else if (line == "@versions@")
			out << versions << "\n";
		else if (line == "@other@")
			out << opened(sources + "/linux-6.12.txt").rdbuf();
		else
			out << line << "\n";
	}
}

void write_charts(const std::vector<row> &rows, const std::string &folder)
{
	const std::string listed = "read of a listed partition";
	std::ofstream transfers = created(folder + "/performance-transfers.svg");
	write_chart(transfers, "Instructions of a transfer, by its length (both axes logarithmic)",
		    {panel_of(rows, listed, "at the start", true), panel_of(rows, listed, "at the end", true),
		     panel_of(rows, "exported read, NAND not listed", "at the start", true),
		     panel_of(rows, "exported read, block device", "at the start", true),
		     panel_of(rows, "exported write, block device", "at the start", true),
		     panel_of(rows, "section read", "the last of 8 rows", true)},
		    true);
	std::ofstream growth = created(folder + "/performance-growth.svg");
	write_chart(growth, "Instructions of a call, by what the board has (both axes linear)",
		    {panel_of(rows, "statistics", "list the MTD devices", false),
		     panel_of(rows, "lookup", "by instance, the last record", true),
		     panel_of(rows, "lookup", "by partition name, the last record", true),
		     panel_of(rows, "section search", "read of 512 bytes, the last row", true),
		     panel_of(rows, "table of listed partitions", "read of 512 bytes, the last entry", true),
		     panel_of(rows, "several callers", "64 KiB each, one partition", true)},
		    false);
}

void add_shares(std::vector<row> &rows, const std::map<std::string, share> &shares)
{
	for (row &of : rows)
		if (const auto found = shares.find(of.key); found != shares.end())
			of.own = &found->second;
}

int beside(char **words)
{
	std::vector<row> rows = read_figures(words[0]);
	const std::map<std::string, share> shares = read_shares(words[1]);
	add_shares(rows, shares);
	return write_beside(std::cout, rows, words[2]) ? 1 : 0;
}

int report(char **words)
{
	std::vector<row> rows = read_figures(words[0]);
	std::stable_sort(rows.begin(), rows.end(), [](const row &a, const row &b) { return a.area < b.area; });
	const std::map<std::string, share> shares = read_shares(words[1]);
	add_shares(rows, shares);
	std::ofstream json = created(words[4]);
	write_json(json, rows, words[2]);
	std::ostringstream document; // whole before it takes the place of the one that is there
	write_document(document, words[3], rows, words[2]);
	created(std::string(words[5]) + "/performance.md") << document.str();
	write_charts(rows, words[5]);
	write_terminal(std::cout, rows);
	return 0;
}

} // namespace

int main(int count, char **words)
{
	const std::string what = count > 1 ? words[1] : "";
	if (what == "report" && count == 8)
		return report(words + 2);
	if (what == "beside" && count == 5)
		return beside(words + 2);
	if (what == "gate" && count == 4)
		return bench::write_gate(std::cout, bench::read_figures(words[2]), words[3]) ? 1 : 0;
	if (what == "renew" && count == 4) {
		bench::renew(bench::read_figures(words[2]), words[3]);
		return 0;
	}
	std::cerr << "usage: bench_report report FIGURES TRACED_RUN VERSIONS SOURCES JSON DOCS\n"
		     "       bench_report beside FIGURES TRACED_RUN COMMITTED\n"
		     "       bench_report gate|renew FIGURES COMMITTED\n";
	return 2;
}
