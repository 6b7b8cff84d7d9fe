// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Names that are similar, codes in words, hashes, comparisons, dumps.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>

#include "bytes.hpp"
#include "code_words.hpp"
#include "interface_names.hpp"
#include "mtd_words.hpp"
#include "name_match.hpp"
#include "simulated_flash.hpp"
#include "text.hpp"

using namespace flashctl;
using flashctl_tests::data_of;

namespace {

const std::vector<std::string> board_names = {"boot", "config", "usrdata", "rootfs", "nor", "ram0"};

TEST(similar_names, a_letter_left_out_or_added_or_exchanged)
{
	EXPECT_EQ(did_you_mean("usrdat", board_names), "did you mean \"usrdata\"?");
	EXPECT_EQ(did_you_mean("userdata", board_names), "did you mean \"usrdata\"?");
	EXPECT_EQ(did_you_mean("cofnig", board_names), "did you mean \"config\"?");
	EXPECT_EQ(did_you_mean("BOOT", board_names), "did you mean \"boot\"?");
	EXPECT_EQ(did_you_mean("root", board_names), "did you mean \"boot\" or \"rootfs\"?");
}

TEST(similar_names, nothing_for_a_name_far_from_all)
{
	EXPECT_EQ(did_you_mean("xyzzy", board_names), "");
	EXPECT_EQ(did_you_mean("", board_names), "");
	EXPECT_EQ(did_you_mean("usrdata", {}), "");
}

TEST(similar_names, at_most_three)
{
	EXPECT_EQ(similar_names("part", {"part0", "part1", "part2", "part3"}), (std::vector<std::string>{"part0", "part1", "part2"}));
}

// All macros "NAME value" of a header whose names match.
std::set<std::string> macros_of(const std::string &file, const std::string &pattern)
{
	std::ifstream header(file);
	std::set<std::string> names;
	const std::regex macro("^#define (" + pattern + ")[ \\t]+[0-9(].*");
	std::smatch match;
	for (std::string line; std::getline(header, line);)
		if (std::regex_match(line, match, macro))
			names.insert(match[1]);
	return names;
}

std::set<std::string> names_of(const std::string &source)
{
	std::set<std::string> names;
	for (const code_words &words : all_codes())
		if (words.source == source)
			names.insert(words.name);
	return names;
}

TEST(codes, every_code_of_the_header_is_explained)
{
	auto macros = macros_of(SOURCE_DIR "/flash_mng_kernel/include/uapi/flash_mng.h", "FLASH_MNG_[A-Z_]+");
	auto others = interface_names::commands(SOURCE_DIR);
	EXPECT_GE(others.size(), 8u);
	others.insert({"FLASH_MNG_NAME_MAX", "FLASH_MNG_NAME_SIZE", "FLASH_MNG_STAT_ENTRIES"});
	for (const std::string &other : others)
		EXPECT_EQ(macros.erase(other), 1u) << other;
	EXPECT_GT(macros.size(), 25u);
	EXPECT_EQ(names_of("module"), macros);
}

TEST(codes, every_status_of_the_reference_platform_is_explained)
{
	auto macros = macros_of(SOURCE_DIR "/reference_platform/include/platform_status.h",
				"(?:LOG|XML|INSTANCE|HARD_LOCK|BOUNDED|CAPABILITY|FLASH_BUFFER|SPI_FLASH)_[A-Z_]+");
	macros.erase("BOUNDED_FORMAT_FAILED"); // never leaves the module
	EXPECT_GT(macros.size(), 50u);
	EXPECT_EQ(names_of("reference platform"), macros);
}

TEST(codes, no_two_have_the_same_number_or_no_words)
{
	std::set<std::uint32_t> seen;
	for (const code_words &words : all_codes()) {
		EXPECT_TRUE(seen.insert(words.code).second) << words.name;
		EXPECT_FALSE(words.meaning.empty() || words.advice.empty()) << words.name;
	}
}

TEST(codes, are_explained_by_where_they_can_come_from)
{
	const platform_table &reference = reference_platform_table();
	EXPECT_EQ(explain_code(34, asked_for::write, reference).label(), "platform code 34, BOUNDED_NO_ROOM");
	EXPECT_TRUE(explain_code(34, asked_for::write, reference).is_range);
	for (const std::uint32_t code : {22u, 34u}) {
		EXPECT_EQ(explain_code(code, asked_for::read, reference).name, "") << "a read copies nothing within usable bytes";
		EXPECT_EQ(explain_code(code, asked_for::write, {"platform", {}}).name, "") << "of another platform";
		EXPECT_FALSE(explain_code(code, asked_for::write, {"platform", {}}).is_range);
		EXPECT_NE(explain_code(code).meaning.find("of the reference platform, after a write: "), std::string::npos);
	}
	EXPECT_EQ(explain_code(0x70050008, asked_for::read, {"platform", {}}).label(), "platform code 0x70050008");
	EXPECT_EQ(explain_code(0x7006000B, asked_for::anything, reference).label(), "platform code 0x7006000B, SPI_FLASH_ALREADY_CREATED");
	const platform_table shipped = {"platform", {{34, asked_for::read, false, "WORN", "the flash is worn out", "replace it"}}};
	EXPECT_EQ(explain_code(34, asked_for::read, shipped).meaning, "the flash is worn out");
	EXPECT_EQ(explain_code(34, asked_for::write, shipped).name, "");
	EXPECT_EQ(explain_code(427, asked_for::write, shipped).source, "module") << "the module's own come first";
}

TEST(codes, are_found_by_name)
{
	EXPECT_EQ(code_of_name("FLASH_MNG_NO_BUFFER"), 0x811B04AAu);
	EXPECT_EQ(code_of_name("no_buffer"), 0x811B04AAu);
	EXPECT_EQ(code_of_name("FLASH_BUFFER_ERASE_FAILED"), 0x7005000Au);
	EXPECT_EQ(code_of_name("NO_SUCH"), std::nullopt);
}

TEST(codes, unknown_ones_are_the_platforms)
{
	EXPECT_EQ(explain_code(0x12345678).source, "platform");
	EXPECT_EQ(explain_code(0xFFFFFFFB).source, "kernel");
	EXPECT_NE(explain_code(0xFFFFFFFB).meaning.find("Input/output error"), std::string::npos);
	EXPECT_EQ(explain_code(57).source, "platform");
	EXPECT_EQ(explain_code(0x12345678).label(), "platform code 0x12345678");
	EXPECT_EQ(explain_code(427).label(), "FLASH_MNG_NOT_FOUND, 427");
}

TEST(hash, is_sha256)
{
	EXPECT_EQ(sha256({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
	EXPECT_EQ(sha256(data_of("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
	EXPECT_EQ(sha256(data_of(std::string(1000000, 'a'))), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(comparison, tells_the_first_and_how_many)
{
	const auto differs = compare(data_of("abcdef"), data_of("abXdeY"), 0, 6);
	ASSERT_TRUE(differs);
	EXPECT_EQ(differs->first, 2u);
	EXPECT_EQ(differs->count, 2u);
	EXPECT_EQ(differs->expected, 'c');
	EXPECT_EQ(differs->found, 'X');
}

TEST(comparison, looks_at_its_range_only)
{
	EXPECT_FALSE(compare(data_of("abcdef"), data_of("XbcdeY"), 1, 5));
	EXPECT_FALSE(compare_around(data_of("abcdef"), data_of("abXXef"), 2, 4));
	EXPECT_EQ(compare_around(data_of("abcdef"), data_of("Xbcdef"), 2, 4)->first, 0u);
	EXPECT_EQ(compare_around(data_of("abcdef"), data_of("abcdeX"), 2, 4)->first, 5u);
	EXPECT_EQ(compare_around(data_of("abcdef"), data_of("XbXXeX"), 2, 4)->count, 2u);
}

TEST(dump, has_addresses_hexadecimal_and_text)
{
	EXPECT_EQ(hex_dump(data_of("Hello, flash.\n\x01\xff!"), 0x1ff0),
		  "00001ff0  48 65 6c 6c 6f 2c 20 66  6c 61 73 68 2e 0a 01 ff  |Hello, flash....|\n"
		  "00002000  21                                                |!|\n"
		  "00002001\n");
}

TEST(dump, shows_repeated_lines_once)
{
	EXPECT_EQ(hex_dump(bytes(64, std::byte{0xff}), 0),
		  "00000000  ff ff ff ff ff ff ff ff  ff ff ff ff ff ff ff ff  |................|\n*\n00000040\n");
	EXPECT_EQ(hex_dump({}, 16), "00000010\n");
}

TEST(mtd_words, types_and_flags)
{
	EXPECT_EQ(mtd_type_name(4), "nand");
	EXPECT_EQ(mtd_type_name(8), "mlc-nand");
	EXPECT_EQ(mtd_type_name(5), "type 5");
	EXPECT_EQ(mtd_type_of("nor"), 3u);
	EXPECT_EQ(mtd_type_of("tape"), std::nullopt);
	EXPECT_TRUE(is_nand(8));
	EXPECT_FALSE(is_nand(3));
	EXPECT_EQ(mtd_flag_names(0xC00), (std::vector<std::string>{"writeable", "bit-writeable"}));
	EXPECT_EQ(mtd_flag_names(0x80000400), (std::vector<std::string>{"writeable", "0x80000000"}));
	EXPECT_TRUE(mtd_flag_names(0).empty());
}

} // namespace
