// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Whole programs: flashctl and the examples as processes, with files, pipes and a terminal.
#include <gtest/gtest.h>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <regex>

#include "bytes.hpp"
#include "scratch.hpp"
#include "simulated_flash.hpp"

using namespace flashctl_tests;

namespace {

struct ended {
	int exit;
	std::string output;
};

int exit_of(int wait_status)
{
	return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

struct programs : testing::Test {
	programs()
	{
		setenv("PATH", (std::string(PROGRAMS_DIR) + ":/usr/local/bin:/usr/bin:/bin").c_str(), 1);
		setenv("FLASHCTL_FAKE_FILE", folder.path("flash").c_str(), 1);
	}
	~programs() override { unsetenv("FLASHCTL_FAKE_FILE"); }

	// A line for the shell, in the scratch folder; both of its streams.
	ended shell(const std::string &line) const
	{
		const std::string command = "cd " + folder.path() + " && { " + line + "\n} 2>&1";
		std::FILE *const pipe = popen(command.c_str(), "r");
		ended program = {0, ""};
		for (int letter; (letter = std::fgetc(pipe)) != EOF;)
			program.output += static_cast<char>(letter);
		program.exit = exit_of(pclose(pipe));
		return program;
	}

	// flashctl on a terminal on which a person types.
	ended on_terminal(const std::string &line, const std::string &typed) const
	{
		int master = -1;
		const pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
		if (child == 0) {
			setenv("TERM", "xterm", 1);
			execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
			_exit(127);
		}
		EXPECT_EQ(write(master, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
		ended program = {0, ""};
		char letters[256];
		for (ssize_t count; (count = read(master, letters, sizeof(letters))) > 0;)
			program.output.append(letters, static_cast<std::size_t>(count));
		int status = 0;
		waitpid(child, &status, 0);
		close(master);
		program.exit = exit_of(status);
		return program;
	}

	std::string flash_content() const { return folder.content("flash"); }

	scratch folder;
};

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

TEST_F(programs, write_read_and_verify_through_pipes)
{
	EXPECT_EQ(shell("printf 'Hello, flash.' | flashctl write usrdata - --offset 4KiB").exit, 0);
	EXPECT_EQ(shell("flashctl read usrdata --offset 4KiB --length 13 | cat").output, "Hello, flash.");
	EXPECT_EQ(shell("printf 'Hello, flash.' | flashctl verify usrdata - --offset 4KiB").exit, 0);
	EXPECT_EQ(shell("printf 'Hello, flesh.' | flashctl verify usrdata - --offset 4KiB").exit, 7);
	EXPECT_EQ(flash_content().substr(4096, 13), "Hello, flash.");
}

TEST_F(programs, no_escapes_in_a_pipe)
{
	const ended program = shell("printf x | TERM=xterm flashctl write usrdata - -v; flashctl list; flashctl info xyzzy");
	EXPECT_FALSE(has(program.output, "\033")) << program.output;
	EXPECT_FALSE(has(program.output, "\r"));
}

TEST_F(programs, output_that_cannot_be_written_is_no_success)
{
	EXPECT_EQ(shell("flashctl list >/dev/full").exit, 1);
	EXPECT_EQ(shell("flashctl read usrdata >/dev/full").exit, 1);
	EXPECT_EQ(shell("flashctl read usrdata --hex >/dev/full").exit, 1);
	EXPECT_EQ(shell("flashctl --help >/dev/full").exit, 1);
	EXPECT_EQ(shell("flashctl list --json >/dev/full").exit, 1);
}

TEST_F(programs, closed_standard_input_is_no_data)
{
	EXPECT_NE(shell("flashctl write usrdata - <&-").exit, 0);
	EXPECT_EQ(shell("flashctl write usrdata - <.").exit, 1);
}

// What the program opens must not take the place of a stream that its caller has closed.
TEST_F(programs, closed_output_is_no_success_and_nothing_else_gets_it)
{
	EXPECT_EQ(shell("flashctl list >&-").exit, 1);
	EXPECT_EQ(shell("flashctl list >&- 2>&-").exit, 1);
	EXPECT_EQ(shell("printf x | flashctl write usrdata - >&-").exit, 1);
	EXPECT_EQ(shell("stat -c %s flash.lock").output, "0\n");
	EXPECT_EQ(shell("flashctl read usrdata --quiet -o out <&- >&- 2>&-; stat -c %s out").output, "32768\n");
}

TEST_F(programs, a_reader_that_leaves_does_not_stop_a_write)
{
	const ended program =
		shell("printf Hello >image; mkfifo pipe; exec 9<>pipe 8>pipe 9>&-; flashctl write usrdata image -v >&8 2>&8; echo $?");
	EXPECT_EQ(program.output, "1\n");
	EXPECT_EQ(flash_content().substr(0, 5), "Hello");
}

TEST_F(programs, one_writer_at_a_time)
{
	const ended program = shell("touch flash.lock; flock flash.lock -c 'printf x | flashctl write usrdata -'");
	EXPECT_EQ(program.exit, 8);
	EXPECT_TRUE(has(program.output, "another flashctl is writing"));
	EXPECT_EQ(shell("flock flash.lock -c 'flashctl read usrdata -o out'").exit, 0) << "reading needs no lock";
}

TEST_F(programs, without_the_module)
{
	const ended program = shell("flashctl list --device /dev/no_such_device");
	EXPECT_EQ(program.exit, 5);
	EXPECT_TRUE(has(program.output, "modprobe flash_mng"));
	EXPECT_EQ(shell("flashctl list --device /dev/null").exit, 9) << "a device, but not this one";
}

TEST_F(programs, ask_a_person)
{
	folder.write("image", "Hello");
	const std::string line = "flashctl write usrdata " + folder.path("image");
	EXPECT_EQ(on_terminal(line, "n\n").exit, 10);
	EXPECT_EQ(on_terminal(line, "\n").exit, 10);
	for (const char *const other :
	     {"yn\n", "yes please\n", "no\n", "ja\n", "x\n", "ny\n", "1\n", "y\004\004", "yyyyyyyyyyyyyyyyyyyyyyyy\n", "\004"})
		EXPECT_EQ(on_terminal(line, other).exit, 10) << other;
	EXPECT_EQ(flash_content(), "");
	for (const char *const yes : {"Y\n", "YES\n", " yes \n"})
		EXPECT_EQ(on_terminal(line, yes).exit, 0) << yes;
	folder.write("flash", "");
	const ended program = on_terminal(line, "y\n");
	EXPECT_EQ(program.exit, 0);
	EXPECT_TRUE(has(program.output, "Write 5 bytes at 0x0 of \"usrdata\" (mtd2)? [y/N] ")) << program.output;
	EXPECT_TRUE(has(program.output, "\033[32mverified\033[0m")) << program.output;
	EXPECT_EQ(flash_content().substr(0, 5), "Hello");
}

TEST_F(programs, show_progress_of_long_work_on_a_terminal_and_wipe_it)
{
	const ended program = on_terminal("printf Hello | FLASHCTL_FAKE_DELAY=1500 flashctl write usrdata - --yes", "");
	EXPECT_EQ(program.exit, 0);
	EXPECT_TRUE(has(program.output, "\r\033[K49 % of 65541 bytes, ")) << program.output;
	EXPECT_TRUE(has(program.output, " KiB/s: writing 5 bytes to usrdata ... ")) << program.output;
	EXPECT_TRUE(has(program.output, " s\r\033[K")) << program.output;
	EXPECT_FALSE(has(shell("printf World | FLASHCTL_FAKE_DELAY=600 flashctl write usrdata -").output, "..."));
	EXPECT_FALSE(has(on_terminal("flashctl read usrdata --hex", "").output, "reading")) << "short work";
}

// A line that wraps is not wiped.
TEST_F(programs, show_progress_within_the_width_of_the_terminal)
{
	const ended program =
		on_terminal("stty cols 30; printf Hello | FLASHCTL_FAKE_DELAY=600 flashctl write usrdata - --yes --quiet; "
			    "stty cols 5; FLASHCTL_FAKE_DELAY=600 flashctl verify usrdata --length 5 --sha256 $(printf Hello | sha256sum | "
			    "cut -c -64); stty cols 30; FLASHCTL_FAKE_DELAY=600 flashctl read usrdata -o /dev/null",
			    "");
	std::size_t drawn = 0;
	for (std::size_t at = 0; (at = program.output.find("\r\033[K", at)) != std::string::npos; at += 4, ++drawn)
		EXPECT_FALSE(std::regex_search(program.output.substr(at + 4, 60), std::regex("^[^\r\n]{28,} s\r"))) << program.output;
	EXPECT_GT(drawn, 2u) << program.output;
	EXPECT_TRUE(has(program.output, "\r\033[K0 % of 32 KiB: readin ... 0 s")) << program.output;
}

TEST_F(programs, ask_on_the_terminal_when_the_data_comes_in_a_pipe)
{
	EXPECT_EQ(on_terminal("printf Hello | flashctl write usrdata -", "y\n").exit, 0);
	EXPECT_EQ(on_terminal("printf World | flashctl write usrdata -", "n\n").exit, 10);
	EXPECT_EQ(flash_content().substr(0, 5), "Hello");
}

// Of a shell: goes on when the program that it started last has taken SIGTERM for its own. Until then, as long as the machine is busy, that
// signal ends it as it ends any program.
constexpr const char *minds_signals =
	"for i in $(seq 1200); do grep -qx flashctl /proc/$!/comm && grep -qE '^SigCgt:.*[4-7c-f][0-9a-f]{3}$' /proc/$!/status && break; "
	"sleep 0.05; done; ";

// On a busy host the signal may come before the write begins; what is said must be true all the same.
TEST_F(programs, tell_what_the_flash_holds_when_a_signal_comes)
{
	for (const char *const name : {"TERM", "HUP"}) {
		folder.write("flash", "");
		const ended program = shell(std::string("printf Hello >image; FLASHCTL_FAKE_DELAY=800 flashctl write usrdata image & ") +
					    minds_signals + "sleep 1.2; kill -" + name + " $!; wait $!");
		const bool written = flash_content().substr(0, 5) == "Hello";
		EXPECT_EQ(program.exit, 12) << program.output;
		EXPECT_EQ(program.output,
			  std::string("flashctl: write: SIG") + name +
				  (written ? ": the flash holds the new data, read back and verified: \"usrdata\", 5 bytes at 0x0\n"
					   : ": nothing was written\n"));
	}
}

// The shell opens its end of the pipe when flashctl has opened the other; signals come until one interrupts the reading.
TEST_F(programs, tell_of_a_signal_that_comes_before_the_data)
{
	for (const char *const from : {"pipe", "- <pipe"}) {
		const ended program = shell(std::string("rm -f pipe; mkfifo pipe; flashctl write usrdata ") + from +
					    " & exec 9>pipe; printf Hello >&9; " + minds_signals +
					    "for i in 1 2 3 4 5 6 7 8; do sleep 0.1; kill -TERM $! 2>/dev/null; done; "
					    "ls /proc/$!/fd 2>/dev/null; exec 9>&-; wait $!");
		EXPECT_EQ(program.exit, 12) << from;
		EXPECT_EQ(program.output, "flashctl: write: SIGTERM: nothing was written\n");
	}
	EXPECT_EQ(flash_content(), "");
}

TEST_F(programs, leave_no_unfinished_file_behind_and_touch_no_other)
{
	folder.write("out.part", "own");
	EXPECT_EQ(shell("flashctl read boot -o out").exit, 9);
	EXPECT_EQ(shell("flashctl read usrdata -o out/none").exit, 1);
	EXPECT_EQ(shell("umask 077; : >out; flashctl read usrdata -o out -q; stat -c %a out; cat out.part; ls -A").output,
		  "600\nownflash.lock\nout\nout.part\n");
	EXPECT_EQ(shell("echo head; flashctl read usrdata --length 1 --hex -o /dev/stdout -q").output.substr(0, 13), "head\n00000000");
}

TEST_F(programs, hint_at_names_behind_numbers)
{
	for (const char *const number : {"3", "mtd3", "/dev/mtd3", "/dev/mtdblock3"})
		EXPECT_TRUE(has(shell(std::string("flashctl info ") + number).output, "the name of mtd3 is \"rootfs\"")) << number;
	EXPECT_FALSE(has(shell("flashctl info mtd99").output, "the name of"));
}

TEST_F(programs, no_binary_and_no_unwanted_colours_on_a_terminal)
{
	EXPECT_EQ(on_terminal("flashctl read usrdata", "").exit, 2);
	EXPECT_TRUE(has(on_terminal("flashctl list", "").output, "\033["));
	EXPECT_FALSE(has(on_terminal("NO_COLOR=1 flashctl list", "").output, "\033["));
	EXPECT_FALSE(has(on_terminal("TERM=dumb flashctl list", "").output, "\033["));
}

TEST_F(programs, example_list_partitions)
{
	const ended program = shell("list_partitions");
	EXPECT_EQ(program.exit, 0);
	EXPECT_TRUE(has(program.output, "mtd0 boot 16384 -\nmtd1 config 16384 listed\nmtd2 usrdata 32768 listed\n")) << program.output;
}

TEST_F(programs, example_c_list_partitions)
{
	EXPECT_EQ(shell("c_list_partitions").exit, 0);
	EXPECT_EQ(shell("c_list_partitions").output, shell("list_partitions").output);
}

TEST_F(programs, example_c_find_spi_flash)
{
	EXPECT_EQ(shell("c_find_spi_flash spi_a").output, "instance 5: chip 1, controller 2, chip select 3\n");
	EXPECT_EQ(shell("c_find_spi_flash spi_b").exit, 3);
	EXPECT_EQ(shell("c_find_spi_flash").exit, 2);
	EXPECT_EQ(shell("c_find_spi_flash " + std::string(33, 'n')).exit, 2);
}

TEST_F(programs, example_read_range)
{
	shell("printf 'Hello, flash, 16' | flashctl write usrdata -");
	EXPECT_EQ(shell("read_range usrdata").output, "48656c6c6f2c20666c6173682c203136\n");
	EXPECT_EQ(shell("read_range boot").exit, 1);
	EXPECT_TRUE(has(shell("read_range boot").output, "0x811B01A4"));
	EXPECT_EQ(shell("read_range").exit, 2);
}

TEST_F(programs, example_c_read_range)
{
	shell("printf 'Hello, flash, 16' | flashctl write usrdata -");
	EXPECT_EQ(shell("c_read_range usrdata").output, "48656c6c6f2c20666c6173682c203136\n");
	EXPECT_EQ(shell("c_read_range boot").output, "boot: code 0x811B01A4\n");
	EXPECT_EQ(shell("c_read_range boot").exit, 1);
	EXPECT_EQ(shell("c_read_range").exit, 2);
	EXPECT_EQ(shell("c_read_range " + std::string(32, 'n')).exit, 2);
}

TEST_F(programs, example_find_spi_flash)
{
	EXPECT_EQ(shell("find_spi_flash spi_a").output, "instance 5: chip 1, controller 2, chip select 3\n");
	EXPECT_EQ(shell("find_spi_flash spi_b").exit, 3);
	EXPECT_EQ(shell("find_spi_flash").exit, 2);
}

// The lines of a manual's section EXAMPLES that begin with ".Dl $ ".
std::vector<std::string> examples_of(const std::string &manual)
{
	std::istringstream text(scratch::content_of(manual));
	std::vector<std::string> examples;
	for (std::string line; std::getline(text, line);)
		if (line.starts_with(".Dl $ "))
			examples.push_back(line.substr(6));
	return examples;
}

TEST_F(programs, examples_of_the_manual_work_in_their_order)
{
	const auto examples = examples_of(SOURCE_DIR "/docs/man/flashctl.1");
	EXPECT_GE(examples.size(), 8u);
	folder.write("config.img", std::string(100, 'c'));
	folder.write("update.img", std::string(20000, 'u'));
	for (const std::string &line : examples) {
		const ended program = shell(line);
		const bool needs_log = line.starts_with("flashctl restore"); // on the board it succeeds
		EXPECT_EQ(program.exit, needs_log ? 9 : 0) << line << "\n" << program.output;
	}
}

} // namespace
