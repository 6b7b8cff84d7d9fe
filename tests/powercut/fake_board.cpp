// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A board for the tests of the bench: a program that writes to a file as a board writes to its NOR flash, and says so as a board does.
//
//	fake_board FILE honest|early|stray|skips|fails|silent|stops ... --append PARAMETERS
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "client/plan.h"

namespace {

int g_file;

void put(std::size_t place, const unsigned char *from, std::size_t length)
{
	if (pwrite(g_file, from, length, static_cast<off_t>(place)) != static_cast<ssize_t>(length))
		std::abort();
}

// Erases and programs a block in steps, so that a cut has something to tear.
void rewrite_block(std::size_t block, const std::vector<unsigned char> &image)
{
	constexpr std::size_t step = 0x4000;
	const std::vector<unsigned char> blank(image.size(), 0xff);

	put(block, blank.data(), blank.size());
	for (std::size_t done = 0; done < image.size(); done += step) {
		put(block + done, image.data() + done, step);
		usleep(100);
	}
}

void do_write(unsigned int seed, unsigned int generation)
{
	const auto write = powercut_plan(seed, generation);
	const std::size_t begin = std::size_t(write.path) * POWERCUT_PARTITION_SIZE + write.offset, end = begin + write.length;
	std::vector<unsigned char> data(write.length), image(POWERCUT_BLOCK_SIZE);

	powercut_fill(seed, generation, data.data(), write.length);
	for (std::size_t block = begin / POWERCUT_BLOCK_SIZE * POWERCUT_BLOCK_SIZE; block < end; block += POWERCUT_BLOCK_SIZE) {
		if (pread(g_file, image.data(), image.size(), static_cast<off_t>(block)) != static_cast<ssize_t>(image.size()))
			std::abort();
		for (std::size_t place = 0; place < image.size(); ++place)
			if (block + place >= begin && block + place < end)
				image[place] = data[block + place - begin];
		rewrite_block(block, image);
	}
}

unsigned int parameter(const char *text, const char *name)
{
	const char *at = std::strstr(text, name);
	return at ? static_cast<unsigned int>(std::strtoul(at + std::strlen(name), nullptr, 10)) : 0;
}

void say(const std::string &text)
{
	std::printf("%s\r\n", text.c_str());
	std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
	if (argc < 4)
		return 2;
	g_file = open(argv[1], O_RDWR);
	const std::string manner = argv[2];
	const unsigned int seed = parameter(argv[argc - 1], "powercut.seed=");
	unsigned int generation = parameter(argv[argc - 1], "powercut.first=");
	const unsigned char stray = 0x5a;

	if (manner == "silent")
		return 0;
	say("powercut: ready");
	for (;; ++generation) {
		const auto number = "[    1.0] powercut: generation " + std::to_string(generation);
		if (manner == "stops") {
			say("powercut: stopped");
			pause();
		}
		if (manner == "fails")
			say(number + " failed with code 0x000001a2");
		if (manner == "early")
			say(number + " is on the flash");
		if (manner != "skips" || generation % 2)
			do_write(seed, generation);
		if (manner == "stray")
			put(POWERCUT_FLASH_SIZE - 1, &stray, 1);
		if (manner != "early")
			say(number + " is on the flash");
	}
}
