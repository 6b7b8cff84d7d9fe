// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "figures.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace bench {

namespace {

peer &way_of(row &of, const std::string &name)
{
	const auto found = std::find_if(of.ways.begin(), of.ways.end(), [&](const peer &way) { return way.way == name; });
	return found != of.ways.end() ? *found : of.ways.emplace_back(peer{name});
}

row &row_of(std::vector<row> &rows, const std::vector<std::string> &words)
{
	const std::string key = words[0] + '\t' + words[1] + '\t' + words[2] + '\t' + words[3];
	const auto found = std::find_if(rows.begin(), rows.end(), [&](const row &of) { return of.key == key; });
	if (found != rows.end())
		return *found;
	return rows.emplace_back(row{key, words[0], words[1], std::stoull(words[2]), words[3], {}, nullptr});
}

} // namespace

void fail(const std::string &what)
{
	std::cerr << "bench_report: " << what << "\n";
	std::exit(1);
}

std::ifstream opened(const std::string &path)
{
	std::ifstream file(path);
	if (!file)
		fail("cannot read " + path);
	return file;
}

std::ofstream created(const std::string &path)
{
	std::ofstream file(path);
	if (!file)
		fail("cannot write " + path);
	return file;
}

std::vector<std::string> split(const std::string &line, char at)
{
	std::vector<std::string> words;
	std::istringstream text(line);
	for (std::string word; std::getline(text, word, at);)
		words.push_back(word);
	return words;
}

std::vector<row> read_figures(const std::string &path)
{
	std::ifstream file = opened(path);
	std::vector<row> rows;
	for (std::string line; std::getline(file, line);) {
		const std::vector<std::string> words = split(line, '\t');
		if (words.size() != 7)
			fail(path + ": not a figure: " + line);
		peer &way = way_of(row_of(rows, words), words[4]);
		if (words[5] == "instructions")
			way.instructions = std::stoull(words[6]);
		else
			way.counts.emplace_back(words[5], std::stoull(words[6]));
	}
	if (rows.empty() || rows.front().module().way != module_way)
		fail(path + " does not begin with a figure of " + module_way);
	return rows;
}

std::string number_text(std::uint64_t number)
{
	std::string text = std::to_string(number);
	for (std::size_t i = text.size(); i > 3;)
		text.insert(i -= 3, ",");
	return text;
}

std::string fixed(double value, int digits)
{
	std::ostringstream text;
	text << std::fixed << std::setprecision(digits) << value;
	return text.str();
}

double ratio(const row &of, const peer &by)
{
	return static_cast<double>(of.module().instructions) / static_cast<double>(by.instructions);
}

std::string heading(const std::string &text)
{
	return static_cast<char>(std::toupper(text[0])) + text.substr(1);
}

std::string size_text(const row &of)
{
	if (of.unit != "bytes")
		return number_text(of.size) + " " +
		       (of.size == 1 && of.unit.back() == 's' ? of.unit.substr(0, of.unit.size() - 1) : of.unit);
	if (of.size && of.size % (1 << 20) == 0)
		return std::to_string(of.size >> 20) + " MiB";
	return of.size && of.size % 1024 == 0 ? std::to_string(of.size >> 10) + " KiB" : std::to_string(of.size) + " B";
}

} // namespace bench
