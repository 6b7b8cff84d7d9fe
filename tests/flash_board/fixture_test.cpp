// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Every rule has a board that breaks it and one that is just within it; the schema finds what the table of rules says that it finds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "fixtures.hpp"
#include "golden.hpp"
#include "report.hpp"

namespace {

using fixtures::fixture;
using flash_board::findings;

// Rules whose boards are too large for a file in the repository.
const std::set<std::string_view> without_fixture = {"file-too-long", "board-too-large"};

std::set<std::string_view> rules_in(const findings &found)
{
	std::set<std::string_view> ids;

	for (const auto &one : found)
		ids.insert(one.broken->id);
	return ids;
}

std::string test_name(const testing::TestParamInfo<fixture> &info)
{
	auto name = info.param.name;

	std::replace(name.begin(), name.end(), '-', '_');
	return name;
}

bool schema_accepts(const fixture &one)
{
	const auto command = std::string(XMLLINT_PROGRAM) + " --noout --relaxng '" REPOSITORY_DIR "/board/schema/flash_mng-board.rng' '" +
			     one.xml().string() + "' >/dev/null 2>&1";
	const int status = std::system(command.c_str());

	// 0 valid, 1 not well-formed, 3 not valid; anything else says nothing about the board.
	EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 1 || WEXITSTATUS(status) == 3))
		<< command << ": " << status << "; is libxml2-utils installed?";
	return status == 0;
}

class bad_board : public testing::TestWithParam<fixture> {};
class good_board : public testing::TestWithParam<fixture> {};

TEST_P(bad_board, breaks_its_rule)
{
	EXPECT_TRUE(rules_in(GetParam().found()).contains(GetParam().broken().id));
}

TEST_P(bad_board, is_reported_word_for_word)
{
	const auto text = fixtures::read(GetParam().xml());

	expect_golden(as_text(flash_board::source(text, GetParam().shown_path()), GetParam().found()), GetParam().expected(), "findings");
}

TEST_P(bad_board, fails_the_schema_where_the_rule_says_so)
{
	const auto found = GetParam().found();
	const bool accepted = schema_accepts(GetParam());
	const bool must_fail = std::any_of(found.begin(), found.end(), [](const auto &one) { return one.broken->in_schema; });

	EXPECT_FALSE(must_fail && accepted);
	EXPECT_TRUE(accepted || flash_board::count_of(found, flash_board::severity::error));
}

TEST_P(good_board, has_no_findings)
{
	const auto text = fixtures::read(GetParam().xml());

	EXPECT_EQ(as_text(flash_board::source(text, "board"), GetParam().found()), "board: nothing found\n");
}

TEST_P(good_board, passes_the_schema)
{
	EXPECT_TRUE(schema_accepts(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(fixtures, bad_board, testing::ValuesIn(fixtures::bad()), test_name);
INSTANTIATE_TEST_SUITE_P(fixtures, good_board, testing::ValuesIn(fixtures::good()), test_name);

TEST(rules, each_has_a_board_that_breaks_it_and_one_that_does_not)
{
	std::set<std::string_view> broken, kept;

	for (const auto &one : fixtures::bad())
		broken.insert(one.broken().id);
	for (const auto &one : fixtures::good())
		kept.insert(one.broken().id);
	for (const auto &one : flash_board::all_rules()) {
		EXPECT_NE(broken.contains(one.id), without_fixture.contains(one.id)) << one.id;
		EXPECT_NE(kept.contains(one.id), without_fixture.contains(one.id)) << one.id;
	}
}

TEST(rules, have_ids_of_their_own_and_all_their_words)
{
	std::set<std::string_view> ids;

	for (const auto &one : flash_board::all_rules()) {
		EXPECT_TRUE(ids.insert(one.id).second) << one.id;
		EXPECT_FALSE(one.title.empty() || one.explanation.empty() || one.hint.empty()) << one.id;
		EXPECT_TRUE(one.explanation.ends_with('.') && !one.title.ends_with('.') && !one.hint.ends_with('.')) << one.id;
		EXPECT_EQ(flash_board::find_rule(one.id), &one);
	}
	EXPECT_EQ(flash_board::find_rule("no-such-rule"), nullptr);
}

TEST(rules, a_consequence_is_an_error)
{
	for (const auto &one : flash_board::all_rules())
		EXPECT_TRUE(one.consequence == flash_board::effect::other || one.level == flash_board::severity::error) << one.id;
}

findings check(const std::string &text)
{
	return flash_board::check(flash_board::source(text, "b.xml"), nullptr);
}

std::string board_with_text(std::size_t size)
{
	const std::string before = "<board name='b'><instance id='0xffffffff'><module name='m'><node name='n'><entry name='e' a='";
	const std::string after = "'/></node></module></instance></board>";

	return before + std::string(size - before.size() - after.size(), 'x') + after;
}

TEST(sizes, a_file_of_1_mib_is_read_and_one_of_a_byte_more_is_not)
{
	EXPECT_FALSE(rules_in(check(board_with_text(0x100000))).contains("file-too-long"));
	EXPECT_EQ(rules_in(check(board_with_text(0x100001))), std::set<std::string_view>{"file-too-long"});
}

TEST(sizes, a_board_whose_compiled_form_is_longer_than_1_mib_is_found)
{
	EXPECT_TRUE(check(board_with_text(0x100000 - 512)).empty());
	EXPECT_EQ(rules_in(check(board_with_text(0x100000))), std::set<std::string_view>{"board-too-large"});
}

TEST(places, count_lines_columns_and_characters)
{
	const std::string text = "a\nb\xc3\xa9\tc";
	const flash_board::source from(text, "f");

	EXPECT_EQ(from.at(0).line, 1u);
	EXPECT_EQ(from.at(0).column, 1u);
	EXPECT_EQ(from.at(2).line, 2u);
	EXPECT_EQ(from.at(6).line, 2u);
	EXPECT_EQ(from.at(6).column, 5u);
	EXPECT_EQ(from.at(6).character, 4u);
	EXPECT_EQ(from.at(1000).column, from.at(text.size()).column);
}

TEST(findings_of_a_board, are_in_the_order_of_the_text)
{
	for (const auto &one : fixtures::bad()) {
		const auto found = one.found();
		EXPECT_TRUE(std::is_sorted(found.begin(), found.end(), [](const auto &a, const auto &b) { return a.offset < b.offset; }))
			<< one.name;
	}
}

TEST(findings_of_a_board, are_all_given_not_the_first)
{
	const auto found = check("<board name='b'><instance id='x'/><instance id='y' colour='red'/><unknown/></board>");

	EXPECT_EQ(flash_board::count_of(found, flash_board::severity::error), 4u);
}

} // namespace
