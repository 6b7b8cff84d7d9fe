// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What check, simulate and diff print as JSON agrees with the schema, for every fixture and board.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include "board_reader.hpp"
#include "fixtures.hpp"
#include "layout_change.hpp"
#include "report.hpp"
#include "simulate.hpp"

namespace {

using nlohmann::json;

const valijson::Schema &schema()
{
	static valijson::Schema parsed;
	static const bool once = [] {
		const auto text = json::parse(fixtures::read(REPOSITORY_DIR "/tools/flash-board/flash-board.schema.json"));
		valijson::SchemaParser(valijson::SchemaParser::kDraft7)
			.populateSchema(valijson::adapters::NlohmannJsonAdapter(text), parsed);
		return true;
	}();
	(void)once;
	return parsed;
}

// What does not agree, empty where all does.
std::string disagreement(const json &report)
{
	valijson::ValidationResults results;
	valijson::Validator validator;
	std::string text;

	validator.validate(schema(), valijson::adapters::NlohmannJsonAdapter(report), &results);
	for (valijson::ValidationResults::Error error; results.popError(error);)
		for (const auto &step : error.context)
			text += step + (&step == &error.context.back() ? ": " + error.description + "\n" : "");
	return text;
}

json checked(const fixtures::fixture &one)
{
	const auto text = fixtures::read(one.xml());

	return json::parse(as_json(flash_board::source(text, one.shown_path()), one.found()));
}

json simulated(const std::string &path, const flash_board::mtd_layout &layout)
{
	return json::parse(as_json(flash_board::simulate(flash_board::read_board(fixtures::read(path), path), layout)));
}

std::vector<fixtures::fixture> all_fixtures()
{
	auto all = fixtures::bad();
	const auto good = fixtures::good();

	all.insert(all.end(), good.begin(), good.end());
	return all;
}

TEST(schema, agrees_with_check_for_every_fixture)
{
	for (const auto &one : all_fixtures())
		EXPECT_EQ(disagreement(checked(one)), "") << one.shown_path();
}

TEST(schema, agrees_with_simulate_for_every_board_that_compiles)
{
	std::size_t boards = 0;

	for (const auto &one : all_fixtures()) {
		try {
			const auto report = simulated(one.xml(), one.layout());
			EXPECT_EQ(disagreement(report), "") << one.shown_path() << "\n" << report;
			boards++;
		} catch (const flash_board::input_error &) {
		}
	}
	EXPECT_GE(boards, 60u);
	for (const auto *name : {"plain", "cards", "variants"})
		EXPECT_EQ(disagreement(simulated(REPOSITORY_DIR "/board/xml/" + std::string(name) + ".xml", {})), "") << name;
}

// Each key of a report, and something that it must not be.
void expect_each_key_is_looked_at(const json &good)
{
	ASSERT_EQ(disagreement(good), "");
	for (const auto &item : good.items()) {
		json without = good, wrong = good;
		without.erase(item.key());
		EXPECT_NE(disagreement(without), "") << item.key();
		wrong[item.key()] = -1.5;
		EXPECT_NE(disagreement(wrong), "") << item.key();
	}
	json more = good;
	more["extra"] = 1;
	EXPECT_NE(disagreement(more), "");
}

// The same for the first row of an array of the report.
void expect_each_key_of_a_row_is_looked_at(const json &good, const char *array)
{
	ASSERT_GE(good[array].size(), 1u) << array;
	for (const auto &item : good[array][0].items()) {
		json without = good, wrong = good;
		without[array][0].erase(item.key());
		EXPECT_NE(disagreement(without), "") << array << " " << item.key();
		wrong[array][0][item.key()] = -1.5;
		EXPECT_NE(disagreement(wrong), "") << array << " " << item.key();
	}
}

// What an update from the board of cards to another one does.
json changed_to(const char *name)
{
	const auto old_text = fixtures::read(REPOSITORY_DIR "/board/xml/cards.xml");
	const auto new_text = fixtures::read(REPOSITORY_DIR "/board/xml/" + std::string(name) + ".xml");
	const flash_board::source before(old_text, "cards.xml"), after(new_text, name);
	const flash_board::document old_board(before), new_board(after);

	return json::parse(as_json(before, after, flash_board::compare({old_board, nullptr}, {new_board, nullptr})));
}

TEST(schema, agrees_with_diff)
{
	for (const auto *name : {"cards", "plain", "variants", "bare"})
		EXPECT_EQ(disagreement(changed_to(name)), "") << name;
}

TEST(schema, refuses_changes_that_do_not_agree)
{
	const auto good = changed_to("variants");

	expect_each_key_is_looked_at(good);
	expect_each_key_of_a_row_is_looked_at(good, "changes");
}

TEST(schema, refuses_findings_that_do_not_agree)
{
	const auto good = checked({"section-wraps", false});

	expect_each_key_is_looked_at(good);
	expect_each_key_of_a_row_is_looked_at(good, "findings");
	json wrong = good;
	wrong["findings"][0]["severity"] = "bad";
	EXPECT_NE(disagreement(wrong), "");
}

TEST(schema, refuses_results_that_do_not_agree)
{
	const auto good = simulated(REPOSITORY_DIR "/board/xml/cards.xml", fixtures::common_layout());

	expect_each_key_is_looked_at(good);
	for (const auto *array : {"sections", "partitions", "spi_flashes", "spi_partitions", "load_messages"})
		expect_each_key_of_a_row_is_looked_at(good, array);
}

} // namespace
