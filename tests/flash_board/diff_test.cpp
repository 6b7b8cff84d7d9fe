// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What an update of the layout does to data: each kind of change, and what is none.
#include <gtest/gtest.h>

#include <algorithm>

#include "fixtures.hpp"
#include "layout_change.hpp"

namespace {

using namespace flash_board;

struct side {
	std::string nodes;
	const char *mtdparts = nullptr;
	std::string more = ""; // instances
	std::string bom = "0";
};

std::string board_of(const side &one)
{
	return "<board name='b' bom='" + one.bom + "'><instance id='0xffffffff'><module name='flash_mng'>\n" + one.nodes +
	       "</module></instance>\n" + one.more + "</board>";
}

struct compared {
	std::vector<std::string> lines; // without the file, and without hints
	layout_comparison made;
};

compared update(const side &old, const side &now)
{
	const auto old_text = board_of(old), new_text = board_of(now);
	const source before(old_text, "old.xml"), after(new_text, "new.xml");
	const document old_board(before), new_board(after);
	const auto old_layout = old.mtdparts ? read_mtdparts(old.mtdparts) : mtd_layout();
	const auto new_layout = now.mtdparts ? read_mtdparts(now.mtdparts) : mtd_layout();
	compared result = {{},
			   compare({old_board, old.mtdparts ? &old_layout : nullptr}, {new_board, now.mtdparts ? &new_layout : nullptr})};

	for (const auto &one : result.made.changes)
		result.lines.push_back(std::string(name_of(one.level)) + " " + std::string(name_of(one.kind)) + " " + one.object);
	return result;
}

using lines = std::vector<std::string>;

std::string row(const std::string &id, const std::string &partition, const std::string &offset, const std::string &size)
{
	return "<entry name='s" + id + "' section_id='" + id + "' mtd_name='" + partition + "' offset='" + offset + "' size='" + size +
	       "'/>\n";
}

std::string table(const std::string &rows, const std::string &name = "attr")
{
	return "<node name='" + name + "'>\n" + rows + "</node>\n";
}

std::string listed(const std::string &partition, const std::string &size)
{
	return "<node name='mtd_info'><entry name='p' mtd_name='" + partition + "' avail_size='" + size + "'/></node>";
}

std::string flash(const std::string &name, const std::string &offset, const std::string &size)
{
	return "<instance id='0x11'><module name='flash_mng'><node name='spi_flash_map'><entry name='m'><mtd_name>" + name +
	       "</mtd_name><offset>" + offset + "</offset><size>" + size + "</size></entry></node></module></instance>";
}

const side one_section = {table(row("3", "boot", "0x1000", "0x1000"))};

TEST(diff, the_same_board_is_unchanged)
{
	const auto result = update(one_section, one_section);

	EXPECT_EQ(result.lines, lines());
	EXPECT_EQ(result.made.unchanged, 1u);
	EXPECT_FALSE(result.made.concerns_data());
}

TEST(diff, names_of_entries_and_their_order_change_nothing)
{
	const auto first = row("1", "boot", "0", "0x1000"), second = row("2", "config", "0", "0x1000");

	EXPECT_EQ(update({table(first + second)}, {table(second + first)}).lines, lines());
}

TEST(diff, a_section_that_is_gone_leaves_its_bytes)
{
	const auto result = update(one_section, {table(row("4", "config", "0", "0x10"))});

	EXPECT_EQ(result.lines, (lines{"warning removed section 3", "note added section 4"}));
	EXPECT_EQ(result.made.changes[0].old_line, 3u);
	EXPECT_EQ(result.made.changes[0].new_line, 0u);
	EXPECT_TRUE(result.made.concerns_data());
}

TEST(diff, a_new_section_of_nobodys_bytes_concerns_no_data)
{
	const auto result = update(one_section, {one_section.nodes.substr(0, one_section.nodes.rfind("</node>")) +
						 row("4", "config", "0", "0x10") + "</node>"});

	EXPECT_EQ(result.lines, lines{"note added section 4"});
	EXPECT_FALSE(result.made.concerns_data());
}

TEST(diff, a_section_of_another_partition_is_moved)
{
	const auto result = update(one_section, {table(row("3", "config", "0x1000", "0x1000"))});

	EXPECT_EQ(result.lines, lines{"error moved section 3"});
}

TEST(diff, another_offset_is_another_address_of_the_same_bytes)
{
	const auto result = update(one_section, {table(row("3", "boot", "0x1800", "0x1000"))});

	ASSERT_EQ(result.lines, lines{"error readdressed section 3"});
	EXPECT_NE(result.made.changes[0].message.find("gets other bytes, or none"), std::string::npos);
	EXPECT_NE(update(one_section, {table(row("3", "boot", "0x2000", "0x1000"))}).made.changes[0].message.find("gets none"),
		  std::string::npos);
}

TEST(diff, a_smaller_section_leaves_its_last_bytes_and_a_larger_one_finds_what_was_there)
{
	const auto smaller = update(one_section, {table(row("3", "boot", "0x1000", "0xfff"))});

	ASSERT_EQ(smaller.lines, lines{"warning shrunk section 3"});
	EXPECT_NE(smaller.made.changes[0].message.find("(0x1fff to 0x2000)"), std::string::npos) << smaller.made.changes[0].message;
	EXPECT_EQ(update(one_section, {table(row("3", "boot", "0x1000", "0x1001"))}).lines, lines{"note grown section 3"});
}

TEST(diff, the_same_bytes_under_another_number_are_renamed)
{
	const auto result = update(one_section, {table(row("4", "boot", "0x1000", "0x1000"))});

	EXPECT_EQ(result.lines, lines{"warning renamed section 3"});
}

TEST(diff, rows_of_one_number_are_told_apart_by_what_they_cover)
{
	const auto first = row("1", "boot", "0", "0x1000"), second = row("1", "config", "0x1000", "0x1000");

	EXPECT_EQ(update({table(first + second)}, {table(second)}).lines, lines{"warning removed section 1"});
}

TEST(diff, what_covers_anothers_bytes_is_told_with_them)
{
	const auto old = row("1", "boot", "0", "0x1000") + row("2", "config", "0x1000", "0x2000");
	const auto result = update({table(old)}, {table(old + row("7", "config", "0x8000", "0x1800"))});

	ASSERT_EQ(result.lines, (lines{"note added section 7", "error overlap section 7"}));
	EXPECT_NE(result.made.changes[1].message.find("covers 6 KiB (0x0 to 0x1800) that section 2 held before"), std::string::npos)
		<< result.made.changes[1].message;
	EXPECT_EQ(result.made.changes[1].old_line, 4u);
	EXPECT_EQ(result.made.changes[1].new_line, 5u);
}

TEST(diff, what_overlapped_before_is_no_finding_until_it_grows)
{
	const auto short_row = row("1", "boot", "0", "0x1000"), long_row = row("2", "boot", "0x10000", "0x3000");

	EXPECT_EQ(update({table(short_row + long_row)}, {table(short_row + long_row)}).lines, lines());
	EXPECT_EQ(update({table(short_row + long_row)}, {table(row("1", "boot", "0", "0x2000") + long_row)}).lines,
		  (lines{"note grown section 1", "error overlap section 1"}));
}

TEST(diff, a_new_section_that_covers_several_says_how_many)
{
	const auto old = row("1", "boot", "0", "0x10") + row("2", "boot", "0x100", "0x10") + row("3", "boot", "0x200", "0x10");
	const auto result = update({table(old)}, {table(old + row("9", "boot", "0x300", "0x11"))});

	EXPECT_NE(result.made.changes.back().message.find("section 1 held before, and bytes of 2 more"), std::string::npos)
		<< result.made.changes.back().message;
}

TEST(diff, partitions_that_are_updated_whole_are_compared)
{
	EXPECT_EQ(update({listed("usrdata", "0x2000")}, {listed("usrdata", "0x1000")}).lines,
		  lines{"warning shrunk listed partition \"usrdata\""});
	EXPECT_EQ(update({listed("usrdata", "0x2000")}, {listed("usrdata", "0x2001")}).lines,
		  lines{"note grown listed partition \"usrdata\""});
	EXPECT_EQ(update({listed("usrdata", "0x2000")}, {listed("config", "0x2000")}).lines,
		  (lines{"warning removed listed partition \"usrdata\"", "note added listed partition \"config\""}));
}

TEST(diff, a_section_that_becomes_a_listed_partition_is_removed_and_its_bytes_are_covered)
{
	EXPECT_EQ(update(one_section, {listed("boot", "0x1000")}).lines,
		  (lines{"warning removed section 3", "note added listed partition \"boot\"", "error overlap listed partition \"boot\""}));
}

TEST(diff, partitions_of_spi_flashes_are_compared)
{
	const auto changes = [](const std::string &now) {
		return update({"", nullptr, flash("a", "0x1000", "0x1000")}, {"", nullptr, now}).lines;
	};

	EXPECT_EQ(changes(flash("a", "0x1000", "0x1000")), lines());
	EXPECT_EQ(changes(flash("a", "0x2000", "0x1000")), lines{"error moved SPI partition \"a\" of instance 0x11"});
	EXPECT_EQ(changes(flash("b", "0x1000", "0x1000")), lines{"warning renamed SPI partition \"a\" of instance 0x11"});
	EXPECT_EQ(changes(flash("b", "0x1800", "0x1000")),
		  (lines{"warning removed SPI partition \"a\" of instance 0x11", "note added SPI partition \"b\" of instance 0x11",
			 "error overlap SPI partition \"b\" of instance 0x11"}));
	EXPECT_EQ(changes(""), lines{"warning removed SPI partition \"a\" of instance 0x11"});
}

TEST(diff, partitions_are_followed_to_their_places_on_the_flash)
{
	const auto changes = [](const char *before, const char *after) { return update({"", before}, {"", after}).lines; };

	EXPECT_EQ(changes("f:1M(a),2M(b)", "f:1M(a),2M(b)"), lines());
	EXPECT_EQ(changes("f:1M(a),2M(b)", "f:1M(a),2M(c)"), lines{"warning renamed partition \"b\""});
	EXPECT_EQ(changes("f:2M(a),2M(b)", "f:1M(a),2M(b)"),
		  (lines{"warning shrunk partition \"a\"", "error moved partition \"b\"", "error overlap partition \"b\""}));
	EXPECT_EQ(changes("f:1M(a);g:2M(b)", "f:1M(a),2M(b)"), lines{"error moved partition \"b\""});
	EXPECT_EQ(changes("f:1M(a),-(b)", "f:2M(a),-(b)"),
		  (lines{"note grown partition \"a\"", "error moved partition \"b\"", "error overlap partition \"a\""}));
}

TEST(diff, a_renamed_partition_takes_its_sections_along)
{
	const auto result =
		update({table(row("3", "boot", "0", "0x1000")), "f:1M(boot)"}, {table(row("3", "start", "0", "0x1000")), "f:1M(start)"});

	EXPECT_EQ(result.lines, lines{"warning renamed partition \"boot\""});
}

TEST(diff, compares_each_variant_and_names_those_that_differ)
{
	const auto old = table(row("1", "boot", "0", "0x10")) + table(row("1", "boot", "0", "0x20"), "attr_1") +
			 table(row("1", "boot", "0", "0x30"), "attr_2");
	const auto now = table(row("1", "boot", "0", "0x10")) + table(row("1", "boot", "0", "0x10"), "attr_1") +
			 table(row("1", "config", "0", "0x30"), "attr_2");
	const auto result = update({old}, {now});

	ASSERT_EQ(result.lines, (lines{"warning shrunk section 1", "error moved section 1"}));
	EXPECT_EQ(result.made.changes[0].variants, std::vector<std::uint32_t>{1});
	EXPECT_EQ(result.made.changes[1].variants, std::vector<std::uint32_t>{2});
}

TEST(diff, another_variant_of_the_same_board_has_another_table)
{
	const auto both = table(row("1", "boot", "0", "0x10")) + table(row("1", "boot", "0", "0x20"), "attr_1");

	EXPECT_EQ(update({both}, {both, nullptr, "", "1"}).lines, lines{"warning variant the board"});
	EXPECT_EQ(update(one_section, {one_section.nodes, nullptr, "", "1"}).lines, lines());
}

TEST(diff, more_variants_than_are_compared_are_counted)
{
	std::string tables = table("");

	for (int i = 1; i < 150; i++)
		tables += table("", "attr_" + std::to_string(i));
	EXPECT_EQ(update({tables}, {tables}).made.variants_left_out, 50u);
}

TEST(diff, what_the_module_drops_of_the_new_layout_is_an_error)
{
	EXPECT_EQ(update(one_section, {table(row("3", "boot", "0x1000", "many"))}).lines,
		  (lines{"error dropped the new layout", "warning removed section 3"}));
}

TEST(diff, shows_no_name_that_steers_a_terminal)
{
	const auto old_text = board_of({table(row("3", "bo\xc2\x9bot", "0x1000", "0x1000"))}), new_text = board_of({table("")});
	const source before(old_text, "old.xml"), after(new_text, "new.xml");
	const document old_board(before), new_board(after);

	EXPECT_EQ(as_text(before, after, compare({old_board, nullptr}, {new_board, nullptr})).find("\xc2\x9b"), std::string::npos);
}

} // namespace
