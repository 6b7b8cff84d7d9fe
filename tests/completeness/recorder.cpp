// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Keeps, for a whole run of the conformance suite, which cases showed which message and which code, and writes it at the end:
//   cases NUMBER | log MODULE_ID LEVEL FORMAT | end TEXT | code FUNCTION CODE, then a tab, how many cases, a tab, the first of them.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "simulation.hpp"

namespace {

std::mutex g_mutex;
std::map<std::string, std::set<std::string>> g_shown; // and the cases that showed it

std::string current_case()
{
	const auto *info = testing::UnitTest::GetInstance()->current_test_info();
	return info ? info->test_suite_name() + std::string(".") + info->name() : "";
}

void note(const std::string &what)
{
	const std::string name = current_case();
	const std::lock_guard guard(g_mutex);
	if (!name.empty())
		g_shown[what].insert(name);
}

std::string on_one_line(std::string text)
{
	for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at))
		text.replace(at, 1, "\\n");
	return text;
}

// The last argument of a call as the trace shows it, without its quotes.
std::string last_text(const std::string &call, std::size_t start)
{
	return on_one_line(call.substr(start, call.size() - start - 2));
}

void called(const std::string &call)
{
	const std::string record = "drv_log_record(", between = ", 0, \"", end = "log_module_init_end(";

	if (call.starts_with(record)) {
		const auto text = call.find(between);
		std::string numbers = call.substr(record.size(), text - record.size());
		numbers.erase(numbers.find(','), 1);
		note("log " + numbers + " " + last_text(call, text + between.size()));
	} else if (call.starts_with(end) && call.ends_with("\")")) {
		note("end " + last_text(call, call.rfind(", \"") + 3));
	}
}

void answered(std::string_view function, std::uint32_t code)
{
	note("code " + std::string(function) + " " + std::to_string(code));
}

constexpr simulation::witness recording = {called, answered};

class recorder : public testing::EmptyTestEventListener {
	void OnTestProgramStart(const testing::UnitTest &) override { simulation::g_witness = &recording; }

	// Part of a suite shows nothing about the whole.
	void OnTestProgramEnd(const testing::UnitTest &suite) override
	{
		if (suite.test_to_run_count() != suite.total_test_count())
			return;
		std::filesystem::create_directories(std::filesystem::path(COMPLETENESS_RECORD).parent_path());
		std::ofstream file(COMPLETENESS_RECORD);
		file << "cases " << suite.test_to_run_count() << "\t0\t\n";
		for (const auto &[what, cases] : g_shown)
			file << what << '\t' << cases.size() << '\t' << *cases.begin() << '\n';
	}
};

// The list owns it.
const bool listening = [] {
	testing::UnitTest::GetInstance()->listeners().Append(new recorder);
	return true;
}();

} // namespace
