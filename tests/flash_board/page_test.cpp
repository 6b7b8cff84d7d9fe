// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The page of flash-board report as text: what it holds, that data stays data, that it needs nothing else. What it shows is looked at in a
// browser by ./dev report-test.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <regex>

#include "board_reader.hpp"
#include "check.hpp"
#include "fixtures.hpp"
#include "page.hpp"

namespace {

using namespace flash_board;
using nlohmann::json;

constexpr const char *demo_partitions = "NAND:1M(boot),4M(config),8M(usrdata),-(rootfs)";

std::string page_of(const std::string &text, const char *mtdparts = nullptr)
{
	const auto layout = read_mtdparts(mtdparts ? mtdparts : "f:1");
	const auto *known = mtdparts ? &layout : nullptr;
	const source from(text, "board.xml");
	const auto found = check(from, known);
	page_content content = {from, found, known, mtdparts ? mtdparts : "", {}, "", !first_refusal(found), "flash-board test"};

	if (content.has_map)
		content.simulation = simulate(read_board(text, "board.xml"), known ? layout : mtd_layout());
	return as_page(content);
}

std::string demo_board(const std::string &name)
{
	return fixtures::read(REPOSITORY_DIR "/board/xml/" + name + ".xml");
}

// The text between the island's tags.
std::string island_of(const std::string &page)
{
	const std::string open = "<script type=\"application/json\" id=\"data\">";
	const auto begin = page.find(open) + open.size();

	return page.substr(begin, page.find("</script>", begin) - begin);
}

json data_of(const std::string &page)
{
	return json::parse(island_of(page));
}

std::size_t count_of(const std::string &text, const std::string &what)
{
	std::size_t count = 0;

	for (auto at = text.find(what); at != text.npos; at = text.find(what, at + 1))
		count++;
	return count;
}

std::string section(const std::string &name, const std::string &more = "")
{
	return "<board name='b'><instance id='0xffffffff'><module name='flash_mng'><node name='attr'>"
	       "<entry name='s' section_id='1' mtd_name='" +
	       name + "' offset='0' size='0x100' " + more + "/></node></module></instance></board>";
}

TEST(page, is_the_same_for_the_same_board)
{
	EXPECT_EQ(page_of(demo_board("cards"), demo_partitions), page_of(demo_board("cards"), demo_partitions));
}

TEST(page, has_what_the_map_the_checks_and_the_simulation_say)
{
	const auto data = data_of(page_of(demo_board("plain"), demo_partitions));

	EXPECT_EQ(data["board"], "plain");
	EXPECT_EQ(data["groups"], json::array({"NAND"}));
	ASSERT_EQ(data["bars"].size(), 4u);
	EXPECT_EQ(data["bars"][3]["offset"], 0xd00000);
	EXPECT_EQ(data["bars"][3]["size"], nullptr);
	ASSERT_EQ(data["spans"].size(), 4u);
	EXPECT_EQ(data["spans"][3]["title"], "section 2");
	EXPECT_EQ(data["spans"][3]["address"], 0xd00000);
	EXPECT_EQ(data["spans"][3]["line"], 10);
	EXPECT_EQ(data["simulation"]["load_code"], 0);
	EXPECT_EQ(data["source"], demo_board("plain"));
}

TEST(page, has_each_variant_and_says_which_parts_are_in_which)
{
	const auto data = data_of(page_of(demo_board("variants"), demo_partitions));

	ASSERT_EQ(data["variants"].size(), 3u);
	EXPECT_EQ(data["variants"][2]["own"], true);
	EXPECT_EQ(data["variants"][1]["about"], "sections of node \"attr_1\"");
	ASSERT_EQ(data["spans"].size(), 5u);
	EXPECT_EQ(std::count_if(data["spans"].begin(), data["spans"].end(), [](const json &one) { return one["variants"].is_null(); }), 1);
	EXPECT_EQ(data["spans"][0]["variants"], json::array({0}));
}

TEST(page, shows_at_most_a_hundred_variants_and_always_the_boards_own)
{
	std::string tables = "<node name='attr'/>";

	for (int i = 1; i < 200; i++)
		tables += "<node name='attr_" + std::to_string(i) + "'/>";
	const auto data = data_of(page_of("<board name='b' bom='180'><instance id='0xffffffff'><module name='flash_mng'>" + tables +
					  "</module></instance></board>"));

	EXPECT_EQ(data["variants"].size(), 100u);
	EXPECT_EQ(data["variants"][99]["number"], 180);
	EXPECT_EQ(data["variants_left_out"], 100);
}

TEST(page, of_a_board_that_is_refused_has_its_findings_and_its_text)
{
	const auto data = data_of(page_of(fixtures::read(fixtures::fixture{"duplicate-id", false}.xml())));

	EXPECT_EQ(data["spans"].size(), 0u);
	EXPECT_NE(data["no_map"], "");
	EXPECT_EQ(data["findings"][0]["rule"], "duplicate-id");
	EXPECT_EQ(data["simulation"], nullptr);
}

TEST(page, keeps_markup_of_a_description_in_its_island)
{
	const auto plain = page_of(section("boot"));

	for (const std::string name :
	     {"</script><script>alert(1)</script>", "<!--<script>", "<img src=x onerror=alert(2)>", "]]><svg/onload=alert(3)>"}) {
		const auto page = page_of(section(std::regex_replace(name, std::regex("<"), "&lt;")));
		for (const auto *word : {"<script", "</script", "<img", "<svg", "<!--"})
			EXPECT_EQ(count_of(page, word), count_of(plain, word)) << name << " " << word;
		EXPECT_EQ(island_of(page).find('<'), std::string::npos);
		EXPECT_EQ(data_of(page)["bars"].at(0)["title"], name);
	}
}

TEST(page, survives_bytes_that_are_no_text)
{
	const auto data = data_of(page_of("<board name='\xff\xfe'>\x01\xc3</board>"));

	EXPECT_GE(data["findings"].size(), 1u);
}

// Policy, script and style as the browser reads them.
TEST(page, lets_no_script_run_but_its_own)
{
	const auto page = page_of(demo_board("plain"));
	std::smatch policy;

	ASSERT_TRUE(std::regex_search(page, policy, std::regex("http-equiv=\"Content-Security-Policy\"\\s*content=\"([^\"]*)\"")));
	EXPECT_TRUE(std::regex_match(policy[1].str(),
				     std::regex("default-src 'none'; style-src 'sha256-[A-Za-z0-9+/]{43}='; "
						"script-src 'sha256-[A-Za-z0-9+/]{43}='; base-uri 'none'; form-action 'none'")))
		<< policy[1];
	EXPECT_LT(page.find("Content-Security-Policy"), page.find("<style"));
	EXPECT_EQ(count_of(page, "<script"), 2u);
}

TEST(page, refers_to_nothing_outside)
{
	auto page = page_of(demo_board("cards"), demo_partitions);

	page.erase(page.find(island_of(page)), island_of(page).size());
	for (const auto *word :
	     {"http://", "https://", "src=", "@import", "url(", "fetch(", "XMLHttpRequest", "<link", "import(", "WebSocket"})
		EXPECT_EQ(page.find(word), page.npos) << word;
}

TEST(page, makes_no_markup_of_data)
{
	auto page = page_of(demo_board("plain"));

	for (const auto *word : {"innerHTML", "outerHTML", "insertAdjacentHTML", "document.write", "eval(", "new Function", "srcdoc"})
		EXPECT_EQ(page.find(word), page.npos) << word;
}

TEST(page, has_no_placeholder_left)
{
	EXPECT_FALSE(std::regex_search(page_of(demo_board("bare")), std::regex("@page_[a-z_]+@")));
}

} // namespace
