// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The reader of the module's sources, on planted ones: what a function answers with, and that what cannot be followed is said.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "module_sources.hpp"

namespace completeness {
namespace {

namespace files = std::filesystem;

using names = std::set<std::string>;

// A source tree with one function of the module that can be called, "asked".
class sources : public testing::Test {
protected:
	sources()
	{
		char folder[] = "/tmp/flash_mng_sources_XXXXXX";
		folder_ = mkdtemp(folder);
		plant("flash_mng_kernel/include/uapi/flash_mng.h", "#define FLASH_MNG_OK 0u\n#define FLASH_MNG_INVALID 418u\n"
								   "#define FLASH_MNG_NOT_FOUND 427u\n#define FLASH_MNG_ASK 0x80045406u\n");
		plant("flash_mng_kernel/frame/control_device.cpp",
		      "\nlong flash_ioctl(void)\n{\n\treturn static_cast<long>(row.handler(argument));\n}\n"
		      "constexpr flash_command rows[] = {\n\t{FLASH_MNG_ASK, asked},\n};\n");
		plant("flash_mng_kernel/frame/module.cpp", "\nu32 flash_mng_load(void)\n{\n\treturn FLASH_MNG_OK;\n}\n");
		plant("flash_mng_kernel/kernel/import.h", "int linux_copy(void *to);\n");
		plant("flash_mng_kernel/platform/import.h", "u32 plat_read(const char *path);\n");
		plant("simulation/functions.cpp", "\tFUNCTION(asked),\n");
	}

	~sources() override { files::remove_all(folder_); }

	void plant(const std::string &file, const std::string &text) const
	{
		files::create_directories((folder_ / file).parent_path());
		std::ofstream(folder_ / file) << text;
	}

	module_sources read() const { return read_module_sources(folder_); }

	// With the lines as the function's body, and two helpers.
	module_sources read(const std::string &lines, const std::string &others = "") const
	{
		plant("flash_mng_kernel/ioctl/asked.cpp",
		      others +
			      "\nu32 lower(u32 value)\n{\n\tif (value)\n\t\treturn FLASH_MNG_INVALID;\n"
			      "\treturn plat_read(\"path\");\n}\n\nbool fits(u32 value)\n{\n\treturn value < 7;\n}\n"
			      "\nu32 asked(u32 value)\n{\n" +
			      lines + "}\n");
		return read();
	}

	void expect_codes(const std::string &lines, const names &codes) const
	{
		const module_sources found = read(lines);
		EXPECT_EQ(found.puzzles, names()) << lines;
		EXPECT_EQ(found.codes_of_functions.at("asked"), codes) << lines;
	}

