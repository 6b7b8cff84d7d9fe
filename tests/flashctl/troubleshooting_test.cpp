// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// docs/troubleshooting.md as flashctl has it, and the lines of logs that it knows.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <regex>
#include <set>

#include "scratch.hpp"
#include "simulated_console.hpp"
#include "troubleshooting.hpp"

using namespace flashctl_tests;
using flashctl::explained_message;
using flashctl::known_message;
using flashctl::messages_of_line;
using flashctl::messages_with;
using flashctl::trouble;

namespace {

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

// A message with values as the kernel prints them.
std::string printed(const std::string &format)
{
	static const std::regex text("%s"), own_prefix("%#x"), number("%(?:l|ll|z)?[dux]");
	const std::string texts = std::regex_replace(format, text, "usrdata");
	return std::regex_replace(std::regex_replace(texts, own_prefix, "0x17"), number, "42");
}

const explained_message *find(const std::vector<explained_message> &found, const known_message &message)
{
	const auto one = std::ranges::find(found, &message, &explained_message::message);
	return one == found.end() ? nullptr : &*one;
}

TEST(page, has_sections_that_are_whole)
{
	const std::set<std::string> levels = {"serious", "ordinary", "trace", "ordinary or serious", "Linux"};
	std::set<std::string> texts;
	for (const trouble &section : flashctl::all_troubles()) {
		SCOPED_TRACE(section.title);
		EXPECT_FALSE(section.group.empty() || section.messages.empty());
		EXPECT_FALSE(section.meaning.empty() || section.look.empty() || section.advice.empty());
		for (const known_message &message : section.messages) {
			EXPECT_TRUE(levels.contains(message.level)) << message.text << ": " << message.level;
			EXPECT_EQ(message.values.size(), flashctl::conversions_in(message.text))
				<< message.text << ": a name for each value";
			EXPECT_TRUE(texts.insert(message.text).second) << message.text << " twice";
		}
	}
	EXPECT_GT(texts.size(), 120u);
}

// What begins like a message of a list is one.
TEST(page, has_no_list_that_is_not_read)
{
	const std::string page = scratch::content_of(SOURCE_DIR "/docs/troubleshooting.md");
	static const std::regex item("\n- ");
	std::size_t read = 0;
	for (const trouble &section : flashctl::all_troubles())
		read += section.messages.size();
	EXPECT_EQ(std::distance(std::sregex_iterator(page.begin(), page.end(), item), {}), static_cast<long>(read));
}

TEST(page, is_read_by_its_form)
{
	const auto read =
		flashctl::troubles_of("# Title\n\nText.\n\n- no message\n\n## Group\n\nMore.\n\n### One\n\n- `a %u_b` (serious): count\n"
				      "- `c` (trace)\n\nMeans *this*\nand [that](b.md#c).\n\nAnd `%s*`.\n\n**Look at** `x`.\n\n"
				      "**Do** it.\n\n## Next\n\nNot of one.\n\n### Two\n");
	ASSERT_EQ(read.size(), 2u);
	EXPECT_EQ(read[0].group + "|" + read[0].title + "|" + read[0].meaning + "|" + read[0].look + "|" + read[0].advice,
		  "Group|One|Means this and that.\nAnd %s*.|x.|it.");
	ASSERT_EQ(read[0].messages.size(), 2u);
	EXPECT_EQ(read[0].messages[0].text + "|" + read[0].messages[0].level, "a %u_b|serious");
	EXPECT_EQ(read[0].messages[0].values, std::vector<std::string>{"count"});
	EXPECT_TRUE(read[0].messages[1].values.empty());
	EXPECT_EQ(read[1].group, "Next");
	EXPECT_TRUE(flashctl::troubles_of("").empty());
}

class in_front : public testing::TestWithParam<std::string> {};

// Of each message a line, with what stands in front of it: the line is that message, or as good as it, and no value is lost.
TEST_P(in_front, every_message_is_found_with_its_values)
{
	for (const trouble &section : flashctl::all_troubles())
		for (const known_message &message : section.messages) {
			const std::string line = GetParam() + printed(message.text);
			const auto found = messages_of_line(line);
			const explained_message *const one = find(found, message);
			ASSERT_TRUE(one) << line << " is not " << message.text;
			const auto unnamed = std::ranges::count(message.values, "-");
			EXPECT_EQ(one->values.size(), message.values.size() - static_cast<std::size_t>(unnamed)) << line;
			for (const auto &value : one->values)
				EXPECT_TRUE(value.text == "usrdata" || value.text == "42" || value.text == "0x42" || value.text == "0x17" ||
					    value.name == "failure")
					<< line << ": " << value.name << " " << value.text;
		}
}

INSTANTIATE_TEST_SUITE_P(each, in_front,
			 testing::Values("", "<4>[   12.345678] ", "[   12.345678][  T123] ", "Nov 22 13:35:07 board kernel: "));

TEST(line, of_a_record_or_of_another_platform_is_found_too)
{
	for (const char *line : {"17 1234 27 2 0 mtd read: read over mtd area", "board: [27] mtd read: read over mtd area",
				 "  mtd read: read over mtd area \r\n"}) {
		const auto found = messages_of_line(line);
		ASSERT_EQ(found.size(), 1u) << line;
		EXPECT_EQ(found[0].message->text, "log: 27: mtd read: read over mtd area");
	}
}

TEST(line, is_the_message_that_says_most)
{
	const auto one = [](const std::string &line) {
		const auto found = messages_of_line(line);
		return found.size() == 1 ? found[0].message->text : std::to_string(found.size()) + " messages";
	};
	EXPECT_EQ(one("xml get attr <row 1> get mtd_name failed"), "log: 0: xml get attr <%s> get %s failed");
	EXPECT_EQ(one("log: 27: <entry0> get flash_id failed"), "log: 27: <%s> get %s failed");
	EXPECT_EQ(one("log: 0: flash_mng MODULE INIT END result 0x0 in 3 ms"), "log: 0: %s MODULE INIT END result 0x%x in %llu ms%s%s");
	EXPECT_EQ(one("log: 0: flash_mng MODULE INIT END result 0x1 in 3 ms: mtd info init fail"),
		  "log: 0: %s MODULE INIT END result 0x%x in %llu ms: mtd info init fail");
	EXPECT_EQ(one("log: 27: Flash mng mtd_devname:/dev/mtd3 failure"), "log: 27: Flash mng mtd_devname:/dev/mtd%d failure");
	EXPECT_EQ(one("flash_mng: Unknown symbol plat_mtd_read_buf (err -2)"), "Unknown symbol %s");
	EXPECT_EQ(one("blk_update_request: I/O error, dev mtdblock4, sector 8 op 0x1:(WRITE) flags 0x800"),
		  "I/O error, dev mtdblock%u, sector %u");
}

TEST(line, is_no_message_where_it_only_begins_or_ends_like_one)
{
	for (const char *line : {"mtd read: read over mtd area, or so", "my mtd read: read over mtd are", "xmtd read: read over mtd area",
				 "log: 27: mtd total read: total_len x fail 0x1", "log: 27: mtd total read: total_len 1 fail 0x", "", " "})
		EXPECT_TRUE(messages_of_line(line).empty()) << line;
}

TEST(line, that_no_kernel_prints_takes_no_time)
{
	EXPECT_TRUE(messages_of_line(std::string(1 << 20, 'x')).empty());
	std::string same;
	while (same.size() < 2000)
		same += "part a: overlaps part ";
	EXPECT_LE(messages_of_line(same).size(), 2u);
	EXPECT_TRUE(messages_of_line(std::string(2000, '<')).empty());
}

TEST(line, has_codes_and_errors_in_words)
{
	const auto code = [](const std::string &line) {
		const auto found = messages_of_line(line);
		for (const auto &value : found.at(0).values)
			if (value.code)
				return value.name + " " + value.code->label();
		return std::string();
	};
	EXPECT_EQ(code("mtd info not found, name:usrdat ret:2166033313"), "code FLASH_MNG_NO_PARTITION, 0x811B0BA1");
	EXPECT_EQ(code("mtd total read: total_len 1 fail 0x7005000a"), "code platform code 0x7005000A, FLASH_BUFFER_ERASE_FAILED");
	EXPECT_EQ(code("mtd read: open /dev/mtdblock3 failed ret=-2"), "error kernel code 0xFFFFFFFE");
	EXPECT_EQ(code("mtd usrdata read failed, ret = 4294967291 "), "result kernel code 0xFFFFFFFB");
	EXPECT_EQ(code("mtd usrdata read failed, ret = 512 "), "") << "so many bytes";
	EXPECT_EQ(code("[drv flash write] device boot fail, ret = 0xfffffffffffffffb!"), "result kernel code 0xFFFFFFFB");
	EXPECT_EQ(code("[drv flash Read] device boot fail, expect 4096, read 512"), "");
	EXPECT_EQ(code("flash_mng MODULE INIT END result 0x0 in 3 ms"), "");
	EXPECT_EQ(code("flash_mng MODULE INIT END result 0x811b01a9 in 3 ms"), "code FLASH_MNG_EMPTY_RANGE, 0x811B01A9");
}

TEST(words, find_the_messages_that_have_them)
{
	ASSERT_EQ(messages_with("READ OVER MTD").size(), 2u);
	EXPECT_TRUE(messages_with("READ OVER MTD")[0].values.empty());
	EXPECT_TRUE(messages_with("no such words").empty());
	for (const char *short_one : {" ", "0x", "%s"})
		EXPECT_TRUE(messages_with(short_one).empty()) << short_one;
}

TEST(explain, says_of_a_line_what_it_means_and_what_to_do)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "[ 1.0] log: 27: mtd total write: memcpy offset 6291400 len 100 fail 0x22"), 0);
	for (const char *part :
	     {"log: 27: mtd total write: memcpy offset %u len %u fail 0x%x (serious)\n", "  offset 6291400, length 100, code 0x22\n",
	      "A write is beyond the usable bytes. ", "\n  Look at ", "\n  To do: write less.", "BOUNDED_NO_ROOM"})
		EXPECT_TRUE(has(host.console.out, part)) << part << "\nis not in\n" << host.console.out;
	EXPECT_TRUE(host.flash.calls.empty());
}

