// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The reader of documents.
#include <gtest/gtest.h>

#include "document.hpp"

using documents::blocks_of;

namespace {

TEST(blocks, have_place_language_mark_and_text)
{
	const auto found = blocks_of("Text.\n\n<!-- run -->\n```sh\none\n  two\n```\n");
	ASSERT_EQ(found.size(), 1u);
	EXPECT_EQ(found[0].line, 4);
	EXPECT_EQ(found[0].language, "sh");
	EXPECT_EQ(found[0].mark, "run");
	EXPECT_EQ(found[0].text, "one\n  two\n");
}

TEST(blocks, may_stand_away_from_their_mark_by_blank_lines_only)
{
	EXPECT_EQ(blocks_of("<!-- run -->\n\n```sh\none\n```\n").at(0).mark, "run");
	EXPECT_EQ(blocks_of("<!-- run -->\ntext\n```sh\none\n```\n").at(0).mark, "");
}

TEST(blocks, do_not_share_a_mark)
{
	const auto found = blocks_of("<!-- run -->\n```sh\none\n```\n\n```sh\ntwo\n```\n");
	ASSERT_EQ(found.size(), 2u);
	EXPECT_EQ(found[1].mark, "");
}

TEST(blocks, lose_the_indentation_of_a_list)
{
	const auto found = blocks_of("1. Do this:\n\n   ```sh\n   one\n     two\n\n   ```\n");
	ASSERT_EQ(found.size(), 1u);
	EXPECT_EQ(found[0].text, "one\n  two\n\n");
}

TEST(blocks, keep_what_looks_like_a_mark_or_a_list)
{
	const auto found = blocks_of("```xml\n<!-- run -->\n- one\n```\n```sh\ntwo\n```\n");
	ASSERT_EQ(found.size(), 2u);
	EXPECT_EQ(found[0].text, "<!-- run -->\n- one\n");
	EXPECT_EQ(found[1].mark, "");
}

TEST(blocks, are_seen_where_code_is_indented_only)
{
	EXPECT_EQ(blocks_of("Do this:\n\n    ./dev demo\n").at(0).language, "indented");
	EXPECT_EQ(blocks_of("3. Build:\n\n       make\n").at(0).language, "indented");
	EXPECT_TRUE(blocks_of("A long paragraph\n    goes on here.\n").empty());
	EXPECT_TRUE(blocks_of("3. An item\n\n   goes on here.\n").empty());
	EXPECT_EQ(blocks_of("- an item\n\ntext\n\n    code\n").at(0).text, "    code");
}

TEST(manual, gives_commands)
{
	EXPECT_EQ(documents::commands_of_manual(".Sh EXAMPLES\n.Dl $ one -a\ntext\n.Dl $ two\n"), "one -a\ntwo\n");
}

TEST(manual, gives_displays_without_escapes)
{
	const std::string page = ".SH A\n.EX\nfirst\\-one\n.EE\n.SH B\n.EX\nsecond\n.EE\n";
	EXPECT_EQ(documents::display_of_manual(page, 0), "first-one\n");
	EXPECT_EQ(documents::display_of_manual(page, 1), "second\n");
	EXPECT_EQ(documents::display_of_manual(page, 2), "");
}

} // namespace