	void expect_puzzle(const std::string &lines, const std::string &part, const std::string &others = "") const
	{
		std::string all;
		for (const std::string &puzzle : read(lines, others).puzzles)
			all += puzzle + "\n";
		EXPECT_NE(all.find(part), all.npos) << lines << all;
	}

private:
	files::path folder_;
};

TEST_F(sources, has_the_codes_that_are_returned)
{
	expect_codes("\tif (value == FLASH_MNG_NOT_FOUND)\n\t\treturn FLASH_MNG_OK;\n\treturn FLASH_MNG_INVALID;\n",
		     {"FLASH_MNG_OK", "FLASH_MNG_INVALID"});
	expect_codes("\treturn fits(value) ? FLASH_MNG_OK : FLASH_MNG_NOT_FOUND;\n", {"FLASH_MNG_OK", "FLASH_MNG_NOT_FOUND"});
	expect_codes("\treturn static_cast<u32>(linux_copy(nullptr));\n", {});
	expect_codes("\t// return FLASH_MNG_OK;\n\treturn value != FLASH_MNG_OK;\n", {});
}

TEST_F(sources, follows_functions_and_variables_of_any_name)
{
	expect_codes("\treturn lower(value);\n", {"FLASH_MNG_INVALID"});
	for (const std::string name : {"code", "status", "failed", "whatever"}) {
		expect_codes("\tif (const u32 " + name + " = lower(value)) {\n\t\treturn " + name + ";\n\t}\n\treturn FLASH_MNG_OK;\n",
			     {"FLASH_MNG_OK", "FLASH_MNG_INVALID"});
		expect_codes("\tu32 " + name + " = FLASH_MNG_OK;\n\tif (value)\n\t\t" + name + " = lower(value);\n\treturn " + name + ";\n",
			     {"FLASH_MNG_OK", "FLASH_MNG_INVALID"});
	}
	expect_codes("\tconst u32 first(lower(value));\n\tconst u32 second = first;\n\treturn second;\n", {"FLASH_MNG_INVALID"});
	expect_codes("\tread_result read;\n\tread.code = FLASH_MNG_NOT_FOUND;\n\treturn read.code;\n", {"FLASH_MNG_NOT_FOUND"});
}

TEST_F(sources, says_what_it_cannot_follow)
{
	expect_puzzle("\treturn unheard_of(value);\n", "asked: hands on the answer of unheard_of");
	expect_puzzle("\tconst auto ask = &lower;\n\treturn ask(value);\n", "hands on the answer of ask");
	expect_puzzle("\treturn table.ask(value);\n", "hands on the answer of table.ask");
	expect_puzzle("\treturn value;\n", "nothing says what value is");
	expect_puzzle("\treturn g_last;\n", "nothing says what g_last is");
	expect_puzzle("\tu32 code = 0;\n\tlinux_copy(&code);\n\treturn code;\n", "code is changed in a way that is not followed");
	expect_puzzle("\tu32 code = 0;\n\tcode |= lower(value);\n\treturn code;\n", "code is changed in a way that is not followed");
	expect_puzzle("\treturn lower(value) | lower(7);\n", "a code with '|'");
	expect_puzzle("\treturn 0;\n", "may strange be a code?", "\nstrange other()\n{\n\treturn 0;\n}\n");
}

TEST_F(sources, says_where_a_code_stands_that_is_no_answer)
{
	expect_puzzle("\t*g_last = FLASH_MNG_INVALID;\n\treturn FLASH_MNG_OK;\n",
		      "asked: FLASH_MNG_INVALID is neither answered nor compared");
	expect_puzzle("\treturn 0;\n", "other: FLASH_MNG_INVALID", "\nbool other()\n{\n\tg_last = FLASH_MNG_INVALID;\n\treturn true;\n}\n");
	expect_puzzle("\treturn 0;\n", "asked.cpp: a code outside of the functions", "constexpr u32 bad = FLASH_MNG_INVALID;\n");
	expect_puzzle("\treturn 0;\n", "asked.cpp: a code outside of the functions",
		      "\nstruct one {\n\tu32 ask() { return FLASH_MNG_INVALID; }\n};\n");
	plant("flash_mng_kernel/ioctl/inline.hpp", "\ninline u32 other()\n{\n\treturn FLASH_MNG_INVALID;\n}\n");
	expect_puzzle("\treturn 0;\n", "inline.hpp: a code outside of the functions");
}

TEST_F(sources, says_that_a_function_is_not_there)
{
	EXPECT_EQ(read().puzzles, names{"asked: not found"});
}

TEST_F(sources, has_the_messages)
{
	const module_sources found = read("\tdrv_log_record(module_log, serious, 0, \"one %u\"\n\t\t\" two\", value);\n\treturn 0;\n",
					  "\nload_result end()\n{\n\treturn {0, \"end of it\"};\n}\n");
	EXPECT_EQ(found.puzzles, names());
	EXPECT_EQ(found.messages, (names{"log 27 1 one %u two", "end end of it"}));
}

TEST_F(sources, says_which_message_it_cannot_read)
{
	expect_puzzle("\tdrv_log_record(module_log, serious, 0, g_text);\n\treturn 0;\n", "a message without a literal text");
	expect_puzzle("\tdrv_log_record(other_log, serious, 0, \"text\");\n\treturn 0;\n", "asked.cpp: drv_log_record(other_log");
	expect_puzzle("\treturn 0;\n", "end has a text that it does not return",
		      "\nload_result end()\n{\n\tload_result result;\n\tresult.failure = \"end of it\";\n\treturn result;\n}\n");
}

} // namespace
} // namespace completeness
