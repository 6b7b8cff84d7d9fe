// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "device_uses.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "number.hpp"

namespace flashctl {

namespace {

constexpr char block_major[] = "31:"; // of /dev/mtdblockN, and of file systems that are mounted from an MTD device without it

struct mount {
	std::string device; // "31:3"
	std::string place, kind, source;
};

// \040 and its like, as the kernel writes blanks.
std::string unescaped(const std::string &text)
{
	const auto is_octal = [](char c) { return c >= '0' && c <= '7'; };
	std::string plain;
	for (std::size_t i = 0; i < text.size(); ++i) {
		if (text[i] == '\\' && i + 3 < text.size() &&
		    std::all_of(text.begin() + static_cast<std::ptrdiff_t>(i) + 1, text.begin() + static_cast<std::ptrdiff_t>(i) + 4,
				is_octal)) {
			plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
			i += 3;
		} else {
			plain += text[i];
		}
	}
	return plain;
}

// "36 35 31:3 / /data rw,noatime shared:1 - jffs2 mtd:usrdata rw"
std::vector<mount> mounts_in(std::istream &table)
{
	std::vector<mount> mounts;
	for (std::string line; std::getline(table, line);) {
		std::istringstream stream(line);
		const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
		const std::vector<std::string> source(std::ranges::find(words, "-"), words.end()); // "-", the type, what is mounted
		if (words.size() < 5 || source.size() < 3)
			continue;
		mounts.push_back({words[2], unescaped(words[4]), source[1], unescaped(source[2])});
	}
	return mounts;
}

bool is_path_of(const std::string &path, const mtd_device &device)
{
	const std::string number = std::to_string(device.number);
	return path == "/dev/mtdblock" + number || path == "/dev/mtd" + number;
}

bool is_from(const mount &one, const mtd_device &device)
{
	const std::string number = std::to_string(device.number);
	return one.device == block_major + number || one.source == "mtd" + number || one.source == "mtd:" + device.name ||
	       is_path_of(one.source, device);
}

bool is_number(const std::string &text)
{
	return tools::parse_number(text, UINT32_MAX).has_value();
}

std::vector<std::string> entries_of(const std::string &folder)
{
	std::vector<std::string> names;
	std::error_code none;
	for (const auto &entry : std::filesystem::directory_iterator(folder, none))
		names.push_back(entry.path().filename());
	std::ranges::sort(names);
	return names;
}

void add(std::vector<device_use> &uses, const device_use &found)
{
	if (std::ranges::find(uses, found.words, &device_use::words) == uses.end())
		uses.push_back(found);
}

void add_mounts(std::vector<device_use> &uses, const mtd_device &device, std::istream &table)
{
	for (const mount &one : mounts_in(table))
		if (is_from(one, device))
			add(uses, {danger::mounted, "is mounted on " + one.place + " (" + one.kind + ")",
				   "unmount it first (umount " + one.place + ")"});
}

void find_mounts(std::vector<device_use> &uses, const mtd_device &device, const std::string &proc)
{
	std::ifstream own(proc + "/self/mountinfo");
	if (!own) {
		const std::string reason = std::strerror(errno);
		return add(uses, {danger::unknown, "may be mounted: " + proc + "/self/mountinfo: " + reason, "mount /proc"});
	}
	add_mounts(uses, device, own);
	for (const std::string &process : entries_of(proc)) {
		if (!is_number(process))
			continue;
		std::ifstream other(fmt::format("{}/{}/mountinfo", proc, process));
		add_mounts(uses, device, other);
	}
}

void find_ubi(std::vector<device_use> &uses, const mtd_device &device, const std::string &folder)
{
	for (const std::string &entry : entries_of(folder)) {
		std::ifstream file(fmt::format("{}/{}/mtd_num", folder, entry));
		std::uint32_t number = 0;
		if (file >> number && number == device.number)
			add(uses, {danger::ubi, "is attached to UBI as " + entry,
				   "detach it first (ubidetach -m " + std::to_string(number) + ")"});
	}
}

void find_swap(std::vector<device_use> &uses, const mtd_device &device, const std::string &list)
{
	std::ifstream file(list);
	for (std::string line; std::getline(file, line);) {
		const std::string path = unescaped(line.substr(0, line.find_first_of(" \t")));
		if (is_path_of(path, device))
			add(uses, {danger::swap, "is swapped to", fmt::format("switch that off first (swapoff {})", path)});
	}
}

void find_holders(std::vector<device_use> &uses, const mtd_device &device, const std::string &blocks)
{
	const std::string block = "mtdblock" + std::to_string(device.number);
	for (const std::string &holder : entries_of(fmt::format("{}/{}/holders", blocks, block)))
		add(uses, {danger::claimed, "is used by the block device " + holder, "remove that first"});
}

} // namespace

const char *word_of(danger kind)
{
	switch (kind) {
	case danger::mounted:
		return "mounted";
	case danger::ubi:
		return "ubi";
	case danger::swap:
		return "swap";
	case danger::claimed:
		return "claimed";
	case danger::unknown:
		break;
	}
	return "unknown";
}

std::vector<device_use> uses_of(const mtd_device &device, const std::string &root)
{
	std::vector<device_use> uses;
	find_mounts(uses, device, root + "/proc");
	find_ubi(uses, device, root + "/sys/class/ubi");
	find_swap(uses, device, root + "/proc/swaps");
	find_holders(uses, device, root + "/sys/block");
	return uses;
}

} // namespace flashctl