TEST(explain, takes_the_words_of_a_line_one_by_one)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "mtd", "read:", "read", "over", "mtd", "area"), 0);
	EXPECT_TRUE(has(host.console.out, "log: 27: mtd read: read over mtd area (ordinary)\n")) << host.console.out;
}

TEST(explain, tells_all_that_words_may_be)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "read over mtd area"), 0);
	EXPECT_TRUE(has(host.console.out, "It may be one of 2 messages.\n")) << host.console.out;
	EXPECT_TRUE(has(host.console.out, "\nlog: 27: mtd write: read over mtd area (ordinary)\n")) << host.console.out;
}

TEST(explain, refuses_words_that_many_messages_have_or_none)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "fail"), 3);
	EXPECT_TRUE(has(host.console.err, " messages have \"fail\"")) << host.console.err;
	EXPECT_EQ(host.flashctl("explain", "usb 1-1: new device \x1b[31m"), 3);
	EXPECT_TRUE(has(host.console.err, "no message is like \"usb 1-1: new device \\x1b[31m\"")) << host.console.err;
	EXPECT_EQ(host.console.out, "");
}

TEST(explain, shows_no_value_that_steers_a_terminal)
{
	host host;
	EXPECT_EQ(host.flashctl("explain", "log: 0: Get usrdata mtd name: \x1b[2J"), 0);
	EXPECT_TRUE(has(host.console.out, "partition \\x1b[2J")) << host.console.out;
	EXPECT_FALSE(has(host.console.out, "\x1b"));
}

} // namespace
