// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "tool.hpp"

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "screen.hpp"
#include "witnesses.hpp"

namespace tour {

namespace {

constexpr char partition[] = "usrdata";
constexpr uint32_t offset = 0x40000;
constexpr int unsupported = 9; // flashctl's exit status

struct ending {
	int exit;
	std::string text;
};

// Types a command: shows it, and what it prints.
ending type(const std::string &command)
{
	std::printf("      $ %s\n", command.c_str());
	std::FILE *const pipe = popen((command + " 2>&1").c_str(), "r");
	if (!pipe)
		return {-1, ""};
	ending end = {0, ""};
	for (int c; (c = std::fgetc(pipe)) != EOF;)
		end.text += static_cast<char>(c);
	const int status = pclose(pipe);
	end.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
	std::istringstream lines(end.text);
	for (std::string line; std::getline(lines, line);)
		std::printf("      | %s\n", line.c_str());
	std::puts("");
	return end;
}

bool has(const ending &end, const std::string &text)
{
	return end.text.find(text) != std::string::npos;
}

void write_with_it(const std::string &letter_path)
{
	const bytes letter = file_content(letter_path);
	bytes expected = device_content(partition);
	if (expected.size() < offset + letter.size()) {
		expect(false, "the partition can be read");
		return;
	}
	std::copy(letter.begin(), letter.end(), expected.begin() + offset);

	const std::string command = std::string("flashctl write ") + partition + " " + letter_path + " --offset 256KiB --yes";
	const ending written = type(command);
	expect(written.exit == 0 && device_content(partition) == expected,
	       mtd_path(partition) + " holds the letter at " + hex(offset) + ", and nothing else has changed");
	std::puts("");
	const ending again = type(command);
	expect(again.exit == 0 && has(again, "unchanged"), "the second time it sees that there is nothing to write");
}

// What the tour asked for before and was refused, and how the flash is.
void ask_it()
{
	const ending explained = type("flashctl explain 'mtd total write: memcpy offset 1048568 len 16 fail 0x22' | head -n 3");
	expect(has(explained, "A write is beyond the usable bytes."), "it knows each line of the log; this one is of the refusal above");
	std::puts("");
	const ending map = type(std::string("flashctl map ") + partition);
	expect(map.exit == 0 && has(map, " ########........"), "the usable megabyte is in eight of 64 erase blocks; none is bad");
}

} // namespace

void use_the_tool(const std::string &letter)
{
	chapter("The same for people: flashctl lists, writes, reads back what it wrote, explains, and draws");
	const ending list = type("flashctl list");
	expect(list.exit == 0 && has(list, partition), "the table has names; nobody needs to know numbers");
	std::puts("");
	write_with_it(letter);
	std::puts("");
	const ending refused = type("flashctl write boot " + letter + " --yes");
	expect(refused.exit == unsupported && has(refused, "NOT_LISTED"), "refused with exit status 9 and the module's code in words");
	std::puts("");
	ask_it();
	skip_log();
}

} // namespace tour
