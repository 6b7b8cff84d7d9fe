// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What those who load the module are told of a load that failed. The codes are no errno: from 0x80000000 on Linux hands them on as they
// are, and no program understands them; below that it keeps the module. So the device and the log have to tell.
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "lab_device.hpp"
#include "load_words.hpp"
#include "processes.hpp"

namespace {

using namespace conformance;
using guest::ended_program;
using guest::run_program;

constexpr const char *begin_text = "flash_mng MODULE INIT BEGIN";

long finit_module()
{
	const int file = open(guest::module_file("flash_mng").c_str(), O_RDONLY | O_CLOEXEC);
	errno = 0;
	const long result = syscall(SYS_finit_module, file, "", 0);
	const int error = errno;
	close(file);
	errno = error;
	return result;
}

ended_program load_by_insmod()
{
	return run_program({"/sbin/insmod", guest::module_file("flash_mng")});
}

// The script of packages/system, as services call it.
ended_program load_and_look()
{
	return run_program({"/tests/flash-mng-load", "insmod", guest::module_file("flash_mng")});
}

bool says(const ended_program &ended, const char *text)
{
	return ended.output.find(text) != std::string::npos;
}

long starts()
{
	const log_lines lines = harness::log();
	return std::ranges::count(lines, std::string(begin_text), &harness::log_line::text);
}

class board_loaders : public on_board {
protected:
	static void choose(const std::string &configuration)
	{
		guest::write_file("/sys/kernel/debug/xml_parser/reload", "conformance/" + configuration);
		harness::forget();
	}
};

TEST_F(board_loaders, get_a_code_from_0x80000000_on_without_an_errno)
{
	choose("broken_size");
	const long result = finit_module();
	EXPECT_EQ(errno, 0);
	EXPECT_EQ(result, static_cast<int32_t>(xml_attribute_unreadable));
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
}

TEST_F(board_loaders, of_busybox_take_such_a_code_for_success_and_start_it_twice)
{
	choose("broken_size");
	EXPECT_EQ(load_by_insmod().exit, 0);
	EXPECT_EQ(starts(), 2);
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
}

TEST_F(board_loaders, that_look_at_the_device_say_that_such_a_load_failed_and_why)
{
	choose("broken_size");
	const ended_program ended = load_and_look();
	EXPECT_EQ(ended.exit, 1);
	EXPECT_TRUE(says(ended, "/dev/flash_mng")) << ended.output;
	EXPECT_TRUE(says(ended, "result 0x811b0da2")) << ended.output;
	EXPECT_TRUE(says(ended, "mtd info init fail")) << ended.output;
}

TEST_F(board_loaders, that_look_at_the_device_take_out_a_module_that_was_kept)
{
	choose("plain");
	harness::fail("drv_log_register", 0x123);
	const ended_program ended = load_and_look();
	EXPECT_EQ(ended.exit, 1);
	EXPECT_TRUE(says(ended, "log register fail")) << ended.output;
	EXPECT_TRUE(says(ended, "suspiciously returned")) << ended.output;
	EXPECT_FALSE(harness::loaded());
}

TEST_F(board_loaders, that_look_at_the_device_are_content_when_it_serves)
{
	choose("plain");
	const ended_program first = load_and_look();
	EXPECT_EQ(first.exit, 0) << first.output;
	EXPECT_EQ(first.output, "");
	EXPECT_TRUE(harness::device_registered());
	EXPECT_EQ(starts(), 1);
	EXPECT_EQ(load_and_look().exit, 0);
	EXPECT_EQ(starts(), 1);
}

} // namespace
