// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "module_log.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <regex>
#include <string_view>

#include "number.hpp"

namespace flashctl {

namespace {

constexpr std::string_view begin_of_load = "flash_mng MODULE INIT BEGIN";
constexpr std::string_view end_of_load = "flash_mng MODULE INIT END";
constexpr std::size_t words_before_text = 5; // of a record: sequence, time, module, level, flag

bool has(std::string_view line, std::string_view part)
{
	return line.find(part) != line.npos;
}

// "17 2034 0 2 0 text"
std::vector<std::string> platform_records(const std::string &path)
{
	std::vector<std::string> lines;
	std::ifstream file(path);
	for (std::string line; std::getline(file, line);) {
		std::size_t at = 0;
		for (std::size_t i = 0; i < words_before_text && at != line.npos; ++i)
			at = line.find(' ', at ? at + 1 : 0);
		if (at != line.npos)
			lines.push_back(line.substr(at + 1));
	}
	return lines;
}

// "6,339,5140900,-;text", and lines of properties behind it that begin with a blank. One record for each read.
std::vector<std::string> kernel_messages(const std::string &path)
{
	std::vector<std::string> lines;
	const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
	if (file < 0)
		return lines;
	std::array<char, 8192> record;
	for (;;) {
		const ssize_t count = ::read(file, record.data(), record.size());
		if (count < 0 && errno == EPIPE)
			continue; // the oldest were overwritten meanwhile
		if (count <= 0)
			break;
		const std::string_view text(record.data(), static_cast<std::size_t>(count));
		const std::size_t begin = std::min(text.find(';'), text.size() - 1) + 1;
		lines.emplace_back(text.substr(begin, text.find('\n', begin) - begin));
	}
	::close(file);
	return lines;
}

// Where the last load begins; the whole log when it does not tell.
std::vector<std::string>::const_iterator last_load(const std::vector<std::string> &log)
{
	const auto found = std::find_if(log.rbegin(), log.rend(), [](const std::string &line) { return has(line, begin_of_load); });
	return found == log.rend() ? log.begin() : found.base();
}

} // namespace

std::vector<std::string> read_log(const std::string &root)
{
	auto records = platform_records(root + "/sys/kernel/debug/log/records");
	const bool tells = std::ranges::any_of(records, [](const std::string &line) { return has(line, begin_of_load); });
	return tells ? records : kernel_messages(root + "/dev/kmsg");
}

std::vector<std::string> load_lines(const std::vector<std::string> &log, std::size_t most)
{
	std::vector<std::string> told;
	const auto begin = last_load(log);
	const bool began = begin != log.begin();
	bool ended = false;
	for (auto line = begin; line != log.end(); ++line) {
		if ((began && !ended) || has(*line, "flash_mng"))
			told.push_back(*line);
		ended = ended || has(*line, end_of_load);
	}
	if (told.size() > most)
		told.erase(told.begin(), told.end() - static_cast<std::ptrdiff_t>(most));
	return told;
}

std::map<std::string, std::uint32_t> usable_sizes(const std::vector<std::string> &log)
{
	static const std::regex entry("inst 0x[0-9a-f]+ mtd info entry[0-9]+ mtd_name (.*) avail_size (0x[0-9a-f]+) init success");
	std::map<std::string, std::uint32_t> sizes;
	std::smatch words;
	const auto begin = last_load(log);
	if (begin == log.begin())
		return sizes;
	for (auto line = begin; line != log.end(); ++line)
		if (std::regex_search(*line, words, entry))
			sizes.emplace(words[1], static_cast<std::uint32_t>(tools::parse_number(words[2].str(), UINT32_MAX).value_or(0)));
	return sizes;
}

} // namespace flashctl
