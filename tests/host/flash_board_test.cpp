// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flash-board: what a compiled board description holds, and which descriptions are refused, with place and reason.
#include <gtest/gtest.h>

#include <libfdt.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "board_file.hpp"
#include "board_reader.hpp"

namespace {

using bytes = std::vector<std::uint8_t>;

constexpr std::size_t header_size = 24;

std::uint32_t little_endian_at(const bytes &file, std::size_t offset)
{
	return file.at(offset) | file.at(offset + 1) << 8 | file.at(offset + 2) << 16 |
	       static_cast<std::uint32_t>(file.at(offset + 3)) << 24;
}

std::string read_file(const std::filesystem::path &path)
{
	std::ifstream file(path, std::ios::binary);

	return {std::istreambuf_iterator<char>(file), {}};
}

// The tree of a compiled description, asked by path.
class compiled_tree {
public:
	explicit compiled_tree(const std::string &xml)
	{
		const auto file = flash_board::compile(xml, "board.xml");
		tree_.assign(file.begin() + header_size, file.end());
	}

	bool has(const std::string &path) const { return fdt_path_offset(tree_.data(), path.c_str()) >= 0; }

	std::string text(const std::string &path, const std::string &property) const
	{
		int length = 0;
		const auto *value = get(path, property, &length);

		return value && length > 0 ? std::string(static_cast<const char *>(value), length - 1) : "(none)";
	}

	std::uint32_t number(const std::string &path, const std::string &property) const
	{
		int length = 0;
		const auto *value = get(path, property, &length);

		EXPECT_EQ(length, 4) << path << " " << property;
		return length == 4 ? fdt32_ld(static_cast<const fdt32_t *>(value)) : 0;
	}

	bool has_property(const std::string &path, const std::string &property) const
	{
		int length = 0;

		return get(path, property, &length) != nullptr;
	}

	std::vector<std::string> children(const std::string &path) const
	{
		std::vector<std::string> names;
		int child;

		fdt_for_each_subnode(child, tree_.data(), fdt_path_offset(tree_.data(), path.c_str()))
			names.emplace_back(fdt_get_name(tree_.data(), child, nullptr));
		return names;
	}

	const bytes &raw() const { return tree_; }

private:
	const void *get(const std::string &path, const std::string &property, int *length) const
	{
		return fdt_getprop(tree_.data(), fdt_path_offset(tree_.data(), path.c_str()), property.c_str(), length);
	}

