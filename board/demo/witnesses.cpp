// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "witnesses.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

namespace tour {

namespace {

constexpr char log_file[] = "/sys/kernel/debug/log/records";

unsigned long g_next_record;

} // namespace

void show_log()
{
	bool shown = false;
	std::ifstream records(log_file);
	for (std::string line; std::getline(records, line);) {
		std::istringstream fields(line);
		unsigned long sequence = 0;
		unsigned long long time_ms = 0;
		unsigned module_id = 0, level = 0, flag = 0;
		if (!(fields >> sequence >> time_ms >> module_id >> level >> flag) || sequence < g_next_record)
			continue;
		std::string text;
		std::getline(fields >> std::ws, text);
		std::printf("   log %2u level %u  %s\n", module_id, level, text.c_str());
		g_next_record = sequence + 1;
		shown = true;
	}
	if (shown)
		std::puts("");
}

void skip_log()
{
	std::ifstream records(log_file);
	for (std::string line; std::getline(records, line);)
		g_next_record = std::stoul(line) + 1;
}

std::string mtd_line(const std::string &name)
{
	std::ifstream list("/proc/mtd");
	for (std::string line; std::getline(list, line);)
		if (line.find('"' + name + '"') != std::string::npos)
			return line;
	return "";
}

int mtd_number(const std::string &name)
{
	int number = -1;
	std::sscanf(mtd_line(name).c_str(), "mtd%d:", &number);
	return number;
}

std::string mtd_path(const std::string &name)
{
	return "/dev/mtd" + std::to_string(mtd_number(name));
}

bytes device_content(const std::string &name, std::size_t most)
{
	descriptor device(mtd_path(name), O_RDONLY);
	bytes content, chunk(0x10000);
	for (ssize_t count; (count = read(device.get(), chunk.data(), std::min(chunk.size(), most - content.size()))) > 0;)
		content.insert(content.end(), chunk.begin(), chunk.begin() + count);
	return content;
}

bytes file_content(const std::string &path)
{
	std::ifstream file(path, std::ios::binary);
	return bytes(std::istreambuf_iterator<char>(file), {});
}

} // namespace tour
