// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The checker's verdict against the behaviour of the module's own code, over every board there is and over many made up ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "board_maker.hpp"
#include "board_reader.hpp"
#include "fixtures.hpp"
#include "golden.hpp"
#include "report.hpp"
#include "simulate.hpp"
#include "tables.hpp"

namespace {

using namespace flash_board;
using made_up::made_up_board;

bool has(const findings &found, effect consequence)
{
	return std::any_of(found.begin(), found.end(), [&](const finding &one) { return one.broken->consequence == consequence; });
}

bool has(const findings &found, effect consequence, std::size_t element)
{
	return std::any_of(found.begin(), found.end(),
			   [&](const finding &one) { return one.broken->consequence == consequence && one.element == element; });
}

bool has(const findings &found, std::string_view rule_id, std::size_t element)
{
	return std::any_of(found.begin(), found.end(),
			   [&](const finding &one) { return one.broken->id == rule_id && one.element == element; });
}

// One board, checked and simulated.
class trial {
public:
	trial(std::string text, const mtd_layout &layout)
		: text_(std::move(text)), from_(text_, "board.xml"), document_(from_), found_(check(from_, &layout))
	{
		try {
			board_ = read_board(text_, "board.xml");
		} catch (const input_error &) {
		}
		if (board_)
			result_ = simulate(*board_, layout);
	}

	void compare() const
	{
		SCOPED_TRACE(std::string(from_.text()) + as_text(from_, found_) + (result_ ? as_text(*result_) : ""));
		// What is too large as a whole is refused only when it is compiled.
		EXPECT_EQ(has(found_, effect::refused), !board_);
		if (!board_)
			return;
		EXPECT_EQ(has(found_, effect::load_fails), result_->load_code != 0);
		if (result_->load_code)
			return;
		compare_sections();
		compare_partitions();
		compare_spi();
	}

	const simulation_result &result() const { return result_.value(); }
	bool is_refused() const { return !board_; }

private:
	pugi::xml_node default_instance() const { return instance_of(document_, default_instance_id); }

	void compare_sections() const
	{
		const auto instance = default_instance();
		const auto tables = section_tables_of(instance);
		const auto table = node_of(instance, chosen_table_name(tables.size(), bom_of(document_, instance)).c_str());
		const auto rows = section_rows_of(document_, table);
		bool dropped =
			std::any_of(found_.begin(), found_.end(), [](const finding &one) { return one.broken->id == "variant-missing"; });

		for (const auto &row : rows)
			dropped |= has(found_, effect::sections_dropped, document_.offset_of(row.xml));
		ASSERT_EQ(result_->sections.size(), dropped ? 0 : rows.size());
		for (std::size_t i = 0; !dropped && i < rows.size(); i++)
			EXPECT_EQ(has(found_, effect::section_unusable, document_.offset_of(rows[i].xml)), !is_usable(rows, i))
				<< "row " << i;
	}

	// Whether this row serves its section, up to the end.
	bool is_usable(const std::vector<section_row> &rows, std::size_t index) const
	{
		const auto &end = rows[index].range().end;
		const auto answers_for_the_end = [&](const section_row &one) {
			return one.is_usable() && one.id == rows[index].id && one.range().begin < end && one.range().end >= end;
		};

		if (result_->sections[index].served_by != index)
			return false;
		// Where an earlier row answers for the last byte, reading it says nothing about this one's partition.
		if (std::any_of(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(index), answers_for_the_end))
			return !has(found_, effect::section_unusable, document_.offset_of(rows[index].xml));
		return result_->sections[index].last_byte == 0;
	}

	void compare_partitions() const
	{
		const auto entries = entries_of(node_of(default_instance(), "mtd_info"));

		ASSERT_EQ(result_->partitions.size(), entries.size());
		for (std::size_t i = 0; i < entries.size(); i++) {
			const bool is_kept = result_->partitions[i].name == entries[i].attribute("mtd_name").value();
			EXPECT_TRUE(is_kept || has(found_, "mtd-info-name-damaged", document_.offset_of(entries[i]))) << "row " << i;
		}
	}

	void compare_spi() const
	{
		const bool all_found = std::all_of(result_->spi_flashes.begin(), result_->spi_flashes.end(),
						   [](const auto &one) { return one.code == 0; });
		std::map<std::pair<std::uint32_t, std::string>, pugi::xml_node> first_of_name;

		EXPECT_TRUE(all_found || has(found_, effect::search_fails));
		for (const auto instance : instances_of(document_))
			for (const auto entry : entries_of(node_of(instance, "spi_flash_map")))
				first_of_name.try_emplace({*id_of(instance), entry.attribute("name").value()}, entry);
		for (const auto &one : result_->map_entries)
			EXPECT_EQ(has(found_, effect::map_fails, document_.offset_of(first_of_name.at({one.instance, one.entry}))),
				  one.code != 0)
				<< one.entry;
	}