	bytes tree_;
};

std::string error_of(const std::string &xml)
{
	try {
		flash_board::compile(xml, "b.xml");
	} catch (const flash_board::input_error &error) {
		return error.what();
	}
	return "(accepted)";
}

std::string in_node(const std::string &entries)
{
	return "<board name='b'><instance id='1'><module name='m'><node name='n'>" + entries + "</node></module></instance></board>";
}

std::string in_instance(const std::string &content)
{
	return "<board name='b'><instance id='1'>" + content + "</instance></board>";
}

constexpr const char *node_path = "/instance@1/m/n";

// ---------------------------------------------------------------------------------------------------------------- the file

TEST(flash_board_file, starts_with_magic_version_and_its_own_length)
{
	const auto file = flash_board::compile("<board name='b'/>", "b.xml");

	EXPECT_EQ(std::memcmp(file.data(), "FLSHBRD", 8), 0);
	EXPECT_EQ(little_endian_at(file, 8), 1u);
	EXPECT_EQ(little_endian_at(file, 12), file.size());
	EXPECT_EQ(little_endian_at(file, 20), 0u);
}

TEST(flash_board_file, carries_the_checksum_of_the_tree)
{
	const auto file = flash_board::compile("<board name='b'/>", "b.xml");

	EXPECT_EQ(little_endian_at(file, 16), flash_board::checksum(file.data() + header_size, file.size() - header_size));
}

TEST(flash_board_file, checksum_is_the_common_crc_32)
{
	EXPECT_EQ(flash_board::checksum(reinterpret_cast<const std::uint8_t *>("123456789"), 9), 0xCBF43926u);
	EXPECT_EQ(flash_board::checksum(nullptr, 0), 0u);
}

TEST(flash_board_file, every_damaged_byte_of_the_tree_changes_the_checksum)
{
	auto file = flash_board::compile(in_node("<entry name='e' a='1'/>"), "b.xml");
	const auto good = little_endian_at(file, 16);

	for (std::size_t at = header_size; at < file.size(); at++) {
		file[at] ^= 0x10;
		EXPECT_NE(flash_board::checksum(file.data() + header_size, file.size() - header_size), good) << at;
		file[at] ^= 0x10;
	}
}

TEST(flash_board_file, holds_a_tree_that_libfdt_accepts_in_full)
{
	const compiled_tree tree(read_file(BOARD_XML_DIR "/plain.xml"));

	EXPECT_EQ(fdt_check_full(tree.raw().data(), tree.raw().size()), 0);
	EXPECT_EQ(fdt_totalsize(tree.raw().data()), tree.raw().size());
}

TEST(flash_board_file, same_input_gives_the_same_bytes)
{
	const auto xml = read_file(BOARD_XML_DIR "/plain.xml");

	EXPECT_EQ(flash_board::compile(xml, "one.xml"), flash_board::compile(xml, "two.xml"));
}

TEST(flash_board_file, grows_with_the_description)
{
	std::string entries;

	for (int i = 0; i < 3000; i++)
		entries += "<entry name='e" + std::to_string(i) + "' mtd_name='" + std::string(40, 'x') + "'/>";
	const compiled_tree tree(in_node(entries));
	EXPECT_GT(tree.raw().size(), 128u * 1024);
	EXPECT_EQ(tree.children(node_path).size(), 3000u);
}

TEST(flash_board_file, refuses_a_board_that_would_be_longer_than_1_mib)
{
	EXPECT_EQ(error_of(in_node("<entry name='e' a='" + std::string(1024 * 1024 - 200, 'x') + "'/>")),
		  "b.xml:1:1: the compiled board would be longer than 1 MiB");
	EXPECT_EQ(error_of(std::string(1024 * 1024 + 1, ' ')), "b.xml:1:1: the file is longer than 1 MiB");
}

// ---------------------------------------------------------------------------------------------------------------- the tree

TEST(flash_board_tree, board_has_name_and_bom)
{
	const compiled_tree tree("<board name='b' bom='27'/>");

	EXPECT_EQ(tree.text("/", "board"), "b");
	EXPECT_EQ(tree.number("/", "bom"), 27u);
}

TEST(flash_board_tree, a_bom_that_is_not_stated_is_left_out)
{
	EXPECT_FALSE(compiled_tree("<board name='b'/>").has_property("/", "bom"));
}

TEST(flash_board_tree, instance_has_id_parent_card_and_bom)
{
	const compiled_tree tree("<board name='b'><instance id='0xFFFFFFFE' parent='0xffffffff' card='3' bom='4'/></board>");

	EXPECT_EQ(tree.number("/instance@fffffffe", "reg"), 0xFFFFFFFEu);
	EXPECT_EQ(tree.number("/instance@fffffffe", "parent"), 0xFFFFFFFFu);
	EXPECT_EQ(tree.number("/instance@fffffffe", "card"), 3u);
	EXPECT_EQ(tree.number("/instance@fffffffe", "bom"), 4u);
}

TEST(flash_board_tree, hard_lock_has_type_and_values)
{
	const compiled_tree tree(in_instance("<hard_lock type='2' lock_val='0x5a' unlock_val='0xa5'/>"));

	EXPECT_EQ(tree.number("/instance@1/hard_lock@2", "reg"), 2u);
	EXPECT_EQ(tree.number("/instance@1/hard_lock@2", "lock_val"), 0x5Au);
	EXPECT_EQ(tree.number("/instance@1/hard_lock@2", "unlock_val"), 0xA5u);
}

TEST(flash_board_tree, attributes_are_kept_as_text)
{
	const compiled_tree tree(in_node("<entry name='e' size='0x1000' odd=' 12 &lt;&#65;' empty=''/>"));

	EXPECT_EQ(tree.text("/instance@1/m/n/e@0", "name"), "e");
	EXPECT_EQ(tree.text("/instance@1/m/n/e@0", "size"), "0x1000");
	EXPECT_EQ(tree.text("/instance@1/m/n/e@0", "odd"), " 12 <A");
	EXPECT_EQ(tree.text("/instance@1/m/n/e@0", "empty"), "");
}

TEST(flash_board_tree, elements_are_kept_as_text_without_the_white_space_around)
{
	const compiled_tree tree(in_node("<entry name='e'><a> 0x10\n</a><b><![CDATA[x & y]]></b><c/><d>p<!-- q -->r</d></entry>"));

	EXPECT_EQ(tree.text("/instance@1/m/n/e@0/a", "text"), "0x10");
	EXPECT_EQ(tree.text("/instance@1/m/n/e@0/b", "text"), "x & y");
	EXPECT_EQ(tree.text("/instance@1/m/n/e@0/c", "text"), "");
	EXPECT_EQ(tree.text("/instance@1/m/n/e@0/d", "text"), "pr");
}

TEST(flash_board_tree, entries_keep_their_order_and_may_share_a_name)
{
	const compiled_tree tree(in_node("<entry name='z'/><entry name='a'/><entry name='z'/>"));

	EXPECT_EQ(tree.children(node_path), (std::vector<std::string>{"z@0", "a@1", "z@2"}));
}

TEST(flash_board_tree, an_empty_node_exists_without_entries)
{
	const compiled_tree tree(in_node(""));

	EXPECT_TRUE(tree.has(node_path));
	EXPECT_TRUE(tree.children(node_path).empty());
}

TEST(flash_board_tree, the_delivered_boards_compile)
{
	for (const auto *name : {"plain", "variants", "bare", "cards"}) {
		const compiled_tree tree(read_file(std::string(BOARD_XML_DIR "/") + name + ".xml"));
		EXPECT_EQ(tree.text("/", "board"), name);
		EXPECT_TRUE(tree.has("/instance@ffffffff")) << name;
	}
}

// ---------------------------------------------------------------------------------------------------------------- refusals

TEST(flash_board_refuses, text_that_is_not_well_formed)
{
	EXPECT_EQ(error_of("<board name='b'>\n\t<instance id='1'>\n</board>"), "b.xml:3:3: Start-end tags mismatch");
	EXPECT_EQ(error_of(""), "b.xml:1:1: a <board> element is expected");
	EXPECT_EQ(error_of("<board name='b'"), "b.xml:1:15: Error parsing start element tag");
}

TEST(flash_board_refuses, a_document_type)
{
	EXPECT_EQ(error_of("<!DOCTYPE board [ <!ENTITY e 'x'> ]>\n<board name='b'/>"), "b.xml:1:11: a document type is not allowed");
}

TEST(flash_board_refuses, references_to_entities_and_unprintable_characters)
{
	const std::string reason = "\"&\" may only begin &amp; &lt; &gt; &quot; &apos; or the number of a printable character, as in &#65;";

	EXPECT_EQ(error_of("<board name='b'>\n<!-- & -->&e;</board>"), "b.xml:2:11: " + reason);
	EXPECT_EQ(error_of("<board name='&#0;'/>"), "b.xml:1:14: " + reason);
	EXPECT_EQ(error_of("<board name='&#x;'/>"), "b.xml:1:14: " + reason);
	EXPECT_EQ(error_of("<board name='a&b'/>"), "b.xml:1:15: " + reason);
}

TEST(flash_board_refuses, control_characters)
{
	EXPECT_EQ(error_of(std::string("<board name='b\x01'/>")), "b.xml:1:15: a control character is no part of XML");
	EXPECT_EQ(error_of(std::string("<board\0name='b'/>", 17)), "b.xml:1:7: a control character is no part of XML");
}

TEST(flash_board_refuses, anything_beside_one_board)
{
	EXPECT_EQ(error_of("<flash/>"), "b.xml:1:2: a <board> element is expected");
	EXPECT_EQ(error_of("<board name='b'/><board name='c'/>"), "b.xml:1:19: a second element beside <board>: one <board> is expected");
	EXPECT_EQ(error_of("text<board name='b'/>"), "b.xml:1:1: only one <board> element is expected here");
}

TEST(flash_board_refuses, elements_that_it_does_not_know)
{
	EXPECT_EQ(error_of("<board name='b'><part/></board>"), "b.xml:1:18: <part> is not expected inside <board>");
	EXPECT_EQ(error_of(in_instance("<node name='n'/>")), "b.xml:1:35: <node> is not expected inside <instance>");
	EXPECT_EQ(error_of(in_instance("<module name='m'><entry name='e'/></module>")),
		  "b.xml:1:52: <entry> is not expected inside <module>");
	EXPECT_EQ(error_of(in_node("<section name='e'/>")), "b.xml:1:67: <section> is not expected inside <node>");
	EXPECT_EQ(error_of(in_instance("<hard_lock type='0' lock_val='1' unlock_val='2'><x/></hard_lock>")),
		  "b.xml:1:83: <x> is not expected inside <hard_lock>");
	EXPECT_EQ(error_of(in_node("<entry name='e'><a><b/></a></entry>")), "b.xml:1:86: <a> holds text only");
}

TEST(flash_board_refuses, stray_text_and_instructions)
{
	EXPECT_EQ(error_of(in_instance("stray")), "b.xml:1:34: text or an instruction is not expected inside <instance>");
	EXPECT_EQ(error_of(in_node("<?run it?>")), "b.xml:1:68: text or an instruction is not expected inside <node>");
}

TEST(flash_board_refuses, attributes_that_it_does_not_know)
{
	EXPECT_EQ(error_of("<board name='b' colour='red'/>"), "b.xml:1:17: <board> has no attribute \"colour\"");
	EXPECT_EQ(error_of("<board name='b'><instance id='1' name='i'/></board>"), "b.xml:1:34: <instance> has no attribute \"name\"");
	EXPECT_EQ(error_of(in_node("<entry name='e'><a type='u32'>1</a></entry>")), "b.xml:1:85: <a> has no attribute \"type\"");
}

TEST(flash_board_refuses, an_attribute_given_twice)
{
	EXPECT_EQ(error_of(in_node("<entry name='e' size='1' size='2'/>")), "b.xml:1:91: attribute \"size\" is given twice");
}

TEST(flash_board_refuses, names_that_a_tree_cannot_hold)
{
	const std::string reason = " is no name: a letter or \"_\", then letters, digits, \"_\", \".\" and \"-\", at most 63";

	EXPECT_EQ(error_of(in_node("<entry name='a/b'/>")), "b.xml:1:73: \"a/b\"" + reason);
	EXPECT_EQ(error_of(in_node("<entry name='a@1'/>")), "b.xml:1:73: \"a@1\"" + reason);
	EXPECT_EQ(error_of(in_node("<entry name=''/>")), "b.xml:1:73: \"\"" + reason);
	EXPECT_EQ(error_of(in_node("<entry name='1a'/>")), "b.xml:1:73: \"1a\"" + reason);
	EXPECT_EQ(error_of(in_node("<entry name='" + std::string(64, 'a') + "'/>")),
		  "b.xml:1:73: \"" + std::string(64, 'a') + "\"" + reason);
	EXPECT_EQ(error_of(in_node("<entry name='" + std::string(63, 'a') + "'/>")), "(accepted)");
}

TEST(flash_board_refuses, names_that_mean_something_else_in_a_tree)
{
	EXPECT_EQ(error_of(in_node("<entry name='e' phandle='1'/>")), "b.xml:1:82: \"phandle\" cannot be an attribute's name");
	EXPECT_EQ(error_of(in_instance("<module name='hard_lock'/>")), "b.xml:1:35: \"hard_lock\" cannot be a module's name");
}

TEST(flash_board_refuses, missing_names_and_numbers)
{
	EXPECT_EQ(error_of("<board/>"), "b.xml:1:2: <board> needs the attribute \"name\"");
	EXPECT_EQ(error_of("<board name='b'><instance/></board>"), "b.xml:1:18: <instance> needs the attribute \"id\"");
	EXPECT_EQ(error_of(in_node("<entry size='1'/>")), "b.xml:1:67: <entry> needs the attribute \"name\"");
	EXPECT_EQ(error_of(in_instance("<hard_lock type='0' lock_val='1'/>")),
		  "b.xml:1:35: <hard_lock> needs the attribute \"unlock_val\"");
}

TEST(flash_board_refuses, numbers_that_are_none)
{
	const std::string reason = " is no number: decimal or 0x hexadecimal, at most 32 bits";

	for (const auto *text : {"", "x", "-1", "+1", " 1", "1 ", "0x", "0xg", "4294967296", "0x100000000"})
		EXPECT_EQ(error_of("<board name='b' bom='" + std::string(text) + "'/>"),
			  "b.xml:1:17: bom=\"" + std::string(text) + "\"" + reason);
	for (const auto *text : {"0", "4294967295", "0xFFFFFFFF", "0Xff", "007"})
		EXPECT_EQ(error_of("<board name='b' bom='" + std::string(text) + "'/>"), "(accepted)") << text;
}

TEST(flash_board_refuses, a_parent_without_a_card)
{
	const std::string reason = "b.xml:1:18: \"parent\" and \"card\" are given together or not at all";

	EXPECT_EQ(error_of("<board name='b'><instance id='1' parent='2'/></board>"), reason);
	EXPECT_EQ(error_of("<board name='b'><instance id='1' card='2'/></board>"), reason);
}

TEST(flash_board_refuses, the_same_thing_twice)
{
	const std::string first = "; the first is in line 1";

	EXPECT_EQ(error_of("<board name='b'><instance id='16'/><instance id='0x10'/></board>"),
		  "b.xml:1:46: a second <instance> with id 0x10" + first);
	EXPECT_EQ(error_of(in_instance("<module name='m'/><module name='m'/>")), "b.xml:1:60: a second <module> with name \"m\"" + first);
	EXPECT_EQ(error_of(in_instance("<module name='m'><node name='n'/><node name='n'/></module>")),
		  "b.xml:1:73: a second <node> with name \"n\"" + first);
	EXPECT_EQ(error_of(in_node("<entry name='e'><a>1</a><a>2</a></entry>")), "b.xml:1:91: a second <a>" + first);
	EXPECT_EQ(
		error_of(in_instance("<hard_lock type='0' lock_val='1' unlock_val='2'/><hard_lock type='0' lock_val='3' unlock_val='4'/>")),
		"b.xml:1:94: a second <hard_lock> with type 0x0" + first);
}

} // namespace
