// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "tables.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <set>
#include <sstream>

namespace bench {

namespace {

constexpr std::uint64_t large_transfer = 65536;
constexpr double large_share = 0.02;
constexpr std::uint64_t small_share = 300;
constexpr double growth_allowed = 0.02;

std::string fixed(double value, int digits)
{
	std::ostringstream text;
	text << std::fixed << std::setprecision(digits) << value;
	return text.str();
}

double own_part(const row &of)
{
	return static_cast<double>(of.own->instructions) / static_cast<double>(of.module().instructions);
}

std::string own_text(const row &of)
{
	if (!of.own)
		return "";
	const std::string text = number_text(of.own->instructions) + " (" + fixed(100 * own_part(of), 2) + " %)";
	return own_limit(of).kept ? text : text + " over " + own_limit(of).text;
}

std::string peer_text(const row &of, const peer &by)
{
	std::string text = by.road + " " + number_text(by.instructions) + " (" +
			   fixed(static_cast<double>(of.module().instructions) / static_cast<double>(by.instructions), 2) + ")";
	return by.erased < 0 ? text : text + ", " + std::to_string(by.erased) + " blocks erased";
}

std::string module_text(const row &of)
{
	const std::string text = number_text(of.module().instructions);
	return of.module().erased < 0 ? text : text + ", " + std::to_string(of.module().erased) + " blocks erased";
}

std::string peers_text(const row &of)
{
	std::string text;
	for (std::size_t i = 1; i < of.roads.size(); ++i)
		text += (i > 1 ? "; " : "") + peer_text(of, of.roads[i]);
	return text;
}

// The rows that differ in their size only, with the smallest first.
std::vector<const row *> rows_like(const std::vector<row> &rows, const row &of)
{
	std::vector<const row *> like;
	for (const row &other : rows)
		if (other.area == of.area && other.subject == of.subject)
			like.push_back(&other);
	std::sort(like.begin(), like.end(), [](const row *a, const row *b) { return a->size < b->size; });
	return like;
}

// Between the smallest and the largest size, and how far the sizes between them are off that line at most.
void write_slope(std::ostream &out, const std::vector<const row *> &like)
{
	const auto count = [](const row *of) { return static_cast<double>(of->module().instructions); };
	const auto size = [](const row *of) { return static_cast<double>(of->size); };
	const double slope = (count(like.back()) - count(like.front())) / (size(like.back()) - size(like.front()));
	const double start = count(like.front()) - slope * size(like.front());
	double off = 0;
	for (const row *of : like)
		off = std::max(off, std::abs(count(of) - start - slope * size(of)) / count(of));
	std::string unit = like.front()->unit;
	if (unit == "entries")
		unit = "entry";
	else
		unit.pop_back();
	out << "| " << like.front()->area << ": " << like.front()->subject << " | " << fixed(slope, slope < 100 ? 2 : 0) << " per " << unit
	    << " | " << number_text(static_cast<std::uint64_t>(std::max(0.0, start))) << " | "
	    << (like.size() > 2 ? fixed(100 * off, 1) + " %" : "two sizes only") << " |\n";
}

} // namespace

limit own_limit(const row &of)
{
	if (!of.own)
		return {};
	if (of.unit == "bytes" && of.size >= large_transfer)
		return {"2 %", own_part(of) <= large_share};
	if (of.unit == "bytes" || of.size == 1)
		return {"300", of.own->instructions <= small_share};
	return {};
}

void write_terminal(std::ostream &out, const std::vector<row> &rows)
{
	std::string area;
	for (const row &of : rows) {
		if (of.area != area)
			out << "\n" << (area = of.area) << "\n";
		out << "  " << std::left << std::setw(36) << of.subject << std::right << std::setw(13) << size_text(of) << std::setw(13)
		    << number_text(of.module().instructions) << std::setw(20) << own_text(of) << "  " << peers_text(of) << "\n";
	}
	out << "\nColumns: size, instructions through flash_mng, those inside flash_mng itself, peers with flash_mng's ratio to them.\n";
}

void write_markdown(std::ostream &out, const std::vector<row> &rows)
{
	std::string area;
	for (const row &of : rows) {
		if (of.area != area) {
			area = of.area;
			out << "\n### " << static_cast<char>(std::toupper(area[0])) << area.substr(1)
			    << "\n\n| What | Size | flash_mng | Inside the module | Peers (ratio) |\n|---|---:|---:|---:|---|\n";
		}
		out << "| " << of.subject << " | " << size_text(of) << " | " << module_text(of) << " | " << own_text(of) << " | "
		    << peers_text(of) << " |\n";
	}
}

void write_slopes(std::ostream &out, const std::vector<row> &rows)
{
	out << "| What | Slope | At size 0 | Sizes between are off the line by at most |\n|---|---:|---:|---:|\n";
	std::set<std::string> done;
	for (const row &of : rows)
		if (of.unit != "bytes" && rows_like(rows, of).size() > 1 && done.insert(of.area + of.subject).second)
			write_slope(out, rows_like(rows, of));
}

void write_json(std::ostream &out, const std::vector<row> &rows, const std::string &versions)
{
	out << "{\n\t\"versions\": \"" << versions << "\",\n\t\"rows\": [";
	for (const row &of : rows) {
		out << (&of == &rows.front() ? "\n" : ",\n") << "\t\t{ \"area\": \"" << of.area << "\", \"subject\": \"" << of.subject
		    << "\", \"size\": " << of.size << ", \"unit\": \"" << of.unit << "\", \"instructions\": {";
		for (const peer &by : of.roads)
			out << (&by == &of.roads.front() ? " " : ", ") << "\"" << by.road << "\": " << by.instructions;
		out << " }";
		if (of.own) {
			out << ", \"inside\": " << of.own->instructions << ", \"functions\": {";
			for (const auto &[function, count] : of.own->functions)
				out << (function == of.own->functions.begin()->first ? " " : ", ") << "\"" << function << "\": " << count;
			out << " }";
		}
		out << " }";
	}
	out << "\n\t]\n}\n";
}

unsigned write_gate(std::ostream &out, const std::vector<row> &rows, const std::string &committed)
{
	std::ifstream file(committed);
	unsigned compared = 0, failures = 0;
	for (std::string line; std::getline(file, line);) {
		if (line.empty() || line.front() == '#')
			continue;
		const std::size_t tab = line.rfind('\t');
		const std::string key = line.substr(0, tab);
		const std::uint64_t allowed = std::stoull(line.substr(tab + 1));
		const auto found = std::find_if(rows.begin(), rows.end(), [&](const row &of) { return of.key == key; });
		++compared;
		if (found == rows.end()) {
			++failures;
			out << "not counted: " << key << "\n";
		} else if (static_cast<double>(found->module().instructions) > static_cast<double>(allowed) * (1 + growth_allowed)) {
			++failures;
			out << "grown from " << allowed << " to " << found->module().instructions << " instructions: " << key << "\n";
		}
	}
	if (compared == 0)
		fail("no committed figures in " + committed);
	out << compared - failures << " of " << compared << " figures are within 2 % of the committed ones\n";
	return failures;
}

} // namespace bench
