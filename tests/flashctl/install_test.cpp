// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The installed client header, found by pkg-config and by CMake; the installed tool.
#include <gtest/gtest.h>

#include <cstdlib>

#include "scratch.hpp"

using namespace flashctl_tests;

namespace {

constexpr char program[] = "#include <flash_mng/client.hpp>\n"
			   "int main() { return flash_mng::device::open(\"/no/such/device\") ? 1 : 0; }\n";

struct installation : testing::Test {
	// With its output in the test's log when it fails.
	void run(const std::string &line) const
	{
		const std::string log = folder.path("log");
		ASSERT_EQ(std::system(("cd " + folder.path() + " && { " + line + "; } >" + log + " 2>&1").c_str()), 0)
			<< line << "\n"
			<< folder.content("log");
	}

	void install(const std::string &component) const
	{
		run("cmake --install " BUILD_DIR " --component " + component + " --prefix " + folder.path("prefix"));
	}

	scratch folder;
};

TEST_F(installation, of_the_client_is_found_by_pkg_config)
{
	install("client");
	folder.write("program.cpp", program);
	run("PKG_CONFIG_PATH=$(dirname $(find prefix -name flash_mng_client.pc)) pkg-config --define-variable=prefix=$PWD/prefix "
	    "--cflags flash_mng_client >flags && c++ -std=c++20 -fno-exceptions -fno-rtti -Wall -Wextra -Werror $(cat flags) program.cpp "
	    "-o program && ./program");
}

TEST_F(installation, of_the_client_is_found_by_cmake)
{
	install("client");
	folder.write("program.cpp", program);
	folder.write("CMakeLists.txt", "cmake_minimum_required(VERSION 3.20)\nproject(user LANGUAGES CXX)\n"
				       "find_package(flash_mng_client " VERSION " REQUIRED)\nadd_executable(program program.cpp)\n"
				       "target_link_libraries(program PRIVATE flash_mng::client)\n");
	run("cmake -S . -B build -DCMAKE_PREFIX_PATH=$PWD/prefix && cmake --build build && ./build/program");
}

TEST_F(installation, of_the_tool_has_manual_completions_and_schema)
{
	install("flashctl");
	run("prefix/bin/flashctl --version && test -s prefix/share/man/man1/flashctl.1 && "
	    "test -s prefix/share/bash-completion/completions/flashctl && test -s prefix/share/zsh/vendor-completions/_flashctl && "
	    "test -s prefix/share/flashctl/flashctl.schema.json");
}

TEST_F(installation, of_the_tool_has_the_programs_that_trace)
{
	install("flashctl");
	run("test -s prefix/share/man/man1/flash-trace.1 && for name in transfers waits callers; do test -s "
	    "prefix/share/flash_mng/trace/$name.bt; done && ! test -e prefix/share/flash_mng/trace/flash-trace");
	run("prefix/bin/flash-trace --help >help && grep -qx '  --raw  .*' help");
	for (const char *const words : {"", "--raw", "--help=1", "-x", "10 20", "''"})
		run("prefix/bin/flash-trace " + std::string(words) + " >out 2>err; test $? -eq 2 && ! test -s out && cmp err help");
}

} // namespace
