// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include <string>

#include "common/printable.hpp"

using tools::printable;
using tools::printable_lines;

TEST(printable, writes_what_would_steer_a_terminal_as_numbers)
{
	EXPECT_EQ(printable("a\033[31mb\n"), "a\\x1b[31mb\\x0a");
	EXPECT_EQ(printable("\x7f\r\b"), "\\x7f\\x0d\\x08");
	EXPECT_EQ(printable(std::string("a\xc2\x9b") + "31mb"), "a\xc2\\x9b31mb") << "U+009B begins a command as ESC [ does";
	EXPECT_EQ(printable("\xc2\x80 \xc2\x9f"), "\xc2\\x80 \xc2\\x9f");
}

TEST(printable, leaves_letters_alone)
{
	EXPECT_EQ(printable("\xc3\xa4 \xc2\xa0 \xe2\x82\xac \\x1b"), "\xc3\xa4 \xc2\xa0 \xe2\x82\xac \\x1b");
}

TEST(printable, of_lines_keeps_their_ends)
{
	EXPECT_EQ(printable_lines("a\tb\n\033\n"), "a\tb\n\\x1b\n");
}
