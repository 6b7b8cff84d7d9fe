// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A tour of flash_mng on the virtual board. It loads the module, asks and changes flash through /dev/flash_mng, and checks each answer
// against the MTD devices themselves, which it reads without the module.
//
// usage: tour [FLASH_MNG.KO [LETTER]]
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "uapi/flash_mng.h"

namespace {

using bytes = std::vector<uint8_t>;

constexpr char partition[] = "usrdata";
constexpr uint32_t usable_size = 0x100000; // of this partition, in the demo board's XML
constexpr char log_file[] = "/sys/kernel/debug/log/records";

std::vector<std::string> surprises;

void chapter(const char *title)
{
	static int number = 0;
	std::printf("\n%d. %s\n\n", ++number, title);
}

// Says what was checked, and remembers it when it did not hold.
void expect(bool holds, const std::string &what)
{
	std::printf("   %s %s\n", holds ? "[ok]  " : "[FAIL]", what.c_str());
	if (!holds)
		surprises.push_back(what);
}

std::string hex(uint32_t value)
{
	char text[16];
	std::snprintf(text, sizeof(text), value > 9999 ? "0x%08X" : "%u", value);
	return text;
}

std::string human(uint64_t size)
{
	const bool whole_mib = size >= 0x100000 && size % 0x100000 == 0;
	return std::to_string(whole_mib ? size >> 20 : size >> 10) + (whole_mib ? " MiB" : " KiB");
}

class descriptor {
public:
	descriptor(const char *path, int flags) : fd_(open(path, flags | O_CLOEXEC)) {}
	descriptor(const descriptor &) = delete;
	descriptor &operator=(const descriptor &) = delete;
	~descriptor()
	{
		if (fd_ >= 0)
			close(fd_);
	}

