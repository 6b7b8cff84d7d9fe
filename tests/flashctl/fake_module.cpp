// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "fake_module.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <thread>

#include "files.hpp"

extern "C" {
int __real_open(const char *path, int flags, ...);
int __real_ioctl(int descriptor, unsigned long number, ...);
int __wrap_open(const char *path, int flags, ...);
int __wrap_ioctl(int descriptor, unsigned long number, ...);
int __real_flock(int descriptor, int operation);
int __wrap_flock(int descriptor, int operation);
}

namespace flashctl_tests {

namespace {

std::set<int> g_descriptors;

const char *kept_file()
{
	return std::getenv("FLASHCTL_FAKE_FILE");
}

// A folder that has a file for each of some listed partitions of NOR flash, by their names.
const char *kept_folder()
{
	return std::getenv("FLASHCTL_FAKE_FOLDER");
}

std::string content_of(const std::string &file)
{
	std::ifstream stream(file, std::ios::binary);
	return {std::istreambuf_iterator<char>(stream), {}};
}

void add_kept_partitions(fake_module &fresh)
{
	if (!kept_folder())
		return;
	std::set<std::filesystem::path> found;
	for (const auto &entry : std::filesystem::directory_iterator(kept_folder()))
		found.insert(entry.path());
	for (const auto &file : found) {
		const std::string content = content_of(file);
		const auto size = static_cast<std::uint32_t>(content.size()), number = static_cast<std::uint32_t>(fresh.flash.parts.size());
		fresh.flash.parts.push_back({{number, file.filename(), 3, size, 0x1000, 0x400, true}, data_of(content), size});
	}
}

void restore(fake_module &fresh)
{
	const char *const file = kept_file();
	if (!file)
		return;
	const std::string kept = content_of(file);
	bytes &content = fresh.flash.part("usrdata").content;
	if (kept.size() == content.size())
		std::memcpy(content.data(), kept.data(), kept.size());
}

void keep(const fake_module &changed)
{
	for (const partition &part : changed.flash.parts) {
		const std::string file = kept_folder() ? std::string(kept_folder()) + "/" + part.device.name : "";
		if (!file.empty() && std::filesystem::exists(file))
			flashctl::write_file(file, part.content);
	}
	if (kept_file())
		flashctl::write_file(kept_file(), const_cast<fake_module &>(changed).flash.part("usrdata").content);
}

// A file whose lock is seen by other programs when they share the flash.
int open_stand_in(int flags)
{
	if (!kept_file())
		return memfd_create("flash_mng", MFD_CLOEXEC);
	return __real_open((std::string(kept_file()) + ".lock").c_str(), flags | O_CREAT, 0600);
}

int open_board_file(const std::string &content)
{
	const int descriptor = memfd_create("board_file", MFD_CLOEXEC);
	if (write(descriptor, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
		std::abort();
	lseek(descriptor, 0, SEEK_SET);
	return descriptor;
}

std::map<int, std::string> g_character_devices; // by descriptor: the names of their partitions

// "/dev/mtd2ro", wherever that folder is.
partition *character_device(std::string_view path)
{
	if (!path.ends_with("ro") || path.find("/dev/mtd") == path.npos)
		return nullptr;
	for (partition &part : module().flash.parts)
		if (path.ends_with("/dev/mtd" + std::to_string(part.device.number) + "ro") && !part.blocks.empty())
			return &part;
	return nullptr;
}

int open_character_device(const partition &part)
{
	const std::string content(reinterpret_cast<const char *>(part.content.data()), part.content.size());
	const int descriptor = open_board_file(content);
	g_character_devices[descriptor] = part.device.name;
	return descriptor;
}

int ask_character_device(const partition &part, unsigned long number, void *argument)
{
	if (number == ECCGETSTATS && !module().ecc_stats.empty()) {
		*static_cast<mtd_ecc_stats *>(argument) = module().ecc_stats.front();
		if (module().ecc_stats.size() > 1)
			module().ecc_stats.erase(module().ecc_stats.begin());
		return 0;
	}
	if (number == MEMGETBADBLOCK) {
		const auto block = static_cast<std::size_t>(*static_cast<__kernel_loff_t *>(argument)) / part.device.erase_size;
		return part.blocks.at(block) == flashctl::block_state::bad;
	}
	errno = ENOTTY;
	return -1;
}

int claimed(int flags)
{
	if (*module().claim_error == 0)
		return __real_open("/dev/null", flags);
	errno = *module().claim_error;
	return -1;
}

std::uint32_t code_of(const status &answer)
{
	return answer.code();
}

// A transfer takes as many milliseconds as FLASHCTL_FAKE_DELAY says.
void take_time()
{
	if (const char *const delay = std::getenv("FLASHCTL_FAKE_DELAY"))
		std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(delay)));
}

std::uint32_t transfer(unsigned long number, const flash_mtd_io_arg &request)
{
	const std::string name(request.name, strnlen(request.name, sizeof(request.name)));
	auto *const data = reinterpret_cast<std::byte *>(request.buffer);
	if (request.length)
		take_time();
	if (number == FLASH_MNG_MTD_READ)
		return code_of(module().flash.read(name, request.offset, {data, request.length}));
	const std::uint32_t code = code_of(module().flash.write(name, request.offset, {data, request.length}));
	keep(module());
	return code;
}

std::uint32_t statistics(flash_mtd_statistics &record)
{
	const auto devices = module().flash.devices();
	record = {};
	for (const flashctl::mtd_device &device : *devices) {
		if (record.count == module().reported)
			break;
		if (device.name.size() > FLASH_MNG_NAME_MAX)
			return FLASH_MNG_COPY_FAILED;
		flash_mtd_stat_entry &entry = record.entries[record.count++];
		entry = {device.size, device.number, device.type, device.erase_size, device.flags, {}};
		std::memcpy(entry.name, device.name.data(), device.name.size());
	}
	return FLASH_MNG_OK;
}

std::uint32_t find(unsigned long number, flash_find_config_arg &record)
{
	if (number == FLASH_MNG_FIND_CONFIG && record.name_length > FLASH_MNG_NAME_SIZE)
		return FLASH_MNG_BAD_LENGTH;
	const auto found =
		number == FLASH_MNG_FIND_CONFIG
			? module().flash.find_spi_flash(std::string(reinterpret_cast<const char *>(record.name), record.name_length))
			: module().flash.find_spi_flash(flash_mng::instance_id{record.inst_id});
	if (!found)
		return code_of(found.status());
	record.config = *found;
	return FLASH_MNG_OK;
}

std::uint32_t user_data(unsigned long number, void *argument)
{
	const bool exists = *module().flash.has_user_data();
	if (number == FLASH_MNG_GET_NAND_IS_EXIST) {
		*static_cast<std::uint32_t *>(argument) = exists;
		return FLASH_MNG_OK;
	}
	const auto told = module().flash.user_data();
	if (!told)
		return code_of(told.status());
	if (number == FLASH_MNG_GET_PART_NUM)
		*static_cast<std::uint32_t *>(argument) = told->partitions;
	else
		*static_cast<nand_part_info *>(argument) = {told->partitions, {}, told->size, {}};
	return FLASH_MNG_OK;
}

std::size_t record_size(unsigned long number)
{
	switch (number) {
	case FLASH_MNG_MTD_READ:
	case FLASH_MNG_MTD_WRITE:
		return sizeof(flash_mtd_io_arg);
	case FLASH_MNG_FIND_CONFIG:
	case FLASH_MNG_FIND_CONFIG_BY_INST:
		return sizeof(flash_find_config_arg);
	default:
		return 0;
	}
}

std::uint32_t command(unsigned long number, void *argument)
{
	switch (number) {
	case FLASH_MNG_MTD_READ:
	case FLASH_MNG_MTD_WRITE:
		return transfer(number, *static_cast<const flash_mtd_io_arg *>(argument));
	case FLASH_MNG_GET_MTD_STATISTICS:
		return statistics(*static_cast<flash_mtd_statistics *>(argument));
	case FLASH_MNG_FIND_CONFIG:
	case FLASH_MNG_FIND_CONFIG_BY_INST:
		return find(number, *static_cast<flash_find_config_arg *>(argument));
	case FLASH_MNG_GET_NAND_IS_EXIST:
	case FLASH_MNG_GET_PART_NUM:
	case FLASH_MNG_GET_NAND_PART_INFO:
		return user_data(number, argument);
	default:
		return FLASH_MNG_UNKNOWN_COMMAND;
	}
}

// As Linux 5.10 and the C library carry a command's code to the program.
int carried(std::uint32_t code)
{
	const auto result = static_cast<std::int32_t>(code);
	if (result >= 0 || result < -4095)
		return result;
	errno = -result;
	return -1;
}

int called(unsigned long number, void *argument)
{
	const auto *const first = static_cast<const std::uint8_t *>(argument);
	module().commands.push_back(number);
	module().record.assign(first, first + record_size(number));
	if (module().kernel_error) {
		errno = module().kernel_error;
		return -1;
	}
	return carried(module().answer ? *module().answer : command(number, argument));
}

} // namespace

void fake_module::show_health()
{
	for (partition &part : flash.parts) {
		part.blocks.resize(part.device.size / part.device.erase_size);
		const std::string folder = "/sys/class/mtd/mtd" + std::to_string(part.device.number) + "/";
		files[folder + "bad_blocks"] = files[folder + "ecc_failures"] = "0\n";
		files[folder + "corrected_bits"] = part.device.name == "usrdata" ? "3\n" : "0\n";
		files[folder + "bitflip_threshold"] = part.device.type == 4 ? "6\n" : "0\n";
	}
}

fake_module &module()
{
	static fake_module one = [] {
		fake_module fresh;
		add_kept_partitions(fresh);
		fresh.show_health();
		restore(fresh);
		return fresh;
	}();
	return one;
}

} // namespace flashctl_tests

