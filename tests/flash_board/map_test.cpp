// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The map of a board: what is drawn where, and that the pictures are sound.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "fixtures.hpp"
#include "golden.hpp"
#include "map.hpp"

namespace {

using namespace flash_board;

board_map map_of_text(const std::string &text, const char *mtdparts = nullptr, std::optional<std::uint32_t> bom = std::nullopt)
{
	const source from(text, "b.xml");
	const document of(from);
	const auto layout = mtdparts ? read_mtdparts(mtdparts) : mtd_layout();

	return map_of(of, mtdparts ? &layout : nullptr, bom);
}

std::string board_of(const std::string &nodes)
{
	return "<board name='b'><instance id='0xffffffff'><module name='flash_mng'>" + nodes + "</module></instance></board>";
}

std::string section(const std::string &name, const std::string &offset, const std::string &size, const std::string &id = "1")
{
	return "<entry name='s' section_id='" + id + "' mtd_name='" + name + "' offset='" + offset + "' size='" + size + "'/>";
}

const map_bar &only_bar(const board_map &map)
{
	return map.groups.at(0).bars.at(0);
}

TEST(map, a_section_lies_at_the_begin_of_its_partition)
{
	const auto map = map_of_text(board_of("<node name='attr'>" + section("boot", "0x5000", "0x1000") + "</node>"), "d:64k(boot)");

	ASSERT_EQ(only_bar(map).spans.size(), 1u);
	EXPECT_EQ(only_bar(map).spans[0].range.begin, 0u);
	EXPECT_EQ(only_bar(map).spans[0].range.end, 0x1000u);
	EXPECT_EQ(only_bar(map).spans[0].addresses, "0x5000 to 0x6000");
}

TEST(map, what_no_span_covers_is_free)
{
	const auto map = map_of_text(board_of("<node name='attr'>" + section("boot", "0", "0x1000") +
					      "</node><node name='mtd_info'><entry name='p' mtd_name='boot' avail_size='0x2000'/></node>"),
				     "d:64k(boot)");
	const auto free = only_bar(map).free_ranges();

	ASSERT_EQ(free.size(), 1u);
	EXPECT_EQ(free[0].begin, 0x2000u);
	EXPECT_EQ(free[0].end, 0x10000u);
	EXPECT_TRUE(only_bar(map).shared_ranges().empty()); // a usable size is no second section
}

TEST(map, two_sections_of_one_partition_share_its_first_bytes)
{
	const auto map = map_of_text(
		board_of("<node name='attr'>" + section("boot", "0", "0x1000") + section("boot", "0x1000", "0x3000", "2") + "</node>"),
		"d:64k(boot)");
	const auto shared = only_bar(map).shared_ranges();

	ASSERT_EQ(shared.size(), 1u);
	EXPECT_EQ(shared[0].begin, 0u);
	EXPECT_EQ(shared[0].end, 0x1000u);
}

TEST(map, a_partition_of_unknown_size_has_no_known_end)
{
	const auto map = map_of_text(board_of("<node name='attr'>" + section("boot", "0", "0x1000") + "</node>"));

	EXPECT_FALSE(only_bar(map).size);
	EXPECT_EQ(only_bar(map).known_end(), 0x1000u);
	EXPECT_GT(only_bar(map).extent(), 0x1000u);
	EXPECT_TRUE(only_bar(map).free_ranges().empty());
	EXPECT_FALSE(only_bar(map).is_missing);
}

TEST(map, a_partition_that_the_layout_does_not_have_is_missing)
{
	const auto map = map_of_text(board_of("<node name='attr'>" + section("boot", "0", "0x1000") + "</node>"), "d:64k(other)");

	ASSERT_EQ(map.groups.size(), 2u);
	EXPECT_TRUE(map.groups[1].bars.at(0).is_missing);
	EXPECT_NE(as_text(map).find("boot (no such partition)"), std::string::npos);
}

TEST(map, says_how_far_a_section_reaches_beyond_its_partition)
{
	const auto map = map_of_text(board_of("<node name='attr'>" + section("boot", "0", "0x20000") + "</node>"), "d:64k(boot)");

	EXPECT_NE(as_text(map).find("64 KiB BEYOND THE END"), std::string::npos);
	EXPECT_NE(as_svg(map).find("64 KiB beyond the end"), std::string::npos);
}

TEST(map, draws_the_variant_that_is_asked_for)
{
	const auto text = board_of("<node name='attr'>" + section("a", "0", "1") + "</node><node name='attr_7'>" + section("b", "0", "1") +
				   "</node>");

	EXPECT_EQ(only_bar(map_of_text(text)).title, "a");
	EXPECT_EQ(only_bar(map_of_text(text, nullptr, 7)).title, "b");
	EXPECT_TRUE(map_of_text(text, nullptr, 8).groups.empty());
}

// One row that cannot be read drops the table, as it does in flash_mng.
TEST(map, says_why_all_sections_are_left_out)
{
	const auto map =
		map_of_text(board_of("<node name='attr'>" + section("boot", "0", "0x1000") + section("config", "0", "many") + "</node>"));

	EXPECT_TRUE(map.groups.empty());
	EXPECT_EQ(map.left_out, std::vector<std::string>{"flash_mng drops all of attr, because it cannot read entry \"s\" in line 1"});
	EXPECT_NE(as_text(map).find("left out: flash_mng drops all of attr"), std::string::npos);
	EXPECT_NE(as_svg(map).find("left out: flash_mng drops all of attr"), std::string::npos);
}

TEST(map, says_that_flash_mng_does_not_load)
{
	const auto map =
		map_of_text(board_of("<node name='attr'>" + section("boot", "0", "0x1000") +
				     "</node><node name='mtd_info'><entry name='p' mtd_name='usrdata' avail_size='many'/></node>"));

	EXPECT_TRUE(map.groups.empty());
	EXPECT_EQ(map.left_out,
		  std::vector<std::string>{"flash_mng does not load, because it cannot read entry \"p\" in line 1 of mtd_info"});
}

TEST(map, leaves_out_rows_with_names_that_are_too_long_to_be_read)
{
	EXPECT_TRUE(map_of_text(board_of("<node name='attr'>" + section(std::string(40, 'n'), "0", "1") + "</node>")).groups.empty());
	EXPECT_FALSE(map_of_text(board_of("<node name='attr'>" + section(std::string(39, 'n'), "0", "1") + "</node>")).groups.empty());
}

TEST(map, says_which_entries_of_a_partition_map_are_left_out)
{
	const auto entry = [](const std::string &name, const std::string &size) {
		return "<entry name='m'><mtd_name>" + name + "</mtd_name><offset>0</offset>" + size + "</entry>";
	};
	const auto map = map_of_text(board_of("<node name='spi_flash_map'>" + entry("good", "<size>1</size>") + entry("half", "") +
					      entry("odd", "<size>x</size>") + entry(std::string(19, 'n'), "<size>1</size>") + "</node>"));

	ASSERT_EQ(map.left_out.size(), 3u);
	EXPECT_EQ(map.left_out[0], "instance 0xffffffff: entry \"m\" in line 1 has no range");
	EXPECT_EQ(map.left_out[1], "instance 0xffffffff: entry \"m\" in line 1 cannot be read");
	EXPECT_EQ(map.groups.at(0).bars.at(0).spans.size(), 1u);
}

TEST(map, shows_partitions_of_spi_flashes)
{
	const auto map = map_of_text(fixtures::read(REPOSITORY_DIR "/board/xml/cards.xml"));
	const auto &flashes = map.groups.back();

	EXPECT_EQ(flashes.title, "SPI flashes");
	EXPECT_EQ(flashes.bars.at(0).title, "instance 0x11");
	EXPECT_EQ(flashes.bars.at(0).place, "card 1 of 0x10");
	EXPECT_EQ(flashes.bars.at(0).spans.size(), 2u);
}

// One terminal drawing, word for word, with everything in it.
TEST(map, for_a_terminal_is_as_written_down)
{
	const auto text = fixtures::read(FIXTURES_DIR "/map.xml");

	expect_golden(as_text(map_of_text(text, "flash:1M(boot),4M(config),8M(usrdata),-(rootfs)")), FIXTURES_DIR "/map.txt", "pictures");
}

TEST(map, every_picture_is_well_formed_and_stays_on_its_paper)
{
	auto all = fixtures::bad();
	const auto good = fixtures::good();
	all.insert(all.end(), good.begin(), good.end());
	const auto layout = fixtures::common_layout();

	for (const auto &one : all) {
		const auto text = fixtures::read(one.xml());
		const source from(text, one.name);
		const document of(from);
		const auto svg = as_svg(map_of(of, &layout, std::nullopt));
		pugi::xml_document picture;
		ASSERT_TRUE(picture.load_string(svg.c_str())) << one.name;
		const auto width = picture.child("svg").attribute("width").as_int(),
			   height = picture.child("svg").attribute("height").as_int();
		for (const auto &found : picture.select_nodes("//rect[@x]")) {
			const auto box = found.node();
			EXPECT_GE(box.attribute("width").as_int(), 0) << one.name;
			EXPECT_LE(box.attribute("x").as_int() + box.attribute("width").as_int(), width) << one.name;
			EXPECT_LE(box.attribute("y").as_int() + box.attribute("height").as_int(), height) << one.name;
		}
	}
}

TEST(map, names_are_written_as_text_not_as_markup)
{
	const auto map = map_of_text(board_of("<node name='attr'>" + section("&lt;/text&gt;&amp;&quot;", "0", "0x1000") + "</node>"));
	pugi::xml_document picture;

	ASSERT_TRUE(picture.load_string(as_svg(map).c_str()));
	EXPECT_TRUE(picture.select_node("//text[.='</text>&\"']"));
}

} // namespace
