// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The forms in which findings are printed.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "common/printable.hpp"
#include "fixtures.hpp"
#include "golden.hpp"
#include "report.hpp"

namespace {

using nlohmann::json;

struct printed {
	explicit printed(const std::string &name)
		: of{name, false}, text(fixtures::read(of.xml())), from(text, of.shown_path()), found(of.found())
	{
	}

	fixtures::fixture of;
	std::string text;
	flash_board::source from;
	flash_board::findings found;
};

TEST(report, as_json_is_as_written_down)
{
	const printed board("variant-missing-single");

	expect_golden(as_json(board.from, board.found), FIXTURES_DIR "/bad/variant-missing-single.json", "findings");
}

TEST(report, as_json_says_the_same_as_the_text_for_every_fixture)
{
	for (const auto &one : fixtures::bad()) {
		const printed board(one.name);
		const auto all = json::parse(as_json(board.from, board.found));
		std::string text;
		for (const auto &finding : all["findings"])
			text += all["file"].get<std::string>() + ":" + std::to_string(finding["line"].get<int>()) + ":" +
				std::to_string(finding["column"].get<int>()) + ": " + finding["severity"].get<std::string>() + ": " +
				finding["message"].get<std::string>() + " [" + finding["rule"].get<std::string>() + "]\n\t" +
				finding["hint"].get<std::string>() + "\n";
		EXPECT_TRUE(as_text(board.from, board.found).starts_with(tools::printable_lines(text))) << one.name;
		EXPECT_EQ(all["findings"].size(), board.found.size());
	}
}

TEST(report, as_json_counts)
{
	const printed board("variant-missing-single");
	const auto all = json::parse(as_json(board.from, board.found));

	EXPECT_EQ(all["errors"], 1);
	EXPECT_EQ(all["warnings"], 1);
	EXPECT_EQ(all["notes"], 0);
}

TEST(report, as_sarif_is_as_written_down)
{
	const printed board("section-wraps");

	expect_golden(as_sarif(board.from, board.found, "1.0"), FIXTURES_DIR "/bad/section-wraps.sarif", "findings");
}

TEST(report, as_sarif_names_rules_places_and_elements_for_every_fixture)
{
	for (const auto &one : fixtures::bad()) {
		const printed board(one.name);
		const auto run = json::parse(as_sarif(board.from, board.found, "1.0"))["runs"][0];
		const auto &rules = run["tool"]["driver"]["rules"];
		ASSERT_EQ(run["results"].size(), board.found.size()) << one.name;
		for (std::size_t i = 0; i < board.found.size(); i++) {
			const auto &result = run["results"][i];
			const auto &region = result["locations"][0]["physicalLocation"]["region"];
			EXPECT_EQ(result["ruleId"], rules[result["ruleIndex"].get<std::size_t>()]["id"]);
			EXPECT_EQ(result["ruleId"].get<std::string>(), board.found[i].broken->id);
			EXPECT_GE(region["startLine"].get<int>(), 1);
			EXPECT_GE(region["startColumn"].get<int>(), 1);
		}
	}
}

TEST(report, counts_columns_in_characters_for_sarif_and_in_bytes_elsewhere)
{
	const std::string text = "<board name='b'>\n<!-- \xc3\xa9 --><x/></board>";
	const flash_board::source from(text, "b.xml");
	auto found = flash_board::check(from, nullptr);

	ASSERT_EQ(found.back().broken->id, "unknown-element");
	EXPECT_NE(as_text(from, found).find("b.xml:2:13: error: <x> is not expected inside <board>"), std::string::npos);
	EXPECT_EQ(json::parse(as_sarif(from, found, "1"))["runs"][0]["results"]
			  .back()["locations"][0]["physicalLocation"]["region"]["startColumn"],
		  12);
}

TEST(report, of_text_that_is_not_utf_8_is_still_json)
{
	const printed board("encoding");

	EXPECT_TRUE(json::accept(as_json(board.from, board.found)));
	EXPECT_TRUE(json::accept(as_sarif(board.from, board.found, "1")));
}

// The description may be anybody's.
TEST(report, has_no_characters_that_steer_a_terminal)
{
	const std::string text = "<board name='b'><instance id='0xffffffff'><module name='flash_mng'><node name='mtd_info'>"
				 "<entry name='\xc2\x9b' mtd_name='&#27;[2K' avail_size='1'/></node></module></instance></board>";
	const flash_board::source from(text, "b.xml");
	const auto report = as_text(from, flash_board::check(from, nullptr));

	EXPECT_EQ(report.find('\033'), report.npos) << report;
	EXPECT_EQ(report.find("\xc2\x9b"), report.npos) << report;
}

TEST(report, says_when_there_is_nothing)
{
	const std::string text = "<board name='b'><instance id='0xffffffff'/></board>";
	const flash_board::source from(text, "b.xml");
	const auto found = flash_board::check(from, nullptr);

	EXPECT_EQ(as_text(from, found), "b.xml: nothing found\n");
	EXPECT_TRUE(json::parse(as_json(from, found))["findings"].is_array());
	EXPECT_TRUE(json::parse(as_sarif(from, found, "1"))["runs"][0]["results"].is_array());
}

} // namespace
