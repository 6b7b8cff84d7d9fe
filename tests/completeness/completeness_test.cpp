// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Every message and every code of the module's sources against the record of what the conformance suite showed.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "interface_names.hpp"
#include "module_sources.hpp"

namespace completeness {
namespace {

constexpr long least_cases = 500;

// Codes that a function would hand on and that cannot come up.
struct impossible {
	const char *function;
	const char *code;
	const char *reason;
};

constexpr impossible impossible_messages[] = {
	{"flash_get_nand_part_info", "FLASH_MNG_NULL_POINTER", "it asks with a record of its own"},
};

struct shown {
	long cases = 0;
	std::string first;
};

// One line of the table: something to be shown, and who does.
struct row {
	std::string what;
	shown by;
};

class completeness : public testing::Test {
protected:
	static void SetUpTestSuite()
	{
		std::ifstream file(COMPLETENESS_RECORD);
		std::string what, count, first;
		while (std::getline(file, what, '\t') && std::getline(file, count, '\t') && std::getline(file, first)) {
			g_record[what] = {std::stol(count), first};
			if (what.starts_with("cases "))
				g_cases = std::stol(what.substr(6));
		}
		g_sources = read_module_sources(PROJECT_DIR);
	}

	void SetUp() override { ASSERT_FALSE(g_record.empty()) << "no record of a whole run of conformance_host at " COMPLETENESS_RECORD; }

	static shown record_of(const std::string &what)
	{
		const auto found = g_record.find(what);
		return found == g_record.end() ? shown() : found->second;
	}

	static shown both(const shown &a, const shown &b) { return {a.cases + b.cases, a.cases ? a.first : b.first}; }

	static std::vector<row> message_rows()
	{
		std::vector<row> rows;
		for (const std::string &message : g_sources.messages)
			rows.push_back({message, record_of(message)});
		return rows;
	}

	// By the function's own name, and for one that serves a command by the command.
	static shown shows_code(const std::string &function, uint32_t code)
	{
		const std::string number = " " + std::to_string(code);
		shown by = record_of("code " + function + number);
		for (const auto &[handler, command] : g_sources.commands)
			if (handler == function || function == "flash_ioctl")
				by = both(by, record_of("code command " + std::to_string(command) + number));
		if (function == "flash_ioctl")
			for (const auto &[what, found] : g_record)
				if (what.starts_with("code command ") && what.ends_with(number))
					by = both(by, found);
		return by;
	}

	static std::vector<row> code_rows()
	{
		std::vector<row> rows;
		for (const std::string &function : callable_functions(PROJECT_DIR))
			for (const std::string &code : g_sources.codes_of_functions[function])
				rows.push_back({function + " " + code, shows_code(function, g_sources.codes.at(code))});
		return rows;
	}

	static bool is_impossible(const std::string &what)
	{
		return std::any_of(std::begin(impossible_messages), std::end(impossible_messages),
				   [&](const impossible &one) { return what == one.function + std::string(" ") + one.code; });
	}

	static std::string never_shown(const std::vector<row> &rows)
	{
		std::string missing;
		for (const row &row : rows)
			if (row.by.cases == 0 && !is_impossible(row.what))
				missing += row.what + "\n";
		return missing;
	}

	static inline std::map<std::string, shown> g_record;
	static inline module_sources g_sources;
	static inline long g_cases = 0;
};

TEST_F(completeness, the_sources_are_understood)
{
	EXPECT_EQ(g_sources.puzzles, std::set<std::string>());
	EXPECT_EQ(g_sources.commands.size(), interface_names::commands(PROJECT_DIR).size());
	EXPECT_FALSE(g_sources.messages.empty());
}

TEST_F(completeness, there_are_many_cases)
{
	EXPECT_GE(g_cases, least_cases);
}

TEST_F(completeness, every_message_has_a_case)
{
	EXPECT_EQ(never_shown(message_rows()), "");
}

TEST_F(completeness, every_code_has_a_case)
{
	EXPECT_EQ(never_shown(code_rows()), "");
}

TEST_F(completeness, what_is_impossible_is_never_shown)
{
	const auto rows = code_rows();
	for (const impossible &one : impossible_messages) {
		const auto found = std::find_if(rows.begin(), rows.end(),
						[&](const row &row) { return row.what == one.function + std::string(" ") + one.code; });
		EXPECT_TRUE(found != rows.end() && found->by.cases == 0) << one.function << " " << one.code << " (" << one.reason << ")";
	}
}

TEST_F(completeness, every_code_of_the_header_belongs_to_a_function)
{
	const auto rows = code_rows();
	for (const auto &code : g_sources.codes) {
		const auto is_its = [ending = " " + code.first](const row &row) { return row.what.ends_with(ending); };
		EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), is_its)) << code.first;
	}
}

TEST_F(completeness, the_table_is_written)
{
	const auto messages = message_rows(), codes = code_rows();
	std::ofstream table(COMPLETENESS_TABLE);
	for (const auto *rows : {&messages, &codes})
		for (const row &row : *rows)
			table << row.what << '\t' << row.by.cases << '\t' << row.by.first << '\n';
	EXPECT_TRUE(table.good());
	std::cout << messages.size() << " messages and " << codes.size() << " codes of functions, shown by " << g_cases << " cases\n";
	RecordProperty("messages", static_cast<int>(messages.size()));
	RecordProperty("codes", static_cast<int>(codes.size()));
}

} // namespace
} // namespace completeness
