// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "behind.hpp"

#include <map>
#include <ostream>

namespace bench {

namespace {

constexpr double level = 1.005; // what a table shows as 1.00 is no difference

using reason_list = std::map<std::string, std::string>;

reason_list read_reasons(const std::string &path)
{
	reason_list reasons;
	std::ifstream file = opened(path);
	for (std::string line; std::getline(file, line);) {
		if (line.empty() || line.front() == '#')
			continue;
		const std::vector<std::string> words = split(line, '\t');
		if (words.size() != 3)
			fail(path + ": not a reason: " + line);
		reasons[words[0] + '\t' + words[1]] = words[2];
	}
	return reasons;
}

struct lag {
	std::string area;
	std::string way;
	std::string cases; // subjects and sizes, each with its ratio
	std::string last_subject;
};

void add_case(lag &to, const row &of, const peer &by)
{
	if (of.subject != to.last_subject)
		to.cases += (to.cases.empty() ? "" : "; ") + of.subject;
	else
		to.cases += ",";
	to.last_subject = of.subject;
	const bool is_single = of.unit == "command" || of.unit == "call";
	to.cases += (is_single ? " " : " " + size_text(of) + " ") + fixed(ratio(of, by), 2);
}

std::vector<lag> lags_of(const std::vector<row> &rows)
{
	std::vector<lag> lags;
	std::map<std::string, std::size_t> places;
	for (const row &of : rows)
		for (std::size_t i = 1; of.is_counted() && i < of.ways.size(); ++i) {
			const peer &by = of.ways[i];
			if (by.instructions == 0 || ratio(of, by) < level)
				continue;
			const auto [place, is_new] = places.emplace(of.area + '\t' + by.way, lags.size());
			if (is_new)
				lags.push_back({of.area, by.way, "", ""});
			add_case(lags[place->second], of, by);
		}
	return lags;
}

} // namespace

void write_behind(std::ostream &out, const std::vector<row> &rows, const std::string &reasons)
{
	const reason_list known = read_reasons(reasons);
	out << "| What | Peer | Ratio | Why |\n|---|---|---|---|\n";
	for (const lag &of : lags_of(rows)) {
		const auto reason = known.find(of.area + '\t' + of.way);
		if (reason == known.end())
			fail(reasons + " has no reason for: " + of.area + ", " + of.way + " (" + of.cases + ")");
		out << "| " << heading(of.area) << " | " << of.way << " | " << of.cases << " | " << reason->second << " |\n";
	}
}

} // namespace bench
