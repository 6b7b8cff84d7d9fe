// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The header for kernel modules, included by a program in mistake for the one for programs.
#include <gtest/gtest.h>

#include "tools_common/shells.hpp"

namespace {

// What a compiler says of a line, with "failed" behind it when it refuses it.
std::string said_of(const std::string &line, const std::string &compiler)
{
	return tools_tests::output_of("echo '" + line + "' | " + compiler +
				      " -Wall -Wextra -fsyntax-only -I" SOURCE_DIR "/flash_mng_kernel/include - 2>&1 || echo failed");
}

constexpr const char *c = "cc -x c -std=c11";
constexpr const char *cxx = "c++ -x c++ -std=c++20";
constexpr char included[] = "#include \"flash_mng.h\"";

TEST(kernel_header, tells_a_program_in_one_error_what_it_should_include)
{
	for (const std::string compiler : {c, cxx}) {
		const std::string said = said_of(included, compiler);
		const std::size_t error = said.find("error:");
		ASSERT_NE(error, said.npos) << said;
		EXPECT_EQ(said.find("error:", error + 1), said.npos) << said;
		EXPECT_NE(said.find("uapi/flash_mng.h", error), said.npos) << said;
		EXPECT_TRUE(said.ends_with("failed\n")) << said;
		EXPECT_EQ(said_of("#include \"uapi/flash_mng.h\"", compiler), "");
	}
}

TEST(kernel_header, is_for_modules_and_for_who_simulates_linux)
{
	EXPECT_EQ(said_of(included, cxx + std::string(" -DFLASH_MNG_HOSTED")), "");
	EXPECT_EQ(said_of(included, cxx + std::string(" -D__KERNEL__")), "");
}

} // namespace
