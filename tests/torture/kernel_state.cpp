// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "kernel_state.hpp"

#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "lab_device.hpp"

namespace torture {

namespace {

constexpr uint64_t expected_taints = 1 << 12 | 1 << 13; // modules built out of tree, and without signature
constexpr char leak_detector[] = "/sys/kernel/debug/kmemleak";

long value_of(const std::string &table, const std::string &name)
{
	const std::size_t at = table.find(name + ":");
	return at == std::string::npos ? 0 : std::stol(table.substr(at + name.size() + 1));
}

// KASAN keeps freed blocks for a while, so that their use is noticed.
void give_back_freed_blocks()
{
	for (const auto &cache : std::filesystem::directory_iterator("/sys/kernel/slab"))
		if (!cache.is_symlink())
			guest::write_file(cache.path() / "shrink", "1");
}

void add_references(std::vector<std::string> &list, const std::string &module)
{
	const std::string path = "/sys/module/" + module + "/refcnt";
	if (guest::file_exists(path))
		list.push_back(module + ": references " + std::to_string(std::stol(guest::read_file(path))));
}

void add_lines_with(std::vector<std::string> &list, const std::string &path, const std::string &word)
{
	std::istringstream lines(guest::read_file(path));
	for (std::string line; std::getline(lines, line);)
		if (line.find(word) != std::string::npos)
			list.push_back(path + ": " + line);
}

} // namespace

memory_use memory_in_use()
{
	give_back_freed_blocks();
	const std::string table = guest::read_file("/proc/meminfo");
	return {value_of(table, "SUnreclaim"), value_of(table, "VmallocUsed")};
}

std::string text_of(const memory_use &use)
{
	return "slab " + std::to_string(use.slab) + " kB, vmalloc " + std::to_string(use.vmalloc) + " kB";
}

std::vector<std::string> holdings()
{
	std::vector<std::string> list;
	for (const char *module : {"nandsim", "mtdram", "spi_flash_driver"})
		add_references(list, module);
	add_lines_with(list, "/proc/vmallocinfo", "[flash_mng]");
	add_lines_with(list, "/sys/kernel/debug/drv_basic/hard_locks", "0x");
	return list;
}

uint64_t taint()
{
	return std::stoull(guest::read_file("/proc/sys/kernel/tainted")) & ~expected_taints;
}

std::string leaks()
{
	if (!guest::file_exists(leak_detector))
		return {};
	sleep(6); // younger blocks are not reported
	guest::write_file(leak_detector, "scan");
	guest::write_file(leak_detector, "scan");
	const std::string found = guest::read_file(leak_detector);
	guest::write_file(leak_detector, "clear");
	return found;
}

uint64_t parameter(const std::string &name, uint64_t otherwise)
{
	std::istringstream words(guest::read_file("/proc/cmdline"));
	for (std::string word; words >> word;)
		if (word.compare(0, name.size() + 1, name + "=") == 0)
			return std::stoull(word.substr(name.size() + 1));
	return otherwise;
}

void tell_kernel_log(const std::string &line)
{
	guest::write_file("/dev/kmsg", line + "\n");
}

} // namespace torture