	std::string text_;
	source from_;
	document document_;
	findings found_;
	std::optional<board> board_;
	std::optional<simulation_result> result_;
};

void compare(const std::string &text, const mtd_layout &layout)
{
	trial(text, layout).compare();
}

TEST(agreement, on_the_fixtures)
{
	for (const auto &one : fixtures::bad())
		compare(fixtures::read(one.xml()), one.layout());
	for (const auto &one : fixtures::good())
		compare(fixtures::read(one.xml()), one.layout());
}

TEST(agreement, on_the_boards_of_the_repository)
{
	std::size_t boards = 0;

	for (const auto *folder : {"/board/xml", "/tests/guest/boards", "/tests/conformance/boards"})
		for (const auto &file : std::filesystem::directory_iterator(std::string(REPOSITORY_DIR) + folder)) {
			compare(fixtures::read(file.path()), fixtures::common_layout());
			boards++;
		}
	EXPECT_GE(boards, 20u);
}

// A rule about a search that fails is broken by a board where one does.
TEST(agreement, searches_fail_where_the_fixture_of_a_rule_says_so)
{
	for (const auto &one : fixtures::bad()) {
		if (one.broken().consequence != effect::search_fails)
			continue;
		const trial tried(fixtures::read(one.xml()), one.layout());
		const auto &flashes = tried.result().spi_flashes;
		EXPECT_TRUE(std::any_of(flashes.begin(), flashes.end(), [](const auto &flash) { return flash.code != 0; })) << one.name;
	}
}

TEST(agreement, on_boards_that_are_made_up)
{
	const auto layout = fixtures::common_layout();
	std::size_t loaded = 0, with_sections = 0;

	for (unsigned seed = 0; seed < 2000 && !testing::Test::HasFailure(); seed++) {
		const trial tried(made_up_board(seed), layout);
		tried.compare();
		ASSERT_FALSE(tried.is_refused()) << seed;
		loaded += tried.result().load_code == 0;
		with_sections += !tried.result().sections.empty();
	}
	// The boards are worth comparing: both outcomes are common.
	EXPECT_GT(loaded, 1000u);
	EXPECT_LT(loaded, 1950u);
	EXPECT_GT(with_sections, 500u);
}

// What the board compares with the real module is worth it, too.
TEST(agreement, of_the_boards_for_the_board_some_load_and_some_do_not)
{
	std::size_t loaded = 0, with_sections = 0, with_flashes = 0;

	for (unsigned i = 0; i < made_up::boards_for_the_board; i++) {
		const auto result = simulate(read_board(made_up_board(made_up::first_seed + i), "b.xml"), made_up::layout());
		loaded += result.load_code == 0;
		with_sections += !result.sections.empty();
		with_flashes += !result.spi_flashes.empty();
	}
	EXPECT_EQ(made_up::boards_for_the_board, 30u);
	EXPECT_GT(loaded, 10u);
	EXPECT_LT(loaded, 30u);
	EXPECT_GT(with_sections, 5u);
	EXPECT_GT(with_flashes, 5u);
}

TEST(agreement, names_are_damaged_where_the_fixture_says_so)
{
	const trial tried(fixtures::read(FIXTURES_DIR "/bad/mtd-info-name-damaged-39.xml"), fixtures::common_layout());

	EXPECT_NE(tried.result().partitions.at(0).name, "a_name_of_exactly_39_characters_is_this");
}

TEST(simulation, repeats_itself)
{
	const auto board = read_board(fixtures::read(REPOSITORY_DIR "/board/xml/cards.xml"), "cards.xml");

	EXPECT_EQ(as_text(simulate(board, fixtures::common_layout())), as_text(simulate(board, fixtures::common_layout())));
}

TEST(simulation, prints_what_the_module_says_about_the_demo_board)
{
	const auto board = read_board(fixtures::read(REPOSITORY_DIR "/board/xml/plain.xml"), "plain.xml");

	expect_golden(as_text(simulate(board, fixtures::common_layout())), FIXTURES_DIR "/plain.simulation.txt", "simulation");
}

simulation_result simulated_fixture(const char *name)
{
	for (const auto &one : fixtures::bad())
		if (one.name == name)
			return simulate(read_board(fixtures::read(one.xml()), "b.xml"), one.layout());
	throw std::runtime_error(std::string("there is no fixture ") + name);
}

TEST(simulation, says_that_a_section_and_a_listed_partition_lose_writes)
{
	const auto result = simulated_fixture("mtd-info-section");

	ASSERT_EQ(result.partitions.size(), 2u);
	EXPECT_FALSE(result.partitions[0].can_lose_writes());
	EXPECT_EQ(result.partitions[1].section, 0u);
	EXPECT_TRUE(result.partitions[1].can_lose_writes());
	EXPECT_NE(as_text(result).find("writes of \"boot\" can be lost: section row 0 is the same partition\n"), std::string::npos);
}

TEST(simulation, shows_the_two_ways_to_a_listed_partition_that_is_not_nand)
{
	const auto result = simulated_fixture("mtd-info-not-nand");

	ASSERT_EQ(result.partitions.size(), 2u);
	EXPECT_EQ(result.partitions[0].of_commands, transfer_path::whole);
	EXPECT_EQ(result.partitions[0].of_functions, transfer_path::whole);
	EXPECT_EQ(result.partitions[1].of_commands, transfer_path::whole);
	EXPECT_EQ(result.partitions[1].of_functions, transfer_path::block);
	EXPECT_NE(as_text(result).find("writes of \"nor\" can be lost: programs and modules go different ways\n"), std::string::npos);
}

TEST(simulation, prints_why_a_load_fails)
{
	const auto board = read_board(fixtures::read(FIXTURES_DIR "/bad/mtd-info-number.xml"), "b.xml");
	const auto text = as_text(simulate(board, {}));

	EXPECT_NE(text.find("flash_mng does not load: 0x811b0da2, mtd info init fail\n"), text.npos) << text;
	EXPECT_NE(text.find("xml_get_attr_value_u32<p0> get avail_size failed"), text.npos) << text;
}

} // namespace
