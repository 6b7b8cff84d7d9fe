// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "tables.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <set>

namespace bench {

namespace {

constexpr std::uint64_t large_transfer = 65536;
constexpr double large_share = 0.02;
constexpr std::uint64_t small_share = 300;

double own_part(const row &of)
{
	return static_cast<double>(of.own->instructions) / static_cast<double>(of.module().instructions);
}

std::string peers_text(const row &of)
{
	std::string text;
	for (std::size_t i = 1; i < of.ways.size(); ++i) {
		const peer &by = of.ways[i];
		text += (i > 1 ? "; " : "") + by.way + " " + number_text(by.instructions) + " (" + fixed(ratio(of, by), 2) + ")";
	}
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

// What grows: instructions, or the first thing that was counted instead.
double figure(const row &of)
{
	return static_cast<double>(of.is_counted() ? of.module().instructions : of.module().counts.front().second);
}

std::string one_of(const std::string &unit)
{
	return unit == "entries" ? "entry" : unit.substr(0, unit.size() - 1);
}

// Between the smallest and the largest size, and how far the sizes between them are off that line at most.
void write_slope(std::ostream &out, const std::vector<const row *> &like)
{
	const row &first = *like.front(), &last = *like.back();
	const auto size = [](const row &of) { return static_cast<double>(of.size); };
	const double slope = (figure(last) - figure(first)) / (size(last) - size(first));
	const double start = figure(first) - slope * size(first);
	double off = 0;
	for (const row *of : like)
		off = std::max(off, std::abs(figure(*of) - start - slope * size(*of)) / figure(*of));
	out << "| " << heading(first.area) << ": " << first.subject << " | " << fixed(slope, std::abs(slope) < 100 ? 2 : 0)
	    << (first.is_counted() ? " instructions" : " bytes") << " per " << one_of(first.unit) << " | "
	    << number_text(static_cast<std::uint64_t>(std::max(0.0, start))) << " | "
	    << (like.size() > 2 ? fixed(100 * off, 1) + " %" : "two sizes only") << " |\n";
}

// The names of what was counted, of the first way that has any.
std::vector<std::string> count_names(const std::vector<row> &rows, const std::string &area)
{
	std::vector<std::string> names;
	for (const row &of : rows)
		for (const peer &by : of.ways)
			if (of.area == area && names.empty())
				for (const auto &[name, count] : by.counts)
					names.push_back(name);
	return names;
}

bool is_counted(const std::vector<row> &rows, const std::string &area)
{
	return std::any_of(rows.begin(), rows.end(), [&](const row &of) { return of.area == area && of.is_counted(); });
}

void write_count_table(std::ostream &out, const std::vector<row> &rows, const std::string &area)
{
	out << "\n### " << heading(area) << (is_counted(rows, area) ? ", work on flash" : "") << "\n\n| What | Size | By |";
	const std::vector<std::string> names = count_names(rows, area);
	for (const std::string &name : names)
		out << " " << heading(name) << " |";
	out << "\n|---|---:|---|";
	for (std::size_t i = 0; i < names.size(); ++i)
		out << "---:|";
	out << "\n";
	for (const row &of : rows)
		for (const peer &by : of.ways) {
			if (of.area != area || by.counts.empty())
				continue;
			out << "| " << of.subject << " | " << size_text(of) << " | " << by.way << " |";
			for (const auto &[name, count] : by.counts)
				out << " " << number_text(count) << " |";
			out << "\n";
		}
}

void write_json_way(std::ostream &out, const peer &by)
{
	out << "\"" << by.way << "\": {";
	if (by.instructions)
		out << " \"instructions\": " << by.instructions << (by.counts.empty() ? "" : ",");
	for (const auto &[name, count] : by.counts)
		out << (name == by.counts.front().first ? " \"" : ", \"") << name << "\": " << count;
	out << " }";
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

std::string own_text(const row &of)
{
	if (!of.own)
		return "";
	const std::string copies = of.own->copies ? " + " + number_text(of.own->copies) : "";
	const std::string text = number_text(of.own->instructions) + copies + " (" + fixed(100 * own_part(of), 2) + " %)";
	return own_limit(of).kept ? text : text + " over " + own_limit(of).text;
}

void write_aim(std::ostream &out, const std::vector<row> &rows)
{
	const auto aimed = [](const row &of) { return !own_limit(of).text.empty(); };
	const auto kept = [&](const row &of) { return aimed(of) && own_limit(of).kept; };
	out << std::count_if(rows.begin(), rows.end(), kept) << " of " << std::count_if(rows.begin(), rows.end(), aimed)
	    << " rows to which it applies keep it.\n";
}

void write_terminal(std::ostream &out, const std::vector<row> &rows)
{
	std::string area;
	for (const row &of : rows) {
		if (!of.is_counted())
			continue;
		if (of.area != area)
			out << "\n" << (area = of.area) << "\n";
		out << "  " << std::left << std::setw(40) << of.subject << std::right << std::setw(13) << size_text(of) << std::setw(13)
		    << number_text(of.module().instructions) << std::setw(24) << own_text(of) << "  " << peers_text(of) << "\n";
	}
	out << "\nColumns: size, instructions through flash_mng, those inside flash_mng itself, peers with flash_mng's ratio to them.\n";
}

void write_markdown(std::ostream &out, const std::vector<row> &rows)
{
	std::string area;
	for (const row &of : rows) {
		if (!of.is_counted())
			continue;
		if (of.area != area) {
			area = of.area;
			out << "\n### " << heading(area)
			    << "\n\n| What | Size | flash_mng | Inside the module | Peers (ratio) |\n|---|---:|---:|---:|---|\n";
		}
		out << "| " << of.subject << " | " << size_text(of) << " | " << number_text(of.module().instructions) << " | "
		    << own_text(of) << " | " << peers_text(of) << " |\n";
	}
}

void write_counts(std::ostream &out, const std::vector<row> &rows)
{
	std::set<std::string> done;
	for (const row &of : rows)
		if (!count_names(rows, of.area).empty() && done.insert(of.area).second)
			write_count_table(out, rows, of.area);
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
		    << "\", \"size\": " << of.size << ", \"unit\": \"" << of.unit << "\", \"ways\": {";
		for (const peer &by : of.ways)
			write_json_way(out << (&by == &of.ways.front() ? " " : ", "), by);
		out << " }";
		if (of.own) {
			out << ", \"inside\": " << of.own->instructions << ", \"copies\": " << of.own->copies << ", \"functions\": {";
			for (const auto &[function, count] : of.own->functions)
				out << (function == of.own->functions.begin()->first ? " " : ", ") << "\"" << function << "\": " << count;
			out << " }";
		}
		out << " }";
	}
	out << "\n\t]\n}\n";
}

} // namespace bench