using namespace flashctl_tests;

int __wrap_flock(int descriptor, int operation)
{
	if (!module().no_file_locks)
		return __real_flock(descriptor, operation);
	errno = ENOSYS;
	return -1;
}

int __wrap_open(const char *path, int flags, ...)
{
	if (module().claim_error && std::string_view(path).starts_with("/dev/mtdblock"))
		return claimed(flags);
	if (const auto found = module().files.find(path); found != module().files.end())
		return open_board_file(found->second);
	if (const partition *const part = character_device(path))
		return open_character_device(*part);
	if (std::strcmp(path, FLASH_MNG_DEVICE) != 0)
		return __real_open(path, flags, 0600);
	if (module().open_error) {
		errno = module().open_error;
		return -1;
	}
	const int descriptor = open_stand_in(flags);
	g_descriptors.insert(descriptor);
	return descriptor;
}

int __wrap_ioctl(int descriptor, unsigned long number, ...)
{
	va_list arguments;
	va_start(arguments, number);
	void *const argument = va_arg(arguments, void *);
	va_end(arguments);
	if (const auto found = g_character_devices.find(descriptor); found != g_character_devices.end())
		return ask_character_device(module().flash.part(found->second), number, argument);
	return g_descriptors.contains(descriptor) ? called(number, argument) : __real_ioctl(descriptor, number, argument);
}
