// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A tour of flash_mng on the virtual board. It loads the module, asks and changes flash as a program and as a kernel module, and checks
// each answer against the MTD devices themselves, which it reads without the module.
//
// usage: tour [MODULES [LETTER]]
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>

#include "calls.hpp"
#include "chapters.hpp"
#include "screen.hpp"
#include "tool.hpp"
#include "uapi/flash_mng.h"
#include "witnesses.hpp"

using namespace tour;

namespace {

constexpr char partition[] = "usrdata";
constexpr uint32_t usable_size = 0x100000; // of this partition, in the demo board's XML

void load_the_module(const std::string &modules)
{
	chapter("Load the module; it reads the board's XML and says so in the log");
	skip_log();
	const bool loaded = load_module(modules, "flash_mng");
	show_log();
	expect(loaded, "flash_mng is loaded");
	expect(access(FLASH_MNG_DEVICE, R_OK | W_OK) == 0, FLASH_MNG_DEVICE " is there");
}

const char *type_name(uint32_t type)
{
	switch (type) {
	case 1:
		return "RAM";
	case 3:
		return "NOR";
	case 4:
		return "NAND";
	case 8:
		return "MLC NAND";
	default:
		return "other";
	}
}

void list_the_flash()
{
	chapter("What flash does the board have? (MTD statistics)");
	static flash_mtd_statistics statistics;
	const uint32_t code = command(FLASH_MNG_GET_MTD_STATISTICS, &statistics);

	std::puts("   device  name        type       size      erase block");
	bool agrees = true;
	for (uint32_t i = 0; i < statistics.count && i < FLASH_MNG_STAT_ENTRIES; ++i) {
		const flash_mtd_stat_entry &entry = statistics.entries[i];
		const uint64_t size = entry.size;
		std::printf("   mtd%-4u %-11s %-8s %9s  %9s\n", entry.index, entry.name, type_name(entry.type), human(size).c_str(),
			    human(entry.erasesize).c_str());
		agrees = agrees && mtd_number(entry.name) == static_cast<int>(entry.index);
	}
	std::puts("");
	expect(code == FLASH_MNG_OK && statistics.count > 0,
	       "the statistics answer with code 0 and " + std::to_string(statistics.count) + " devices");
	expect(agrees, "/proc/mtd knows each of them by the same number");
}

void ask_for_user_data()
{
	chapter("Where does user data live? (NAND part info)");
	nand_part_info info = {};
	uint32_t exists = 0;
	const uint32_t code = command(FLASH_MNG_GET_NAND_PART_INFO, &info);
	command(FLASH_MNG_GET_NAND_IS_EXIST, &exists);
	const uint64_t size = info.size;

	expect(code == FLASH_MNG_OK && info.part_num == 1 && exists == 1, "one NAND user-data partition");
	expect(size == device_content(partition).size(), "of " + human(size) + ", which is what " + mtd_path(partition) + " holds");
}

void rewrite_some_of_it(const std::string &letter_path)
{
	chapter("Write a letter into it, across the border of two erase blocks, and look at the flash without the module");
	bytes letter = file_content(letter_path);
	constexpr uint32_t offset = 0x20000 - 100;

	bytes expected = device_content(partition);
	const uint32_t code = transfer(FLASH_MNG_MTD_WRITE, partition, offset, letter);
	show_log();
	expect(!letter.empty() && code == FLASH_MNG_OK, "written: " + std::to_string(letter.size()) + " bytes at " + hex(offset));
	if (expected.size() < offset + letter.size()) {
		expect(false, "the partition can be read");
		return;
	}

	std::copy(letter.begin(), letter.end(), expected.begin() + offset);
	const bytes actual = device_content(partition);
	expect(actual == expected, mtd_path(partition) + ": all " + std::to_string(actual.size()) +
					   " bytes as they must be: the letter, and nothing else changed");

	bytes read_back(letter.size());
	const uint32_t read_code = transfer(FLASH_MNG_MTD_READ, partition, offset, read_back);
	show_log();
	expect(read_code == FLASH_MNG_OK && read_back == letter, "read back through the module, byte for byte:");
	std::printf("\n");
	std::istringstream lines(std::string(read_back.begin(), read_back.end()));
	for (std::string line; std::getline(lines, line);)
		std::printf("      | %s\n", line.c_str());
}

void be_refused()
{
	chapter("Ask for what must not be");
	bytes data(16, 0);
	const bytes before = device_content(partition);

	const uint32_t beyond = transfer(FLASH_MNG_MTD_WRITE, partition, usable_size - 8, data);
	show_log();
	expect(beyond != FLASH_MNG_OK, "16 bytes, 8 of them beyond the usable megabyte: refused with " + hex(beyond) +
					       ", the bounded copy's code for \"does not fit\"");

	const uint32_t unlisted = transfer(FLASH_MNG_MTD_WRITE, "boot", 0, data);
	expect(unlisted == FLASH_MNG_NOT_LISTED,
	       "a write to \"boot\": refused with " + hex(unlisted) + ", the board does not list this partition for programs");
	expect(device_content(partition) == before, "and not a byte of " + std::string(partition) + " has changed");
}

void unload_the_module()
{
	chapter("Unload");
	const bool unloaded = unload_module("demo_client") && unload_module("spi_flash_driver") && unload_module("flash_mng");
	show_log();
	expect(unloaded && access(FLASH_MNG_DEVICE, F_OK) != 0, "the modules and " FLASH_MNG_DEVICE " are gone");
}

} // namespace

int main(int argc, char **argv)
{
	if (argc > 3) {
		std::fprintf(stderr, "usage: %s [MODULES [LETTER]]\n", argv[0]);
		return 2;
	}
	const std::string modules = argc > 1 ? argv[1] : "/lib/modules";
	const std::string letter = argc > 2 ? argv[2] : "/demo/letter.txt";
	std::setvbuf(stdout, nullptr, _IOLBF, 0);

	utsname system = {};
	uname(&system);
	std::printf("flash_mng on its virtual board: Linux %s, %s, %ld cores\n", system.release, system.machine,
		    sysconf(_SC_NPROCESSORS_ONLN));

	load_the_module(modules);
	list_the_flash();
	ask_for_user_data();
	rewrite_some_of_it(letter);
	be_refused();
	use_the_tool(letter);
	move_a_section(modules);
	create_an_spi_flash(modules);
	use_the_spi_flash();
	destroy_the_spi_flash();
	unload_the_module();
	return verdict();
}