	int get() const { return fd_; }
	bool is_open() const { return fd_ >= 0; }

private:
	int fd_;
};

// ---------------------------------------------------------------------------------------------------------------- the module

uint32_t command(uint32_t number, void *record)
{
	descriptor device(FLASH_MNG_DEVICE, O_RDWR);
	if (!device.is_open())
		return FLASH_MNG_FAILED;
	const int result = ioctl(device.get(), number, record);
	return flash_mng_code(result, errno);
}

uint32_t transfer(uint32_t number, const char *name, uint32_t offset, bytes &data)
{
	flash_mtd_io_arg request = {};
	std::strncpy(request.name, name, sizeof(request.name) - 1);
	request.offset = offset;
	request.length = static_cast<uint32_t>(data.size());
	request.buffer = reinterpret_cast<uintptr_t>(data.data());
	return command(number, &request);
}

bool load(const char *path)
{
	descriptor module(path, O_RDONLY);
	return module.is_open() && syscall(SYS_finit_module, module.get(), "", 0) == 0;
}

bool unload()
{
	return syscall(SYS_delete_module, "flash_mng", O_NONBLOCK) == 0;
}

// ---------------------------------------------------------------------------------------------------------------- witnesses

// Messages of the platform's log with a sequence number of at least `from`; gives the number after the last one.
unsigned long show_log(unsigned long from)
{
	std::ifstream records(log_file);
	for (std::string line; std::getline(records, line);) {
		std::istringstream fields(line);
		unsigned long sequence = 0;
		unsigned long long time_ms = 0;
		unsigned module_id = 0, level = 0, flag = 0;
		if (!(fields >> sequence >> time_ms >> module_id >> level >> flag) || sequence < from)
			continue;
		std::string text;
		std::getline(fields >> std::ws, text);
		std::printf("   log %2u level %u  %s\n", module_id, level, text.c_str());
		from = sequence + 1;
	}
	return from;
}

unsigned long next_log_sequence()
{
	std::ifstream records(log_file);
	unsigned long next = 0;
	for (std::string line; std::getline(records, line);)
		next = std::stoul(line) + 1;
	return next;
}

// The number of an MTD device by its name, as /proc/mtd tells it; -1 when there is none.
int mtd_number(const std::string &name)
{
	std::ifstream list("/proc/mtd");
	for (std::string line; std::getline(list, line);) {
		int number = -1;
		if (line.find('"' + name + '"') != std::string::npos && std::sscanf(line.c_str(), "mtd%d:", &number) == 1)
			return number;
	}
	return -1;
}

// Every byte of an MTD device, read from its character device.
bytes whole_device(int number)
{
	descriptor device(("/dev/mtd" + std::to_string(number)).c_str(), O_RDONLY);
	bytes content, chunk(0x10000);
	for (ssize_t count; (count = read(device.get(), chunk.data(), chunk.size())) > 0;)
		content.insert(content.end(), chunk.begin(), chunk.begin() + count);
	return content;
}

bytes file_content(const char *path)
{
	std::ifstream file(path, std::ios::binary);
	return bytes(std::istreambuf_iterator<char>(file), {});
}

// ---------------------------------------------------------------------------------------------------------------- the tour

unsigned long log_position;

void load_the_module(const char *module)
{
	chapter("Load the module; it reads the board's XML and says so in the log");
	log_position = next_log_sequence();
	const bool loaded = load(module);
	log_position = show_log(log_position);
	std::puts("");
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
	expect(size == whole_device(mtd_number(partition)).size(),
	       "of " + human(size) + ", which is what /dev/mtd" + std::to_string(mtd_number(partition)) + " holds");
}

void rewrite_some_of_it(const char *letter_path)
{
	chapter("Write a letter into it, across the border of two erase blocks, and look at the flash without the module");
	bytes letter = file_content(letter_path);
	constexpr uint32_t offset = 0x20000 - 100;
	const int device = mtd_number(partition);

	bytes expected = whole_device(device);
	const uint32_t code = transfer(FLASH_MNG_MTD_WRITE, partition, offset, letter);
	log_position = show_log(log_position);
	std::puts("");
	expect(!letter.empty() && code == FLASH_MNG_OK, "written: " + std::to_string(letter.size()) + " bytes at " + hex(offset));
	if (expected.size() < offset + letter.size()) {
		expect(false, "the partition can be read");
		return;
	}

	std::copy(letter.begin(), letter.end(), expected.begin() + offset);
	const bytes actual = whole_device(device);
	expect(actual == expected, "/dev/mtd" + std::to_string(device) + ": all " + std::to_string(actual.size()) +
					   " bytes as they must be: the letter, and nothing else changed");

	bytes read_back(letter.size());
	const uint32_t read_code = transfer(FLASH_MNG_MTD_READ, partition, offset, read_back);
	log_position = show_log(log_position);
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
	const bytes before = whole_device(mtd_number(partition));

	const uint32_t beyond = transfer(FLASH_MNG_MTD_WRITE, partition, usable_size - 8, data);
	log_position = show_log(log_position);
	std::puts("");
	expect(beyond != FLASH_MNG_OK, "16 bytes, 8 of them beyond the usable megabyte: refused with " + hex(beyond) +
					       ", the bounded copy's code for \"does not fit\"");

	const uint32_t unlisted = transfer(FLASH_MNG_MTD_WRITE, "boot", 0, data);
	expect(unlisted == FLASH_MNG_NOT_LISTED,
	       "a write to \"boot\": refused with " + hex(unlisted) + ", the board does not list this partition for programs");
	expect(whole_device(mtd_number(partition)) == before, "and not a byte of " + std::string(partition) + " has changed");
}

void unload_the_module()
{
	chapter("Unload");
	const bool unloaded = unload();
	log_position = show_log(log_position);
	std::puts("");
	expect(unloaded && access(FLASH_MNG_DEVICE, F_OK) != 0, "the module and " FLASH_MNG_DEVICE " are gone");
}

} // namespace

int main(int argc, char **argv)
{
	if (argc > 3) {
		std::fprintf(stderr, "usage: %s [FLASH_MNG.KO [LETTER]]\n", argv[0]);
		return 2;
	}
	const char *const module = argc > 1 ? argv[1] : "/lib/modules/flash_mng.ko";
	const char *const letter = argc > 2 ? argv[2] : "/demo/letter.txt";
	std::setvbuf(stdout, nullptr, _IOLBF, 0);

	utsname system = {};
	uname(&system);
	std::printf("flash_mng on its virtual board: Linux %s, %s, %ld cores\n", system.release, system.machine,
		    sysconf(_SC_NPROCESSORS_ONLN));

	load_the_module(module);
	list_the_flash();
	ask_for_user_data();
	rewrite_some_of_it(letter);
	be_refused();
	unload_the_module();

	if (surprises.empty()) {
		std::puts("\nAll was as expected.");
		return 0;
	}
	std::printf("\n%zu of the checks did not hold; the first: %s\n", surprises.size(), surprises.front().c_str());
	return 1;
}
