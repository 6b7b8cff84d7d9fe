// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "gate.hpp"

#include <algorithm>
#include <ostream>
#include <sstream>

#include "tables.hpp"

namespace bench {

namespace {

constexpr double growth_allowed = 0.02;
constexpr double shrinking_noticed = 0.1;

struct committed_figure {
	std::string key;
	std::uint64_t instructions;
};

bool is_figure(const std::string &line)
{
	return !line.empty() && line.front() != '#';
}

committed_figure figure_of(const std::string &line)
{
	const std::size_t tab = line.rfind('\t');
	if (tab == std::string::npos)
		fail("not a committed figure: " + line);
	return {line.substr(0, tab), std::stoull(line.substr(tab + 1))};
}

const row *row_now(const std::vector<row> &rows, const std::string &key)
{
	const auto found = std::find_if(rows.begin(), rows.end(), [&](const row &of) { return of.key == key; });
	return found == rows.end() ? nullptr : &*found;
}

// Instructions through flash_mng now, or 0.
std::uint64_t now(const std::vector<row> &rows, const std::string &key)
{
	const row *const found = row_now(rows, key);
	return found ? found->module().instructions : 0;
}

void write_beside(std::ostream &out, const row &of, std::uint64_t committed)
{
	const double ratio = static_cast<double>(of.module().instructions) / static_cast<double>(committed);
	out << "| " << heading(of.area) << ": " << of.subject << " | " << size_text(of) << " | " << number_text(committed) << " | "
	    << number_text(of.module().instructions) << " | " << fixed(ratio, 2) << " | " << own_text(of) << " |\n";
}

std::string complaint(const committed_figure &figure, std::uint64_t instructions)
{
	if (instructions == 0)
		return "not counted: " + figure.key;
	if (static_cast<double>(instructions) > static_cast<double>(figure.instructions) * (1 + growth_allowed))
		return "grown from " + std::to_string(figure.instructions) + " to " + std::to_string(instructions) + ": " + figure.key;
	return "";
}

} // namespace

unsigned write_gate(std::ostream &out, const std::vector<row> &rows, const std::string &committed)
{
	std::ifstream file = opened(committed);
	unsigned compared = 0, failures = 0, shrunk = 0;
	for (std::string line; std::getline(file, line);) {
		if (!is_figure(line))
			continue;
		const committed_figure figure = figure_of(line);
		const std::uint64_t instructions = now(rows, figure.key);
		const std::string text = complaint(figure, instructions);
		++compared;
		if (!text.empty()) {
			++failures;
			out << text << "\n";
		} else if (static_cast<double>(instructions) < static_cast<double>(figure.instructions) * (1 - shrinking_noticed)) {
			++shrunk;
		}
	}
	if (compared == 0)
		fail("no committed figures in " + committed);
	if (failures)
		out << "when that is meant: ./dev renew figures\n";
	out << compared - failures << " of " << compared << " figures have not grown by more than 2 %";
	if (shrunk)
		out << "; " << shrunk << " shrunk by more than 10 %: ./dev renew figures";
	out << "\n";
	return failures;
}

unsigned write_beside(std::ostream &out, const std::vector<row> &rows, const std::string &committed)
{
	unsigned over = 0;
	std::ifstream file = opened(committed);
	out << "| What | Size | Linux 5.10 | here | Ratio | Inside the module |\n|---|---:|---:|---:|---:|---:|\n";
	for (std::string line; std::getline(file, line);) {
		if (!is_figure(line))
			continue;
		const committed_figure figure = figure_of(line);
		const row *const of = row_now(rows, figure.key);
		if (!of)
			fail("not counted: " + figure.key);
		write_beside(out, *of, figure.instructions);
		over += !own_limit(*of).kept;
	}
	return over;
}

void renew(const std::vector<row> &rows, const std::string &committed)
{
	std::ostringstream text;
	std::ifstream file = opened(committed);
	for (std::string line; std::getline(file, line);) {
		if (!is_figure(line)) {
			text << line << "\n";
			continue;
		}
		const std::string key = figure_of(line).key;
		if (now(rows, key) == 0)
			fail("not counted: " + key);
		text << key << "\t" << now(rows, key) << "\n";
	}
	created(committed) << text.str();
}

} // namespace bench
