// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "record.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <sstream>

#include "requests.hpp"

namespace bench {

namespace {

std::string key(const row &of)
{
	return of.area + '\t' + of.subject + '\t' + std::to_string(of.size) + '\t' + of.unit;
}

// The rows of the committed figures: everything in front of the last tab.
std::set<std::string> committed_rows()
{
	std::set<std::string> rows;
	std::ifstream file("/bench/figures.txt");
	for (std::string line; std::getline(file, line);)
		if (!line.empty() && line.front() != '#')
			rows.insert(line.substr(0, line.rfind('\t')));
	return rows;
}

void expect_success(const row &of, const std::string &way, std::uint32_t code)
{
	if (code == 0)
		return;
	std::ostringstream text;
	text << of.subject << ", " << of.size << " " << of.unit << ", " << way << ": code 0x" << std::hex << code;
	fail(text.str());
}

} // namespace

void fail(const std::string &what)
{
	std::cerr << "bench: " << what << std::endl;
	std::exit(1);
}

recorder::recorder(mode wanted, const device &kernel)
	: mode_(wanted), kernel_(kernel), committed_(committed_rows()), figures_("/results/figures.tsv", std::ios::app),
	  marks_("/results/marks.tsv", std::ios::app)
{
}

bool recorder::is_wanted(const row &of, const std::string &way) const
{
	if (mode_ == mode::full)
		return true;
	return way == module_way && (mode_ == mode::trace || committed_.count(key(of)));
}

void recorder::trace(const row &of, const std::function<std::uint32_t()> &operation)
{
	kernel_.command(BENCH_MARK, 0ul);
	const std::uint32_t code = operation();
	kernel_.command(BENCH_MARK, 0ul);
	expect_success(of, module_way, code);
	marks_ << key(of) << std::endl;
}

void recorder::count(const row &of, const std::string &way, unsigned times, const std::function<std::uint32_t()> &operation)
{
	if (!is_wanted(of, way))
		return;
	if (mode_ == mode::trace)
		return trace(of, operation);

	expect_success(of, way, operation());
	std::uint32_t smallest = std::numeric_limits<std::uint32_t>::max();
	for (unsigned i = 0; i < times; ++i) {
		const std::uint32_t start = counter();
		const std::uint32_t code = operation();
		smallest = std::min(smallest, counter() - start);
		expect_success(of, way, code);
	}
	note(of, way, "instructions", smallest);
}

void recorder::count(const row &of, const std::string &way, bench_request request)
{
	if (!is_wanted(of, way))
		return;
	const auto run = [&] { return run_call(kernel_, request); };
	if (mode_ == mode::trace) {
		request.times = 1;
		return trace(of, run);
	}
	expect_success(of, way, run());
	note(of, way, "instructions", request.instructions);
}

void recorder::note(const row &of, const std::string &way, const std::string &what, std::uint64_t figure)
{
	figures_ << key(of) << '\t' << way << '\t' << what << '\t' << figure << std::endl;
}

} // namespace bench
